#include "tessivar/framework/log/default_logger.h"
#include "tessivar/framework/log/logger.h"

#include <future>
#include <locale>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

namespace {

using namespace TessivarDDS;

using Messages = std::vector<std::pair<int, std::string>>;

/// Logs and throws, too, where it must not.
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

class FrameworkLog : public testing::Test {
 protected:
  FrameworkLog() { setLogger(new Collector(messages)); }
  ~FrameworkLog() override { setLogger(nullptr); }
  Messages messages;
};

TEST_F(FrameworkLog, delivers_once_what_is_above_the_threshold_in_plain_decimals) {
  struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
  const Messages all = {{1, "4000"}, {2, "65 1"}, {4, "-1"}, {8, "e"}};
  const std::pair<int, Messages> cases[] = {{0, {}},       {15, all}, {3, {all[2], all[3]}},
                                            {8, {all[3]}}, {9, {}},   {-1, all}};
  for (const auto& [threshold, expected] : cases) {
    messages.clear();
    setLogThreshold(threshold);
    {
      LogRecord record = logDebug();
      const LogRecord moved = std::move(record << 4000);
    }
    logInfo() << DDS_Octet{65} << ' ' << DDS_BOOLEAN_TRUE;
    logWarning() << static_cast<signed char>(-1) << static_cast<const char*>(nullptr);
    logError() << "e";
    EXPECT_EQ(messages, expected) << threshold;
  }
  setLogThreshold(15);
  std::locale::global(before);
}

TEST_F(FrameworkLog, keeps_a_logger_that_is_replaced_as_long_as_it_is_busy) {
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

TEST(DefaultLogger, prints_by_level) {
  DefaultLogger logger;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  for (const int level : {0, 1, 2, 4, 8, 12}) logger.log(level, "level " + std::to_string(level));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "level 1\nlevel 2\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "level 4\nlevel 8\n");
}

}  // namespace
