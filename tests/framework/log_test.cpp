#include "tessivar/framework/log/default_logger.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/platform/base.h"

#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace TessivarDDS;

using Messages = std::vector<std::pair<int, std::string>>;

class Collector : public Logger {
 public:
  explicit Collector(Messages& messages, bool* deleted = nullptr) : messages_(messages), deleted_(deleted) {}
  ~Collector() override {
    if (!deleted_) return;
    *deleted_ = true;
    logError() << "a logger's last words";
  }
  void log(int level, const std::string& message) override { messages_.emplace_back(level, message); }

 private:
  Messages& messages_;
  bool* deleted_;
};

class FrameworkLog : public testing::Test {
 protected:
  FrameworkLog() { setLogger(new Collector(messages)); }
  ~FrameworkLog() override {
    setLogThreshold(15);
    setLogger(nullptr);
  }
  Messages messages;
};

TEST_F(FrameworkLog, delivers_a_message_as_its_statement_ends) {
  {
    LogRecord record = logDebug();
    record << "one";
    LogRecord moved = std::move(record);
    moved << " two";
    EXPECT_TRUE(messages.empty());
  }
  EXPECT_EQ(messages, (Messages{{1, "one two"}}));
}

TEST_F(FrameworkLog, suppresses_by_threshold) {
  const struct {
    int threshold;
    std::vector<int> levels;
  } cases[] = {{0, {}}, {15, {1, 2, 4, 8}}, {3, {4, 8}}, {8, {8}}, {9, {}}, {-1, {1, 2, 4, 8}}};
  for (const auto& c : cases) {
    messages.clear();
    setLogThreshold(c.threshold);
    logDebug() << "x";
    logInfo() << "x";
    logWarning() << "x";
    logError() << "x";
    std::vector<int> levels;
    for (const auto& message : messages) levels.push_back(message.first);
    EXPECT_EQ(levels, c.levels) << c.threshold;
  }
}

TEST_F(FrameworkLog, streams_every_number_as_a_plain_decimal) {
  struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
  const char* null = nullptr;
  char text[] = "text";
  logInfo() << 1234567 << ' ' << 4000000000u << ' ' << DDS_Octet{65} << ' ' << DDS_BOOLEAN_TRUE << ' ' << null << text
            << ' ' << std::string("s") << ' ' << static_cast<signed char>(-1) << ' ' << std::int64_t{-5};
  std::locale::global(before);
  EXPECT_EQ(messages, (Messages{{2, "1234567 4000000000 65 1 text s -1 -5"}}));
}

TEST_F(FrameworkLog, replaces_and_deletes_the_logger) {
  bool deleted = false;
  Messages other;
  auto* custom = new Collector(other, &deleted);
  setLogger(custom);
  setLogger(custom);
  EXPECT_FALSE(deleted) << "installed again it stays";
  testing::internal::CaptureStderr();
  setLogger(nullptr);
  EXPECT_TRUE(deleted);
  logError() << "to the default one";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "a logger's last words\nto the default one\n");
  EXPECT_TRUE(other.empty());
}

TEST_F(FrameworkLog, contains_a_logger_that_throws_and_logs) {
  struct Faulty : Logger {
    explicit Faulty(Messages& out) : messages(out) {}
    void log(int level, const std::string& message) override {
      messages.emplace_back(level, message);
      logError() << "from within";
      throw std::runtime_error("no disk");
    }
    Messages& messages;
  };
  setLogger(new Faulty(messages));
  logError() << "a";
  logError() << "b";
  EXPECT_EQ(messages, (Messages{{8, "a"}, {8, "b"}}));
}

TEST(DefaultLogger, prints_by_level) {
  const struct {
    int level;
    const char* out;
    const char* err;
  } cases[] = {{1, "text\n", ""}, {2, "text\n", ""}, {4, "", "text\n"}, {8, "", "text\n"}, {0, "", ""}, {12, "", ""}};
  DefaultLogger logger;
  for (const auto& c : cases) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    logger.log(c.level, "text");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.out) << c.level;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.err) << c.level;
  }
}

TEST(DefaultLogger, keeps_the_lines_of_several_threads_whole) {
  DefaultLogger logger;
  testing::internal::CaptureStdout();
  std::vector<std::thread> threads;
  for (const char c : {'a', 'b', 'c'}) {
    threads.emplace_back([&logger, c] {
      for (int i = 0; i < 100; ++i) logger.log(LogInfo, std::string(60, c));
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::istringstream lines(testing::internal::GetCapturedStdout());
  for (std::string line; std::getline(lines, line);) EXPECT_EQ(line, std::string(60, line.empty() ? '?' : line[0]));
}

}  // namespace
