// What a configuration means: interfaces, peers, domain ids, and text that comes from outside.
#include "tessivar/platform/cyclone/configuration.h"
#include "tessivar/platform/cyclone/network.h"
#include "tests/platform/engine_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace engine_test {
namespace {

using namespace cyclone;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

const Interface lo = {"lo", "127.0.0.1", true};
const Interface control = {"eth0", "10.1.2.3", false};
const Interface media = {"eth1", "10.2.0.7", false};

TEST(EngineInterfaces, AreChosenByNameAddressOrPattern) {
  struct Case {
    std::vector<std::string> wanted;
    std::vector<Interface> chosen;
  };
  const Case cases[] = {{{"lo"}, {lo}},
                        {{"10.2.0.7"}, {media}},
                        {{"10.1.*"}, {control}},
                        {{"eth?"}, {control, media}},
                        {{"eth1", "127.*"}, {lo, media}},
                        {{"10.*", "eth0"}, {control, media}}};
  for (const Case& one : cases) {
    SCOPED_TRACE(testing::PrintToString(one.wanted));
    std::string error;
    EXPECT_EQ(select_interfaces(one.wanted, {lo, control, media}, error), one.chosen);
    EXPECT_EQ(error, "");
  }
}

TEST(EngineInterfaces, ThatNobodyHasAreAnErrorThatListsWhatThereIs) {
  std::string error;
  EXPECT_EQ(select_interfaces({"eth7", "10.9.*"}, {lo, control}, error), std::nullopt);
  EXPECT_THAT(error, AllOf(HasSubstr("\"eth7\" \"10.9.*\""), HasSubstr("lo (127.0.0.1) eth0 (10.1.2.3)")));

  EngineParticipantConfig config = participant_config(0);
  config.interfaces = {"no-such-interface"};
  std::unique_ptr<EngineParticipant> participant;
  EXPECT_EQ(cyclone_engine().create_participant(config, nullptr, participant, error), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_THAT(error, AllOf(HasSubstr("no-such-interface"), HasSubstr("lo (127.0.0.1)")));
}

TEST(EnginePeers, AreResolved) {
  EXPECT_EQ(resolve_peer("127.0.0.1"), "127.0.0.1");
  EXPECT_EQ(resolve_peer("127.0.0.2:7412"), "127.0.0.2:7412");
  EXPECT_EQ(resolve_peer("localhost"), "127.0.0.1");
  for (const char* bad :
       {"", ":7400", "127.0.0.1:", "127.0.0.1:0", "127.0.0.1:70000", "127.0.0.1:74x", "no.such.invalid"})
    EXPECT_EQ(resolve_peer(bad), std::nullopt) << bad;
}

TEST(EnginePeers, AreChangedAtRunTime) {
  const auto participant = make_participant(participant_config(67));
  EXPECT_EQ(participant->add_peer("127.0.0.3"), DDS_RETCODE_OK);
  EXPECT_EQ(participant->remove_peer("127.0.0.3"), DDS_RETCODE_OK);
  EXPECT_EQ(participant->add_peer("no.such.invalid"), DDS_RETCODE_BAD_PARAMETER);
  EXPECT_EQ(participant->remove_peer("<bad>"), DDS_RETCODE_BAD_PARAMETER);
}

TEST(EngineConfiguration, ContainsWhatWasAskedFor) {
  EngineParticipantConfig config = participant_config(3);
  config.peers = {"127.0.0.1", "127.0.0.9", "no.such.invalid"};
  config.max_participant_index = 5;
  std::string error;
  const std::string xml = engine_configuration(config, error).value_or(error);
  EXPECT_THAT(xml, AllOf(HasSubstr("<ExternalDomainId>3<"), HasSubstr("<AllowMulticast>false<"),
                         HasSubstr("<NetworkInterface address=\"127.0.0.1\"/>"),
                         HasSubstr("<Peers><Peer address=\"127.0.0.1\"/><Peer address=\"127.0.0.9\"/></Peers>"),
                         HasSubstr("<LeaseDuration>2800000000 ns<"), HasSubstr("<MaxAutoParticipantIndex>6<"),
                         Not(HasSubstr("invalid"))));
  config.multicast = true;
  EXPECT_THAT(engine_configuration(config, error).value_or(error),
              AllOf(HasSubstr("<AllowMulticast>true<"), HasSubstr("multicast=\"true\"")));
}

TEST(EngineConfiguration, TextFromOutsideStaysText) {
  EXPECT_EQ(xml_escaped("<a b='c' & \"d\">"), "&lt;a b=&apos;c&apos; &amp; &quot;d&quot;&gt;");
}

TEST(EngineConfiguration, ADomainThatHasNoPortsIsRefused) {
  for (const DDS_DomainId_t domain : {-1, 233, 1000000}) {
    std::unique_ptr<EngineParticipant> participant;
    std::string error;
    EXPECT_EQ(cyclone_engine().create_participant(participant_config(domain), nullptr, participant, error),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_THAT(error, HasSubstr("domain id " + std::to_string(domain)));
  }
  EXPECT_NE(make_participant(participant_config(232)), nullptr);
}

TEST(EngineConfiguration, ADurationThatTheEngineCannotTakeIsRefused) {
  for (const std::int64_t duration : {std::int64_t{-1}, std::int64_t{3'600'000'000'001}, never}) {
    std::string error;
    EngineParticipantConfig config = participant_config(3);
    config.lease_duration = duration;
    EXPECT_EQ(engine_configuration(config, error), std::nullopt);
    EXPECT_THAT(error, HasSubstr("lease"));
    config = participant_config(3);
    config.announcement_period = duration;
    EXPECT_EQ(engine_configuration(config, error), std::nullopt);
    EXPECT_THAT(error, HasSubstr("announcements"));
  }
}

TEST(EngineConfiguration, ParticipantsOfOneHostAreNumbered) {
  EngineParticipantConfig config = participant_config(68);
  config.max_participant_index = 1;
  const auto first = make_participant(config);
  const auto second = make_participant(config);
  EXPECT_EQ(first->participant_index(), 0);
  EXPECT_EQ(second->participant_index(), 1);
  std::unique_ptr<EngineParticipant> third;
  std::string error;
  EXPECT_EQ(cyclone_engine().create_participant(config, nullptr, third, error), DDS_RETCODE_OUT_OF_RESOURCES);
  EXPECT_THAT(error, AllOf(HasSubstr("domain 68"), HasSubstr("2 participants")));
}

}  // namespace
}  // namespace engine_test
