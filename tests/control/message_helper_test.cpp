#include "tessivar/control/message_helper.h"

#include "tessivar/framework/pointers/dds_ptr.h"
#include "tests/control/support/log_recorder.h"

#include <cmath>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace TessivarDDS {
namespace {

using tessivar::testing::LogRecorder;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using Commands = Tessivar::CommandTypeSupport;
using Replies = Tessivar::CommandChangeReplyTypeSupport;

const AddressEx camera(1, 2, 10);

class MessageHelper : public ::testing::Test {
 protected:
  LogRecorder log_;
};

TEST_F(MessageHelper, FillsTheIdentityOfEveryCommand) {
  using Helper = TessivarMessageHelper;
  const struct {
    DDSPtr<Tessivar::Command> command;
    Tessivar::CommandType kind;
  } cases[] = {
      {DDSPtr(Helper::createCommand(camera, 4294967295ul, 7)), Tessivar::Int},
      {DDSPtr(Helper::createCommand(camera, 4294967295ul, 2.5)), Tessivar::Float},
      {DDSPtr(Helper::createCommand(camera, 4294967295ul, true)), Tessivar::Boolean},
      {DDSPtr(Helper::createCommand(camera, 4294967295ul, "left")), Tessivar::String},
      {DDSPtr(Helper::createEventCommand(camera, 4294967295ul)), Tessivar::Event},
      {DDSPtr(Helper::createPresetCommand(camera, 4294967295ul)), Tessivar::Preset},
  };
  for (const auto& [command, kind] : cases) {
    ASSERT_TRUE(command) << kind;
    EXPECT_STREQ(command->unitId, "0001:02:0A");
    EXPECT_EQ(command->commandNumber, 4294967295u);
    EXPECT_EQ(command->value._d, kind);
  }
  EXPECT_EQ(cases[0].command->value._u.intValue, 7);
  EXPECT_EQ(cases[1].command->value._u.floatValue, 2.5f);
  EXPECT_EQ(cases[2].command->value._u.boolValue, DDS_BOOLEAN_TRUE);
  EXPECT_STREQ(cases[3].command->value._u.stringValue, "left");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(MessageHelper, NarrowsADoubleToTheFloatThatTravels) {
  const DDSPtr fine(TessivarMessageHelper::createCommand(camera, 1, 0.1));
  EXPECT_EQ(fine->value._u.floatValue, 0.1f);
  const DDSPtr huge(TessivarMessageHelper::createCommand(camera, 1, 1e300));
  EXPECT_TRUE(std::isinf(huge->value._u.floatValue));
}

TEST_F(MessageHelper, BoundsStringValues) {
  const DDSPtr longest(TessivarMessageHelper::createCommand(camera, 1, std::string(64, 'x').c_str()));
  ASSERT_TRUE(longest);
  EXPECT_EQ(std::string(longest->value._u.stringValue), std::string(64, 'x'));

  EXPECT_EQ(TessivarMessageHelper::createCommand(camera, 1, std::string(65, 'x').c_str()), nullptr);
  EXPECT_EQ(TessivarMessageHelper::createCommand(camera, 1, static_cast<const char*>(nullptr)), nullptr);
  const std::string signature =
      "8 struct Tessivar::Command *__cdecl TessivarDDS::TessivarMessageHelper::createCommand("
      "const class TessivarDDS::AddressEx &,unsigned long,const char *)";
  EXPECT_THAT(log_.lines(), ElementsAre(signature + "String value too long.", signature + "Invalid argument"));
}

TEST_F(MessageHelper, RefusesWhatWouldNotFitTheSample) {
  const AddressEx longest(std::string(64, 'a').c_str());
  const DDSPtr fits(TessivarMessageHelper::createCommand(longest, 1, 7));
  ASSERT_TRUE(fits);
  EXPECT_EQ(std::string(fits->unitId), std::string(64, 'a'));

  const AddressEx tooLong(std::string(65, 'a').c_str());
  EXPECT_EQ(TessivarMessageHelper::createCommand(tooLong, 1, 7), nullptr);
  EXPECT_EQ(TessivarMessageHelper::createMetadata(tooLong, 1), nullptr);
  EXPECT_EQ(TessivarMessageHelper::createUnit(tooLong, "name"), nullptr);
  EXPECT_THAT(log_.lines(), ::testing::SizeIs(3));
  EXPECT_THAT(log_.lines(), ::testing::Each(EndsWith("Address string too long")));

  if (sizeof(unsigned long) > 4) {
    EXPECT_EQ(TessivarMessageHelper::createCommand(camera, ~0ul, 7), nullptr);
  }
}

TEST_F(MessageHelper, MakesMetadata) {
  const DDSPtr metadata(TessivarMessageHelper::createMetadata(camera, 17));
  ASSERT_TRUE(metadata);
  EXPECT_STREQ(metadata->unitId, "0001:02:0A");
  EXPECT_EQ(metadata->commandNumber, 17u);
  EXPECT_STREQ(metadata->name, "");
  EXPECT_EQ(metadata->validRange, nullptr);
}

TEST_F(MessageHelper, BoundsUnitNames) {
  const std::string longest(32, 'n');
  const DDSPtr unit(TessivarMessageHelper::createUnit(camera, longest.c_str()));
  ASSERT_TRUE(unit);
  EXPECT_EQ(unit->name, longest);
  EXPECT_STREQ(unit->unitId, "0001:02:0A");

  EXPECT_EQ(TessivarMessageHelper::createUnit(camera, std::string(33, 'n').c_str()), nullptr);
  EXPECT_EQ(TessivarMessageHelper::createUnit(camera, nullptr), nullptr);
  const std::string signature =
      "8 struct Tessivar::Unit *__cdecl TessivarDDS::TessivarMessageHelper::createUnit("
      "const class TessivarDDS::AddressEx &,const char *)";
  EXPECT_THAT(log_.lines(), ElementsAre(signature + "Unit name string too long", signature + "Invalid argument"));
}

class Reply : public MessageHelper {
 protected:
  Reply() : request_(Tessivar::CommandChangeRequestTypeSupport::create_data()) {
    request_->changeguid.length(16);
    for (DDS_Long i = 0; i < 16; ++i) request_->changeguid[i] = static_cast<DDS_Octet>(i * 3);
    request_->ticketId = 4711;
  }

  DDSPtr<Tessivar::CommandChangeRequest> request_;
};

TEST_F(Reply, CarriesTheRequestsIdentity) {
  const DDSPtr reply(TessivarMessageHelper::createReply(request_.get(), Tessivar::COMPLETE, nullptr));
  ASSERT_TRUE(reply);
  ASSERT_EQ(reply->changeguid.length(), 16);
  for (DDS_Long i = 0; i < 16; ++i) EXPECT_EQ(reply->changeguid[i], i * 3);
  EXPECT_EQ(reply->ticketId, 4711);
  EXPECT_EQ(reply->result, Tessivar::COMPLETE);
  EXPECT_EQ(reply->ex, nullptr);
}

TEST_F(Reply, CarriesAReason) {
  const DDSPtr reply(TessivarMessageHelper::createReply(request_.get(), Tessivar::FAILED, "tally is on"));
  ASSERT_TRUE(reply && reply->ex);
  EXPECT_EQ(reply->result, Tessivar::FAILED);
  EXPECT_STREQ(reply->ex->message, "tally is on");
}

TEST_F(Reply, CutsAReasonThatIsTooLong) {
  const DDSPtr whole(
      TessivarMessageHelper::createReply(request_.get(), Tessivar::FAILED, std::string(255, 'r').c_str()));
  EXPECT_EQ(std::string(whole->ex->message), std::string(255, 'r'));
  EXPECT_THAT(log_.lines(), IsEmpty());

  const DDSPtr cut(TessivarMessageHelper::createReply(request_.get(), Tessivar::FAILED, std::string(300, 'r').c_str()));
  EXPECT_EQ(std::string(cut->ex->message), std::string(255, 'r'));
  EXPECT_THAT(log_.lines(), ElementsAre(AllOf(StartsWith("4 struct Tessivar::CommandChangeReply *__cdecl "),
                                              EndsWith("Exception info string length exceeded."))));
}

}  // namespace
}  // namespace TessivarDDS
