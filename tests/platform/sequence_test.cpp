#include "tessivar/platform/sequence.h"

#include "tessivar/types/command/command.h"
#include "tests/support/log_lines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using tessivar_test::LogLines;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Sequences of structures with strings: what they own is seen by the leak checker.
using Tessivar::Command;
using Tessivar::CommandSeq;

void set(CommandSeq& commands, DDS_Long i, DDS_UnsignedLong number, const char* unit) {
  commands[i].commandNumber = number;
  DDS_String_replace(&commands[i].unitId, unit);
}

std::vector<DDS_UnsignedLong> numbers(const CommandSeq& commands) {
  std::vector<DDS_UnsignedLong> all;
  for (DDS_Long i = 0; i < commands.length(); ++i) all.push_back(commands[i].commandNumber);
  return all;
}

class Sequence : public ::testing::Test {
 protected:
  Sequence() {
    commands.ensure_length(3, 10);
    for (DDS_Long i = 0; i < 3; ++i) set(commands, i, static_cast<DDS_UnsignedLong>(i + 1), "unit");
  }
  CommandSeq commands;
  LogLines log;
};

TEST_F(Sequence, TellsWhyItFails) {
  Command one = {};
  Command* pointers[] = {&one};
  CommandSeq loaned;
  ASSERT_TRUE(loaned.loan_contiguous(&one, 1, 1));
  CommandSeq empty;
  const auto check = [&](bool result, const char* line) {
    EXPECT_FALSE(result) << line;
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr(line)));
  };
  check(commands.set_maximum(-1), "CommandSeq_set_maximum: max size must be positive");
  commands.set_absolute_maximum(11);
  check(commands.set_maximum(12), "CommandSeq_set_maximum: new max cannot be larger than absolute maximum");
  check(commands.set_absolute_maximum(9), "new absolute max cannot be smaller than max");
  check(commands.set_length(11), "CommandSeq_set_length: ");
  check(commands.set_length(-1), "CommandSeq_set_length: ");
  check(commands.ensure_length(5, 4), "CommandSeq_ensure_length: insufficient space (5, 4)");
  check(commands.get_reference(3), "CommandSeq_get_reference: index out of bounds");
  check(commands.get_reference(-1), "CommandSeq_get_reference: index out of bounds");
  check(commands.unloan(), "CommandSeq_unloan: buffer must be loaned");
  check(commands.loan_contiguous(&one, 1, 1), "CommandSeq_loan_contiguous: max size must be 0");
  check(empty.loan_contiguous(nullptr, 0, 1), "CommandSeq_loan_contiguous: NULL buffer can't have non-zero maximum");
  check(empty.loan_discontiguous(pointers, -1, 1), "CommandSeq_loan_discontiguous: negative argument");
  check(loaned.set_maximum(5), "CommandSeq_set_maximum: buffer must not be loaned");
  check(loaned.ensure_length(2, 2), "CommandSeq_ensure_length: sequence is not the owner of its buffer");
  check(loaned.copy_no_alloc(commands), "CommandSeq_copy_no_alloc: insufficient space (1, 3)");
  check(Tessivar::CommandSeq_set_maximum(nullptr, 1), "CommandSeq_set_maximum: bad parameter: self");
  EXPECT_THAT(numbers(commands), ElementsAre(1u, 2u, 3u));
  EXPECT_EQ(loaned.length(), 1);
}

TEST_F(Sequence, IsCopiedDeeplyBetweenAllKindsOfBuffers) {
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
  EXPECT_THAT(numbers(copy), ElementsAre(1u, 2u));
  EXPECT_FALSE(commands.to_array(array, 2));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("insufficient space"), HasSubstr("copying array sequence")));
  for (Command& command : array) Tessivar::Command_finalize(&command);
}

TEST_F(Sequence, KeepsWhatFitsWhenItsMaximumChanges) {
  EXPECT_TRUE(commands.set_maximum(2));
  EXPECT_THAT(numbers(commands), ElementsAre(1u, 2u));
  EXPECT_STREQ(commands[1].unitId, "unit");
  EXPECT_TRUE(commands.set_maximum(20));
  EXPECT_THAT(numbers(commands), ElementsAre(1u, 2u));
  EXPECT_TRUE(commands.set_maximum(0));
  EXPECT_EQ(commands.length(), 0);
  EXPECT_EQ(commands.get_contiguous_buffer(), nullptr);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Sequence, TakesAnElementThatIsNotThereForOneOfNobody) {
  commands[7].commandNumber = 9;
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("index out of bounds")));
  EXPECT_EQ(commands[7].commandNumber, 0u);
}

TEST(SequenceOfZeroes, CountsAsEmpty) {
  alignas(DDS_OctetSeq) unsigned char memory[sizeof(DDS_OctetSeq)] = {};
  auto& octets = *reinterpret_cast<DDS_OctetSeq*>(memory);
  EXPECT_EQ(octets.length(), 0);
  EXPECT_EQ(octets.absolute_maximum(), 0x7fffffff);
  EXPECT_TRUE(octets.ensure_length(5, 16));
  EXPECT_EQ(octets.maximum(), 16);
  octets.finalize();
}

}  // namespace
