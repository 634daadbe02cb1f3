#include "tessivar/platform/reader_instances.h"

#include "support/note.h"
#include "tessivar/platform/key_hash.h"

#include <vector>

#include <gtest/gtest.h>

namespace face_test {
namespace {

using namespace tessivar::platform;

/// A received sample that nobody counts.
struct Sample : EncodedSample {
  explicit Sample(std::int32_t id) {
    const Note note{id, 0, ""};
    octets.resize(note_plugin.encoded_size(&note));
    note_plugin.encode(&note, octets.data(), octets.size());
    bytes = octets.data();
    size = static_cast<std::uint32_t>(octets.size());
    key_only = false;
    reception_time = 0;
    const DDS_InstanceHandle_t handle = face_test::handle_of(note);
    std::copy(std::begin(handle.keyHash.value), std::end(handle.keyHash.value), key_hash);
    retain = release = [](EncodedSample*) {};
  }
  KeyHash hash() const { return key_hash_of(key_hash); }
  std::vector<std::uint8_t> octets;
};

EngineSlot slot(Sample& sample, DDS_InstanceStateKind state, bool valid = true) {
  EngineSlot result;
  result.sample = SampleRef(&sample);
  result.instance = static_cast<EngineHandle>(sample.key_hash[3]) + 1;
  result.info.instance_state = state;
  result.info.valid_data = valid;
  return result;
}

EngineSelection taking(DDS_SampleStateMask states = DDS_ANY_SAMPLE_STATE) {
  EngineSelection selection;
  selection.take = true;
  selection.sample_states = states;
  return selection;
}

class ReaderInstancesTest : public testing::Test {
 protected:
  void access(const EngineSelection& selection, std::vector<EngineSlot> slots, bool complete) {
    const std::uint64_t before = instances.begin_access();
    instances.accessed(selection, slots, complete, before);
  }
  ReaderInstances instances{note_plugin};
  Sample one{1};
  Sample two{2};
};

TEST_F(ReaderInstancesTest, KeepsWhatIsAliveAndForgetsWhatIsGoneAndTaken) {
  instances.accepted(one, 2);
  instances.accepted(two, 3);
  EXPECT_EQ(instances.find(one.hash()), 2u);
  access(taking(), {slot(one, DDS_ALIVE_INSTANCE_STATE), slot(two, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE)}, true);
  EXPECT_TRUE(instances.knows(one.hash()));
  EXPECT_FALSE(instances.knows(two.hash()));
  EXPECT_EQ(instances.find(two.hash()), 0u);
  Note key;
  EXPECT_TRUE(instances.copy_key(two.hash(), &key));
  EXPECT_EQ(key.id, 2);
  instances.begin_access();
  EXPECT_FALSE(instances.copy_key(two.hash(), &key));
}

TEST_F(ReaderInstancesTest, AnInstanceThatIsBornAgainWhileItIsTakenStays) {
  instances.accepted(one, 2);
  const std::uint64_t before = instances.begin_access();
  const std::vector<EngineSlot> slots = {slot(one, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE, false)};
  instances.accepted(one, 2);  // on the receive thread, after the engine handed the slots out
  instances.accessed(taking(), slots, true, before);
  EXPECT_TRUE(instances.knows(one.hash()));
}

TEST_F(ReaderInstancesTest, WhatMayBeLeftOfAnInstanceKeepsIt) {
  const DDS_InstanceStateKind gone = DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;
  instances.accepted(one, 2);
  access(taking(), {slot(one, gone)}, false);  // the maximum was reached: there may be more
  EXPECT_TRUE(instances.knows(one.hash()));
  access(taking(DDS_READ_SAMPLE_STATE), {}, true);  // does not look at all states
  EXPECT_TRUE(instances.knows(one.hash()));
  access(taking(), {}, true);
  EXPECT_FALSE(instances.knows(one.hash()));

  instances.accepted(one, 2);
  EngineSelection reading;
  access(reading, {slot(one, gone)}, true);
  access(taking(DDS_NOT_READ_SAMPLE_STATE), {slot(one, gone)}, true);  // what was read is still there
  EXPECT_TRUE(instances.knows(one.hash()));
  access(taking(), {slot(one, gone)}, true);
  EXPECT_FALSE(instances.knows(one.hash()));
}

TEST_F(ReaderInstancesTest, GoesOnFromAnInstanceThatIsForgotten) {
  Sample three{3};
  for (Sample* sample : {&three, &one, &two}) instances.accepted(*sample, 1);
  auto next = instances.next(DDS_HANDLE_NIL);
  ASSERT_TRUE(next);
  EXPECT_EQ(*next, one.hash());
  access(taking(), {slot(one, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE)}, true);
  next = instances.next(tessivar::platform::handle_of(*next));
  ASSERT_TRUE(next);
  EXPECT_EQ(*next, two.hash());
  EXPECT_FALSE(instances.next(tessivar::platform::handle_of(three.hash())));
  Sample four{4};
  instances.accepted(four, 1);
  EXPECT_EQ(instances.next(tessivar::platform::handle_of(three.hash())), four.hash());
}

}  // namespace
}  // namespace face_test
