// Coming and going of what the engine keeps for us: nothing is left behind, nothing is forgotten too early.
#include "support/bus.h"
#include "tessivar/platform/cyclone/sample.h"
#include "tessivar/platform/reader_instances.h"

#include <filesystem>
#include <fstream>
#include <memory>

namespace platform_test {
namespace {

namespace fs = std::filesystem;
using namespace tessivar::platform;

TEST(Lifecycle, NothingGrowsOverManyRounds) {
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
#ifndef TESSIVAR_SANITIZED  // they keep what was freed
  EXPECT_LT(resident_pages(), pages + 1024);
#endif
}

/// The encoding of a command, as it would be received.
struct Encoding : EncodedSample {
  explicit Encoding(DDS_UnsignedLong number) : EncodedSample() {
    const Command sample = command(number);
    octets.resize(type->encoded_size(&sample));
    type->encode(&sample, octets.data(), octets.size());
    bytes = octets.data();
    size = static_cast<std::uint32_t>(octets.size());
    type->instance_to_keyhash(nullptr, &hash, &sample);
    std::copy(std::begin(hash.value), std::end(hash.value), key_hash);
    retain = release = [](EncodedSample*) {};
  }
  std::vector<std::uint8_t> octets;
  DDS_KeyHash_t hash = {};
  inline static const std::unique_ptr<PRESTypePlugin> type{Tessivar::CommandPlugin_new()};
};

TEST(ReaderInstances, StaysWhenItIsBornAgainWhileItIsTaken) {
  ReaderInstances instances(*Encoding::type);
  Encoding sample(1);
  const KeyHash hash = key_hash_of(sample.key_hash);
  EngineSelection taking;
  taking.take = true;
  std::vector<EngineSlot> slots(1);
  slots[0].sample = SampleRef(&sample);
  slots[0].instance = 2;
  slots[0].info.instance_state = DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE;
  for (const bool born_again : {true, false}) {
    instances.accepted(sample, 2);
    const std::uint64_t before = instances.begin_access();
    if (born_again) instances.accepted(sample, 2);  // on the receive thread, after the engine handed the slots out
    instances.accessed(taking, slots, true, before);
    EXPECT_EQ(instances.knows(hash), born_again);
  }
}

}  // namespace
}  // namespace platform_test
