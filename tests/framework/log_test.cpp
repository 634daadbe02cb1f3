#include "tessivar/framework/log/logger.h"

#include <future>
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

TEST_F(FrameworkLog, delivers_once_what_is_above_the_threshold) {
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

}  // namespace
