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

TEST_F(Sequence, AllocatesTheWholeBoundAtOnce) {
  EXPECT_EQ(commands.length(), 3);
  EXPECT_EQ(commands.maximum(), 10);
  EXPECT_TRUE(commands.has_ownership());
  EXPECT_NE(commands.get_contiguous_buffer()[9].unitId, nullptr);
  EXPECT_EQ(commands.get_discontiguous_buffer(), nullptr);
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

TEST_F(Sequence, TellsWhyItFails) {
  struct Failure {
    bool result;
    const char* line;
  };
  Command one = {};
  Command* pointers[] = {&one};
  CommandSeq loaned;
  ASSERT_TRUE(loaned.loan_contiguous(&one, 1, 1));
  CommandSeq empty;
  void* token = nullptr;
  const auto check = [&](bool result, const char* line) {
    EXPECT_FALSE(result) << line;
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr(line)));
  };
  check(commands.set_maximum(-1), "CommandSeq_set_maximum: max size must be positive");
  commands.set_absolute_maximum(11);
  check(commands.set_maximum(12), "CommandSeq_set_maximum: new max cannot be larger than absolute maximum");
  check(commands.set_absolute_maximum(9),
        "CommandSeq_set_absolute_maximum: new absolute max cannot be smaller than max");
  check(commands.set_length(11), "CommandSeq_set_length: ");
  check(commands.set_length(-1), "CommandSeq_set_length: ");
  check(commands.ensure_length(5, 4), "CommandSeq_ensure_length: insufficient space (5, 4)");
  check(commands.get_reference(3), "CommandSeq_get_reference: index out of bounds");
  check(commands.get_reference(-1), "CommandSeq_get_reference: index out of bounds");
  check(commands.unloan(), "CommandSeq_unloan: buffer must be loaned");
  check(commands.loan_contiguous(&one, 1, 1), "CommandSeq_loan_contiguous: max size must be 0");
  check(empty.loan_contiguous(nullptr, 0, 1), "CommandSeq_loan_contiguous: NULL buffer can't have non-zero maximum");
  check(empty.loan_discontiguous(pointers, -1, 1), "CommandSeq_loan_discontiguous: negative argument");
  empty.set_absolute_maximum(0);
  check(empty.loan_discontiguous(pointers, 1, 1),
        "CommandSeq_loan_discontiguous: new_max greater than absolute maximum size");
  check(loaned.set_maximum(5), "CommandSeq_set_maximum: buffer must not be loaned");
  check(loaned.ensure_length(2, 2), "CommandSeq_ensure_length: sequence is not the owner of its buffer");
  check(loaned.copy_no_alloc(commands), "CommandSeq_copy_no_alloc: insufficient space (1, 3)");
  check(commands.get_read_tokenI(nullptr, &token), "CommandSeq_get_read_tokenI: bad parameter: token (NULL)");
  check(commands.element_allocation_params({}),
        "CommandSeq_set_element_allocation_params: Member allocation parameters can be configured only when the "
        "maximum size of the sequence is 0");
  check(commands.element_pointers_allocation(DDS_BOOLEAN_FALSE),
        "CommandSeq_set_element_pointers_allocation: Pointers allocation policy can be configured only when the "
        "maximum size of the sequence is 0");
  EXPECT_THAT(numbers(commands), ElementsAre(1u, 2u, 3u));
  EXPECT_EQ(loaned.length(), 1);
}

TEST_F(Sequence, TakesAnElementThatIsNotThereForOneOfNobody) {
  commands[7].commandNumber = 9;
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("index out of bounds")));
  EXPECT_EQ(commands[7].commandNumber, 0u);
}

TEST_F(Sequence, IsCopiedDeeply) {
  CommandSeq copy(commands);
  DDS_String_replace(&commands[0].unitId, "changed");
  EXPECT_STREQ(copy[0].unitId, "unit");
  EXPECT_EQ(copy.maximum(), commands.maximum());  // not its length
  CommandSeq assigned;
  assigned = commands;
  EXPECT_STREQ(assigned[0].unitId, "changed");
  const CommandSeq moved(std::move(assigned));
  EXPECT_THAT(numbers(moved), ElementsAre(1u, 2u, 3u));
}

