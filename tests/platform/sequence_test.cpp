// Sequences of structures with strings: what they own is seen by the leak checker.
#include "tessivar/platform/sequence.h"

#include "support/bus.h"

namespace platform_test {
namespace {

using Tessivar::CommandSeq;
using testing::ElementsAre;
using testing::HasSubstr;

class SequenceTest : public testing::Test {
 protected:
  SequenceTest() {
    commands.ensure_length(3, 10);
    for (DDS_Long i = 0; i < 3; ++i) {
      commands[i].commandNumber = static_cast<DDS_UnsignedLong>(i);
      DDS_String_replace(&commands[i].unitId, "unit");
    }
  }
  CommandSeq commands;
  LogLines log;
};

TEST_F(SequenceTest, TellsWhyItFailsAndStaysAsItIs) {
  Command one = {};
  Command* pointers[] = {&one};
  CommandSeq loaned, empty;
  ASSERT_TRUE(loaned.loan_contiguous(&one, 1, 1));
  commands.set_absolute_maximum(11);
  const auto check = [&](bool result, const char* line) {
    EXPECT_FALSE(result) << line;
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr(line)));
  };
  check(commands.set_maximum(-1), "CommandSeq_set_maximum: max size must be positive");
  check(commands.set_maximum(12), "CommandSeq_set_maximum: new max cannot be larger than absolute maximum");
  check(commands.set_length(11), "CommandSeq_set_length: ");
  check(commands.ensure_length(5, 4), "CommandSeq_ensure_length: insufficient space (5, 4)");
  check(commands.get_reference(-1), "CommandSeq_get_reference: index out of bounds");
  check(commands.unloan(), "CommandSeq_unloan: buffer must be loaned");
  check(commands.loan_contiguous(&one, 1, 1), "CommandSeq_loan_contiguous: max size must be 0");
  check(empty.loan_contiguous(nullptr, 0, 1), "CommandSeq_loan_contiguous: NULL buffer can't have non-zero maximum");
  check(empty.loan_discontiguous(pointers, -1, 1), "CommandSeq_loan_discontiguous: negative argument");
  check(loaned.set_maximum(5), "CommandSeq_set_maximum: buffer must not be loaned");
  check(loaned.copy_no_alloc(commands), "CommandSeq_copy_no_alloc: insufficient space (1, 3)");
  check(Tessivar::CommandSeq_set_maximum(nullptr, 1), "CommandSeq_set_maximum: bad parameter: self");
  EXPECT_EQ(commands.length(), 3);
  EXPECT_EQ(loaned.length(), 1);
  commands[7].commandNumber = 9;  // one of nobody
  EXPECT_EQ(commands[7].commandNumber, 0u);
}

TEST_F(SequenceTest, IsCopiedDeeplyBetweenAllKindsOfBuffersAndKeepsWhatFits) {
  CommandSeq copy(commands);
  DDS_String_replace(&commands[0].unitId, "changed");
  EXPECT_STREQ(copy[0].unitId, "unit");
  EXPECT_EQ(copy.maximum(), commands.maximum());  // not its length
  Command array[3] = {};
  Command* pointers[3] = {&array[0], &array[1], &array[2]};
  {
    CommandSeq scattered;
    ASSERT_TRUE(scattered.loan_discontiguous(pointers, 0, 3));
    ASSERT_TRUE(scattered.copy_no_alloc(commands));
    EXPECT_EQ(scattered.get_reference(1), &array[1]);
    ASSERT_TRUE(copy.copy(scattered));
  }
  EXPECT_STREQ(array[0].unitId, "changed") << "what was lent is left alone";
  EXPECT_STREQ(copy[0].unitId, "changed");
  ASSERT_TRUE(copy.from_array(array, 2));
  for (Command& each : array) Tessivar::Command_finalize(&each);
  for (const DDS_Long maximum : {1, 20}) {
    EXPECT_TRUE(copy.set_maximum(maximum));
    ASSERT_EQ(copy.length(), 1);
    EXPECT_STREQ(copy[0].unitId, "changed");
  }
}

TEST(SequenceOfZeroes, CountsAsEmpty) {
  alignas(DDS_OctetSeq) unsigned char memory[sizeof(DDS_OctetSeq)] = {};
  auto& octets = *reinterpret_cast<DDS_OctetSeq*>(memory);
  EXPECT_EQ(octets.length(), 0);
  EXPECT_TRUE(octets.ensure_length(5, 16));
  octets.finalize();
}

}  // namespace
}  // namespace platform_test
