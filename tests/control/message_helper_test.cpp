// SPDX-License-Identifier: Apache-2.0

#include "tessivar/control/message_helper.h"

#include "tessivar/framework/pointers/dds_ptr.h"
#include "tests/support/log_recorder.h"

#include <gmock/gmock.h>

namespace TessivarDDS {
namespace {

using namespace ::testing;
using Helper = TessivarMessageHelper;

const AddressEx camera(1, 2, 10);
const AddressEx longest(std::string(64, 'a').c_str()), too_long(std::string(65, 'a').c_str());

TEST(MessageHelperTest, FillsSamplesAndTruncatesReasons) {
  const std::pair<DDSPtr<Tessivar::Command>, Tessivar::CommandType> cases[] = {
      {DDSPtr(Helper::createCommand(longest, 4294967295ul, 7)), Tessivar::Int},
      {DDSPtr(Helper::createCommand(longest, 4294967295ul, 0.1)), Tessivar::Float},
      {DDSPtr(Helper::createCommand(longest, 4294967295ul, true)), Tessivar::Boolean},
      {DDSPtr(Helper::createCommand(longest, 4294967295ul, longest.guid())), Tessivar::String},
      {DDSPtr(Helper::createEventCommand(longest, 4294967295ul)), Tessivar::Event},
      {DDSPtr(Helper::createPresetCommand(longest, 4294967295ul)), Tessivar::Preset},
  };
  for (const auto& [command, kind] : cases) {
    ASSERT_TRUE(command) << kind;
    EXPECT_STREQ(command->unitId, longest.guid());
    EXPECT_EQ(command->commandNumber, 4294967295u);
    EXPECT_EQ(command->value._d, kind);
  }
  EXPECT_EQ(cases[0].first->value._u.intValue, 7);
  EXPECT_EQ(cases[1].first->value._u.floatValue, 0.1f);
  EXPECT_STREQ(cases[3].first->value._u.stringValue, longest.guid());

  const DDSPtr request(Tessivar::CommandChangeRequestTypeSupport::create_data());
  request->changeguid.length(16);
  request->changeguid[15] = 3;
  request->ticketId = 4711;
  const DDSPtr reply(Helper::createReply(request.get(), Tessivar::FAILED, std::string(300, 'r').c_str()));
  EXPECT_EQ(reply->changeguid[15], 3);
  EXPECT_EQ(reply->ticketId, 4711);
  EXPECT_EQ(reply->result, Tessivar::FAILED);
  EXPECT_EQ(reply->ex->message, std::string(255, 'r'));
  EXPECT_EQ(DDSPtr(Helper::createReply(request.get(), Tessivar::COMPLETE, nullptr))->ex, nullptr);
}

TEST(MessageHelperTest, RefusesTextsThatAreTooLong) {
  tessivar::testing::LogRecorder log;
  const std::string name(33, 'n');
  EXPECT_EQ(Helper::createCommand(too_long, 1, 7), nullptr);
  EXPECT_EQ(Helper::createMetadata(too_long, 1), nullptr);
  EXPECT_EQ(Helper::createUnit(too_long, "name"), nullptr);
  EXPECT_THAT(log.lines(), AllOf(SizeIs(3), Each(EndsWith("Address string too long"))));
  EXPECT_EQ(Helper::createCommand(camera, 1, too_long.guid()), nullptr);
  EXPECT_EQ(Helper::createCommand(camera, 1, static_cast<const char*>(nullptr)), nullptr);
  EXPECT_EQ(Helper::createUnit(camera, name.c_str()), nullptr);
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("String value too long."), EndsWith("Invalid argument"),
                                       EndsWith("Unit name string too long")));
}

}  // namespace
}  // namespace TessivarDDS