TEST_F(Sequence, IsCopiedBetweenAllKindsOfBuffers) {
  Command array[3] = {};
  Command* pointers[3] = {&array[0], &array[1], &array[2]};
  CommandSeq scattered;
  ASSERT_TRUE(scattered.loan_discontiguous(pointers, 0, 3));
  ASSERT_TRUE(scattered.copy_no_alloc(commands));
  EXPECT_EQ(array[2].commandNumber, 3u);
  EXPECT_EQ(scattered.get_reference(1), &array[1]);
  CommandSeq back;
  ASSERT_TRUE(back.copy(scattered));
  EXPECT_THAT(numbers(back), ElementsAre(1u, 2u, 3u));
  CommandSeq other;
  Command other_array[3] = {};
  Command* other_pointers[3] = {&other_array[0], &other_array[1], &other_array[2]};
  ASSERT_TRUE(other.loan_discontiguous(other_pointers, 0, 3));
  ASSERT_TRUE(other.copy(scattered));
  EXPECT_STREQ(other_array[0].unitId, "unit");
  EXPECT_TRUE(scattered.unloan());
  EXPECT_EQ(scattered.maximum(), 0);
  for (Command& command : array) Tessivar::Command_finalize(&command);
  for (Command& command : other_array) Tessivar::Command_finalize(&command);
}

TEST_F(Sequence, IsMadeFromAnArrayAndBack) {
  Command array[3] = {};
  ASSERT_TRUE(commands.to_array(array, 3));
  CommandSeq copy;
  ASSERT_TRUE(copy.from_array(array, 2));
  EXPECT_THAT(numbers(copy), ElementsAre(1u, 2u));
  EXPECT_FALSE(commands.to_array(array, 2));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("insufficient space"), HasSubstr("copying array sequence")));
  EXPECT_FALSE(copy.from_array(nullptr, 2));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("NULL buffer"), HasSubstr("loan contiguous array")));
  for (Command& command : array) Tessivar::Command_finalize(&command);
}

TEST_F(Sequence, LeavesALentBufferAlone) {
  Command array[2] = {};
  {
    CommandSeq lent;
    ASSERT_TRUE(lent.loan_contiguous(array, 2, 2));
    EXPECT_FALSE(lent.has_ownership());
    EXPECT_TRUE(lent.set_length(1));
  }
  EXPECT_EQ(array[0].unitId, nullptr);
}

TEST_F(Sequence, FunctionsRefuseNull) {
  EXPECT_FALSE(Tessivar::CommandSeq_set_maximum(nullptr, 1));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("CommandSeq_set_maximum: bad parameter: self")));
  EXPECT_EQ(Tessivar::CommandSeq_get_length(nullptr), 0);
  EXPECT_EQ(Tessivar::CommandSeq_get_reference(nullptr, 0), nullptr);
  EXPECT_EQ(Tessivar::CommandSeq_copy(nullptr, &commands), nullptr);
  log.lines();
  EXPECT_FALSE(Tessivar::CommandSeq_set_element_deallocation_params(&commands, nullptr));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("CommandSeq_set_element_deallocation_params: bad parameter: params")));
  EXPECT_EQ(Tessivar::CommandSeq_get(&commands, 1).commandNumber, 2u);
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

TEST(SequenceOfStrings, OwnsThem) {
  DDS_StringSeq texts;
  ASSERT_TRUE(texts.ensure_length(2, 2));
  DDS_String_replace(&texts[0], "one");
  const DDS_StringSeq copy(texts);
  DDS_String_replace(&texts[0], "two");
  EXPECT_STREQ(copy[0], "one");
  EXPECT_EQ(copy[1], nullptr);
}

}  // namespace
