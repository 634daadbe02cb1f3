#include "tessivar/framework/domain/text_list.h"
#include "tessivar/framework/filters/address_content_filter.h"
#include "tests/control/support/log_recorder.h"
#include "tests/framework/support/samples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace TessivarDDS;
using namespace tessivar::testing;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* compile_signature =
    "DDS_ReturnCode_t __cdecl TessivarDDS::AddressContentFilter::compile(void **,const char *,"
    "const struct DDS_StringSeq &,const struct DDS_TypeCode *,const char *,void *)";

class AddressFilter : public testing::Test {
 protected:
  ~AddressFilter() override {
    if (data) filter.finalize(data);
  }
  DDS_ReturnCode_t compile(const char* expression, const std::vector<std::string>& addresses = {}) {
    DDS_StringSeq parameters;
    assignTexts(parameters, addresses);
    return filter.compile(&data, expression, parameters, nullptr, nullptr, std::exchange(data, nullptr));
  }
  bool passes(const void* sample) { return filter.evaluate(data, sample, nullptr); }

  LogRecorder log{LogDebug};
  AddressContentFilter& filter = AddressContentFilter::instance();
  void* data = nullptr;
};

TEST_F(AddressFilter, passes_everything_without_addresses) {
  ASSERT_EQ(compile("typeName=Tessivar::Command"), DDS_RETCODE_OK);
  EXPECT_TRUE(passes(command("0001:02:03", 1).get()));
  EXPECT_TRUE(passes(command("", 1).get()));
}

TEST_F(AddressFilter, passes_the_wanted_units_by_their_text) {
  ASSERT_EQ(compile("typeName=Tessivar::Command", {"0001:02:03", "1:2:4", "0001:02:03", "garbage"}), DDS_RETCODE_OK);
  EXPECT_THAT(log.lines(), ElementsAre("2 " + std::string(compile_signature) +
                                       "Compiled Address Filter for TypeName: Tessivar::Command Address List Size: 3"));
  const std::vector<std::pair<const char*, bool>> cases = {
      {"0001:02:03", true}, {"1:2:3", false}, {"1:2:4", true},      {"0001:02:04", false},
      {"garbage", true},    {"", false},      {"0001:02:0", false}, {"0001:02:033", false}};
  for (const auto& [unit, expected] : cases) EXPECT_EQ(passes(command(unit, 1).get()), expected) << unit;
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(AddressFilter, takes_the_address_of_a_change_request_from_the_new_value) {
  ASSERT_EQ(compile("typeName=Tessivar::CommandChangeRequest", {"0001:02:03"}), DDS_RETCODE_OK);
  DDSPtr<Tessivar::CommandChangeRequest> request(Tessivar::CommandChangeRequestTypeSupport::create_data());
  EXPECT_FALSE(passes(request.get()));
  std::strcpy(request->newValue.unitId, "0001:02:03");
  EXPECT_TRUE(passes(request.get()));
}

TEST_F(AddressFilter, refuses_samples_without_an_address) {
  ASSERT_EQ(compile("typeName=Tessivar::Command", {"0001:02:03"}), DDS_RETCODE_OK);
  DDSPtr<Tessivar::Command> sample = command("0001:02:03", 1);
  char* const unit = std::exchange(sample->unitId, nullptr);
  EXPECT_FALSE(passes(sample.get()));
  sample->unitId = unit;
}

TEST_F(AddressFilter, refuses_expressions_that_name_no_type) {
  const std::string expected = "8 " + std::string(compile_signature);
  EXPECT_EQ(compile(nullptr), DDS_RETCODE_ERROR);
  EXPECT_THAT(log.lines(), ElementsAre(expected + "Expression was null"));
  for (const char* expression : {"", "typename=Tessivar::Command", "Tessivar::Command"}) {
    EXPECT_EQ(compile(expression), DDS_RETCODE_ERROR) << expression;
    EXPECT_THAT(log.lines(), ElementsAre(expected + "Expected expression in the form typeName=Type"));
  }
  for (const char* expression :
       {"typeName=", "typeName=Tessivar::Unit", "typeName=tessivar::command", "typeName= Tessivar::Command"}) {
    EXPECT_EQ(compile(expression), DDS_RETCODE_ERROR) << expression;
    EXPECT_THAT(log.lines(), ElementsAre(StartsWith(
                                 "8 enum TessivarDDS::AddressContentFilter::TypeEnum __cdecl "
                                 "TessivarDDS::AddressContentFilter::convertType(const class std::basic_string")));
  }
  EXPECT_EQ(data, nullptr);
}

TEST_F(AddressFilter, takes_as_many_characters_as_the_first_blank_is_from_the_expressions_start) {
  EXPECT_EQ(compile("ignored typeName=Tessivar::Command"), DDS_RETCODE_OK);
  // The blank is preceded by 26 characters: so many are taken, more than the name has.
  EXPECT_EQ(compile("typeName=Tessivar::Command and more"), DDS_RETCODE_ERROR);
  EXPECT_THAT(log.lines(), testing::Contains(EndsWith("address content filter: Tessivar::Command and more")));
  EXPECT_EQ(compile("typeName=Tessivar::Command and much more"), DDS_RETCODE_ERROR);
  EXPECT_THAT(log.lines(), testing::Contains(EndsWith("address content filter: Tessivar::Command and much")));
}

TEST_F(AddressFilter, knows_every_type_that_carries_an_address) {
  for (const char* type :
       {"Tessivar_Routing::Source", "Tessivar_Routing::Destination", "Tessivar_Routing::Association",
        "Tessivar_Routing::AssociationRoute", "Tessivar_Routing::AssociationRouteChangeRequest", "Tessivar::Command",
        "Tessivar::CommandChangeRequest", "Tessivar::CommandInterest", "Tessivar::CommandMetadata"}) {
    EXPECT_EQ(compile(AddressContentFilter::expression(type).c_str(), {"0001:02:03"}), DDS_RETCODE_OK) << type;
  }
}

TEST_F(AddressFilter, replaces_old_data_and_finalises_none) {
  ASSERT_EQ(compile("typeName=Tessivar::Command", {"a"}), DDS_RETCODE_OK);
  ASSERT_EQ(compile("typeName=Tessivar::Command", {"b"}), DDS_RETCODE_OK);
  EXPECT_FALSE(passes(command("a", 1).get()));
  EXPECT_TRUE(passes(command("b", 1).get()));
  log.lines();
  filter.finalize(nullptr);
  EXPECT_THAT(log.lines(), ElementsAre("2 void __cdecl TessivarDDS::AddressContentFilter::finalize(void *)"
                                       "Deleting Address Content Filter"));
}

}  // namespace
