// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/detail/log.h"

#include "tessivar/framework/log/readable_logger.h"
#include "tests/support/source_file.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace TessivarDDS;

using Messages = std::vector<std::pair<int, std::string>>;

/// A logger that logs and throws in log().
class Collector : public Logger {
 public:
  explicit Collector(Messages& messages) : messages_(messages) {}
  void log(int level, const std::string& message) override {
    messages_.emplace_back(level, message);
    logError() << "from within";
    throw std::runtime_error("no disk");
  }

 private:
  Messages& messages_;
};

class LoggerTest : public testing::Test {
 protected:
  LoggerTest() { setLogger(new Collector(messages)); }
  ~LoggerTest() override { setLogger(nullptr); }
  Messages messages;
};

TEST_F(LoggerTest, ReceivesLinesAboveTheThresholdOnce) {
  const Messages all = {{1, "4000"}, {2, "65 1"}, {4, "-1"}, {8, "e"}};
  const std::pair<int, Messages> cases[] = {{0, {}}, {15, all}, {3, {all[2], all[3]}}, {9, {}}, {-1, all}};
  for (const auto& [threshold, expected] : cases) {
    messages.clear();
    setLogThreshold(threshold);
    logDebug() << 4000;
    logInfo() << static_cast<unsigned char>(65) << " " << 1;
    logWarning() << static_cast<signed char>(-1) << static_cast<const char*>(nullptr);
    logError() << "e";
    EXPECT_EQ(messages, expected) << threshold;
  }
  setLogThreshold(15);
}

TEST_F(LoggerTest, ReplacedLoggerLivesUntilItReturns) {
  struct Busy : Collector {
    ~Busy() override { logError() << "last words"; }
    using Collector::Collector;
    void log(int level, const std::string& message) override {
      entered.set_value();
      go.get_future().wait();
      Collector::log(level, message);
    }
    std::promise<void> entered, go;
  };
  Messages old;
  auto* const busy = new Busy(old);
  for (int twice = 0; twice < 2; ++twice) setLogger(busy);
  std::thread other([] { logError() << "for the old one"; });
  busy->entered.get_future().wait();
  setLogger(new Collector(messages));
  logError() << "for the new one";
  busy->go.set_value();
  other.join();
  EXPECT_EQ(old, (Messages{{8, "for the old one"}}));
  EXPECT_EQ(messages, (Messages{{8, "for the new one"}}));
}

/// Runs in a separate process, because the library reads TESSIVAR_LOG once. `first` is its value.
void logsWith(const char* first, const char* expected, int threshold = -1) {
  first ? setenv("TESSIVAR_LOG", first, 1) : unsetenv("TESSIVAR_LOG");
  const auto run = [&] {
    if (threshold >= 0) setLogThreshold(threshold);
    ReadableLogger::install();
    for (const int level : {1, 2, 4, 8}) {
      LogRecord(level) << "void __cdecl TessivarDDS::TessivarNode::f(class X<int (int)>) constOwn " << level << '\n';
      tessivar::platform::log(static_cast<tessivar::platform::LogLevel>(level), "engine", "its");
    }
    _exit(0);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(0), expected) << (first ? first : "(unset)");
  unsetenv("TESSIVAR_LOG");
}

TEST(ReadableLoggerTest, ShowsTheChosenLevels) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";  // a new process reads the environment
  const std::string t = "20..-..-.. ..:..:..[.]... ";
  const std::string debug = t + "debug control: Own 1 \n" + t + "debug engine: its\n";
  const std::string info = t + "info control: Own 2 \n" + t + "info engine: its\n";
  const std::string error = t + "error control: Own 8 \n" + t + "error engine: its\n";
  const std::string warnings = t + "warning control: Own 4 \n" + t + "warning engine: its\n" + error;
  const std::string wrong = t + "warning platform: TESSIVAR_LOG: \"loud\" is not a level: set error, [a-z, ]*\n";
  logsWith(nullptr, ("^" + warnings + "$").c_str());
  logsWith("debug", (debug + info + warnings + "$").c_str());
  logsWith("error", ("^" + error + "$").c_str());
  logsWith("loud", ("^" + wrong + warnings + "$").c_str());
  logsWith("error", ("^" + info + warnings + "$").c_str(), 2);
}

TEST(ReadableLoggerTest, KnowsTheRoomOfEachClassThatLogs) {
  const std::regex signature("__cdecl (TessivarDDS::[A-Za-z]+)");
  for (const std::string room : {"framework", "control", "routing"}) {
    for (const auto& file :
         std::filesystem::recursive_directory_iterator(tessivar::testing::source_file("tessivar/" + room))) {
      if (file.is_directory() || file.path().filename().string().starts_with("readable_logger")) continue;
      std::ifstream stream(file.path());
      const std::string text(std::istreambuf_iterator<char>(stream), {});
      for (std::sregex_iterator found(text.begin(), text.end(), signature), end; found != end; ++found)
        EXPECT_EQ(ReadableLogger::format(LogError, found->str() + "::f(void)x"), "error " + room + ": x")
            << found->str();
    }
  }
}

}  // namespace
