// SPDX-License-Identifier: Apache-2.0

// Tests the creation and deletion of the engine's resources: no leak, and no early release.
#include "support/bus.h"

#include <filesystem>
#include <fstream>

namespace platform_test {
namespace {

namespace fs = std::filesystem;

TEST(LifecycleTest, LeaksNothingInManyRounds) {
  const auto rounds = [](int count) {
    for (int i = 0; i < count; ++i) {
      Side side, other;
      CommandDataWriter* writer = side.writer();
      CommandDataReader* reader = other.reader();
      DDSWaitSet wait_set;
      wait_set.attach_condition(reader->create_readcondition(1, 1, 1));
      ASSERT_TRUE(matched(writer));
      for (DDS_UnsignedLong number = 0; number < 20; ++number) write(writer, number);
      ASSERT_EQ(writer->wait_for_acknowledgments(patience), DDS_RETCODE_OK);
      take(reader);
    }
  };
  const auto count = [](const char* path) { return std::distance(fs::directory_iterator(path), {}); };
  const auto threads_and_files = [&] { return std::pair(count("/proc/self/task"), count("/proc/self/fd")); };
  const auto resident_pages = [] {
    long total = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident;
  };
  rounds(20);
  const auto before = threads_and_files();
  [[maybe_unused]] const long pages = resident_pages();
  rounds(200);
  EXPECT_EQ(threads_and_files(), before);
#ifndef TESSIVAR_SANITIZED  // sanitizers keep freed memory
  EXPECT_LT(resident_pages(), pages + 1024);
#endif
}

}  // namespace
}  // namespace platform_test
