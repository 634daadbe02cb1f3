#include "tessivar/platform/log.h"

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tessivar::platform;
using testing::ElementsAre;

class PlatformLog : public testing::Test {
 protected:
  PlatformLog() { set_log_sink(collect, this); }
  ~PlatformLog() override {
    set_log_sink(nullptr, nullptr);
    set_log_verbosity(3);
  }

  static void collect(LogLevel, std::string_view line, void* context) {
    static_cast<PlatformLog*>(context)->lines.emplace_back(line);
  }

  std::vector<std::string> lines;
};

TEST_F(PlatformLog, passes_what_is_within_the_verbosity) {
  const struct {
    unsigned mask;
    std::vector<std::string> expected;
  } cases[] = {
      {0, {}},
      {3, {"x: e", "x: w"}},
      {15, {"x: e", "x: w", "x: i", "x: d"}},
      {8, {"x: d"}},
  };
  for (const auto& c : cases) {
    lines.clear();
    set_log_verbosity(c.mask);
    EXPECT_EQ(log_verbosity(), c.mask);
    log(LogLevel::error, "x", "e");
    log(LogLevel::warning, "x", "w");
    log(LogLevel::info, "x", "i");
    log(LogLevel::debug, "x", "d");
    EXPECT_EQ(lines, c.expected) << c.mask;
  }
}

TEST_F(PlatformLog, survives_a_sink_that_throws_or_logs) {
  set_log_sink([](LogLevel, std::string_view, void*) { throw std::runtime_error("sink"); }, nullptr);
  log(LogLevel::error, "x", "lost");
  set_log_sink(
      [](LogLevel level, std::string_view line, void* context) {
        collect(level, line, context);
        log(LogLevel::error, "sink", "nested");
      },
      this);
  log(LogLevel::error, "x", "once");
  log(LogLevel::error, "x", "again");
  EXPECT_THAT(lines, ElementsAre("x: once", "x: again"));
}

TEST_F(PlatformLog, calls_the_sink_for_one_line_at_a_time) {
  const auto speak = [] {
    for (int n = 0; n < 100; ++n) log(LogLevel::error, "x", "y");
  };
  std::thread other(speak);
  speak();
  other.join();
  EXPECT_EQ(lines.size(), 200u);
}

TEST(PlatformLogDeathTest, goes_to_standard_error_as_the_environment_says) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const struct {
    const char* value;
    const char* output;
  } cases[] = {
      {"warning", "^x: e\nx: w\ndone"},
      {"loud", "TESSIVAR_PLATFORM_LOG: \"loud\" is none of .*\nx: e\nx: w\ndone"},
  };
  for (const auto& c : cases) {
    setenv("TESSIVAR_PLATFORM_LOG", c.value, 1);  // read as early as static objects are made
    EXPECT_EXIT(
        {
          log(LogLevel::error, "x", "e");
          log(LogLevel::warning, "x", "w");
          log(LogLevel::debug, "x", "d");
          std::fputs("done", stderr);
          std::_Exit(0);
        },
        testing::ExitedWithCode(0), c.output);
  }
  unsetenv("TESSIVAR_PLATFORM_LOG");
}

}  // namespace
