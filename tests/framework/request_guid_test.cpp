#include "tessivar/framework/requestreply/request_guid.h"

#include "tessivar/framework/requestreply/guid_content_filter.h"
#include "tests/control/support/log_recorder.h"
#include "tests/framework/support/samples.h"

#include <cstdlib>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace TessivarDDS;
using namespace tessivar::testing;
using testing::ElementsAre;

DDS_OctetSeq guidOf(std::vector<DDS_Octet> octets) {
  DDS_OctetSeq guid;
  guid.from_array(octets.data(), static_cast<DDS_Long>(octets.size()));
  return guid;
}

TEST(RequestGuid, is_sixteen_octets_none_of_which_is_255) {
  std::set<std::string> seen;
  for (int i = 0; i < 2000; ++i) {
    DDS_OctetSeq guid;
    generateRequestGuid(guid);
    ASSERT_EQ(guid.length(), 16);
    for (DDS_Long octet = 0; octet < guid.length(); ++octet) EXPECT_NE(guid[octet], 255);
    seen.insert(requestGuidToText(guid));
  }
  EXPECT_EQ(seen.size(), 2000u);
}

TEST(RequestGuid, differs_although_the_generator_is_seeded_alike) {
  DDS_OctetSeq one, two;
  std::srand(1);
  generateRequestGuid(one);
  std::srand(1);
  generateRequestGuid(two);
  EXPECT_FALSE(requestGuidsEqual(one, two));
}

TEST(RequestGuid, differs_between_processes_that_are_forked) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  DDS_OctetSeq guid;
  generateRequestGuid(guid);  // the generator is seeded before
  for (int i = 0; i < 2; ++i) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      generateRequestGuid(guid);
      const std::string text = requestGuidToText(guid);
      _exit(write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
  }
  char texts[64];
  ASSERT_EQ(read(ends[0], texts, sizeof texts), 64);
  EXPECT_NE(std::string(texts, 32), std::string(texts + 32, 32));
  close(ends[0]);
  close(ends[1]);
}

TEST(RequestGuid, is_written_as_hexadecimal_digits) {
  const DDS_OctetSeq guid = guidOf({0x00, 0x01, 0x0f, 0x10, 0x7f, 0x80, 0xab, 0xfe, 1, 2, 3, 4, 5, 6, 7, 8});
  const std::string text = "00010f107f80abfe0102030405060708";
  EXPECT_EQ(requestGuidToText(guid), text);
  DDS_OctetSeq parsed;
  ASSERT_TRUE(requestGuidFromText(text, parsed));
  EXPECT_TRUE(requestGuidsEqual(parsed, guid));
  ASSERT_TRUE(requestGuidFromText("00010F107F80ABFE0102030405060708", parsed));
  EXPECT_TRUE(requestGuidsEqual(parsed, guid));
  ASSERT_TRUE(requestGuidFromText("zz010f107f80abfe0102030405060708", parsed));
  EXPECT_EQ(parsed[0], 0);
  for (const std::string& wrong : {std::string(), text.substr(1), text + "0"}) {
    EXPECT_FALSE(requestGuidFromText(wrong, parsed)) << wrong;
  }
}

TEST(RequestGuid, is_compared_by_length_and_octets) {
  const DDS_OctetSeq guid = guidOf({1, 2, 3});
  EXPECT_TRUE(requestGuidsEqual(guid, guidOf({1, 2, 3})));
  EXPECT_FALSE(requestGuidsEqual(guid, guidOf({1, 2})));
  EXPECT_FALSE(requestGuidsEqual(guid, guidOf({1, 2, 4})));
  EXPECT_TRUE(requestGuidsEqual(DDS_OctetSeq(), DDS_OctetSeq()));
}

TEST(GuidFilter, passes_only_replies_of_one_identity) {
  LogRecorder log(LogDebug);
  auto& filter = GuidContentFilter<Tessivar::CommandChangeReply>::instance();
  const std::string text = "00010f107f80abfe0102030405060708";
  const std::string signature =
      "DDS_ReturnCode_t __cdecl TessivarDDS::GuidContentFilter<class Tessivar::CommandChangeReply>::compile(void **,"
      "const char *,const struct DDS_StringSeq &,const struct DDS_TypeCode *,const char *,void *)";
  void* data = nullptr;
  for (const std::string& wrong : {std::string(), text.substr(1), text + "0"}) {
    EXPECT_EQ(filter.compile(&data, wrong.c_str(), {}, nullptr, nullptr, nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_THAT(log.lines(), ElementsAre("1 " + signature + "Creating Guid Content Filter type for guid: " + wrong,
                                         "8 " + signature + "Failed to parse guid in content filtered topic."));
  }
  EXPECT_EQ(filter.compile(&data, nullptr, {}, nullptr, nullptr, nullptr), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(data, nullptr);
  ASSERT_EQ(filter.compile(&data, text.c_str(), {}, nullptr, nullptr, nullptr), DDS_RETCODE_OK);

  const DDSPtr<Tessivar::CommandChangeReply> sample(reply(Tessivar::COMPLETE));
  EXPECT_FALSE(filter.evaluate(data, sample.get(), nullptr));
  requestGuidFromText(text, sample->changeguid);
  EXPECT_TRUE(filter.evaluate(data, sample.get(), nullptr));
  sample->changeguid[15] = 9;
  EXPECT_FALSE(filter.evaluate(data, sample.get(), nullptr));
  log.lines();
  filter.finalize(data);
  EXPECT_THAT(log.lines(), ElementsAre("1 void __cdecl TessivarDDS::GuidContentFilter<class "
                                       "Tessivar::CommandChangeReply>::finalize(void *)Deleting Guid Content Filter"));
}

}  // namespace
