#include "tessivar/platform/log.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tessivar::platform;

TEST(PlatformLog, SurvivesASinkThatThrowsOrLogs) {
  std::vector<std::string> lines;
  set_log_sink([](LogLevel, std::string_view, void*) { throw std::runtime_error("sink"); }, nullptr);
  log(LogLevel::error, "x", "lost");
  set_log_sink(
      [](LogLevel, std::string_view line, void* context) {
        static_cast<std::vector<std::string>*>(context)->emplace_back(line);
        log(LogLevel::error, "sink", "nested");
      },
      &lines);
  log(LogLevel::error, "x", "once");
  log(LogLevel::debug, "x", "below the verbosity");
  log(LogLevel::warning, "x", "again");
  set_log_sink(nullptr, nullptr);
  EXPECT_THAT(lines, testing::ElementsAre("x: once", "x: again"));
}

TEST(PlatformLogDeathTest, GoesToStandardErrorAsTheEnvironmentSays) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const std::pair<const char*, const char*> cases[] = {
      {"error", "^x: e\ndone"}, {"loud", "TESSIVAR_PLATFORM_LOG: \"loud\" is none of .*\nx: e\nx: w\ndone"}};
  for (const auto& [value, output] : cases) {
    setenv("TESSIVAR_PLATFORM_LOG", value, 1);  // read as early as static objects are made
    EXPECT_EXIT(
        {
          log(LogLevel::error, "x", "e");
          log(LogLevel::warning, "x", "w");
          log(LogLevel::debug, "x", "d");
          std::fputs("done", stderr);
          std::_Exit(0);
        },
        testing::ExitedWithCode(0), output);
  }
  unsetenv("TESSIVAR_PLATFORM_LOG");
}

}  // namespace
