// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/domain/dds_domain.h"
#include "tessivar/framework/domain/domain_handle.h"
#include "tessivar/framework/domain/domain_manager.h"
#include "tessivar/framework/filters/address_content_filter.h"
#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"

#include <atomic>
#include <cstdlib>

namespace {

using namespace TessivarDDS;
using namespace tessivar::testing;
using namespace testing;

constexpr int domain_id = 60;

TEST(DDSDomainTest, LogsWhatItRefusesAndStaysUsable) {
  internal::CaptureStderr();
  LogRecorder log;
  DDSDomain domain;
  const std::pair<std::function<bool()>, std::string> cases[] = {
      {[&] { return domain.removePeerAddress("10.0.0.1"); }, "Failed to remove peer as the participant was null."},
      {[&] { return domain.createDomainParticipant(233); }, " Domain id 233 is not within 0 to 232"},
      {[&] { return domain.createDomainParticipant(domain_id, {}, "none", "p"); }, "none::p return code: 1"},
      {[&] {
         domain.setAllowedInterfaces({"nosuchinterface"});
         return domain.createDomainParticipant(domain_id);
       },
       "Failed to enable DDS participant."},
      {[&] {
         domain.setAllowedInterfaces({"lo"});
         domain.addPeerAddress("a.invalid");
         return !domain.createDomainParticipant(domain_id);
       },
       "peer \"a.invalid\" cannot be resolved and is left out (addPeerAddress(), TESSIVAR_PEERS, initial_peers)"},
      {[&] { return domain.addPeerAddress(""); }, "Failed to add peer  return code: 3"},
      {[&] { return domain.createDomainParticipant(domain_id); }, " Already created on domain 60"},
  };
  for (const auto& [operation, message] : cases) {
    EXPECT_FALSE(operation()) << message;
    EXPECT_THAT(log.lines(), Contains(EndsWith(message)));
  }
  EXPECT_TRUE(domain.addPeerAddress("127.0.0.1") && domain.removePeerAddress("127.0.0.1"));
  domain.cleanUp();
  EXPECT_EQ(domain.participant(), nullptr);
  EXPECT_TRUE(domain.createDomainParticipant(domain_id));
  EXPECT_EQ(internal::GetCapturedStderr(), "") << "of the engine";
}

TEST(DDSDomainTest, HoldsNoLockWhileItLogs) {
  struct Other : AddressContentFilter {
  } other;
  LoopbackDomain domain(domain_id);
  EXPECT_TRUE(domain.registerContentFilter(AddressContentFilter::name, &AddressContentFilter::instance()));
  std::atomic<int> answers{0};
  setLogger(new LogFunction([&](int level, const std::string&) {
    if (level < LogWarning) return;
    const auto ask = [&] { answers += domain.contentFilter(AddressContentFilter::name) != nullptr; };
    ask();
    std::thread(ask).join();
  }));
  EXPECT_FALSE(domain.registerContentFilter(AddressContentFilter::name, &other));
  EXPECT_FALSE(domain.unregisterContentFilter(&other));
  setLogger(nullptr);
  EXPECT_GE(answers, 4);
}

TEST(ParticipantTypesTest, AreParsed) {
  LogRecorder log;
  EXPECT_THAT(BuiltinParticipantListener::parseTypes("x,3, 5,-1,65536,4a,65535,"), ElementsAre(3, 5, 65535));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("'x'"), HasSubstr("'-1'"), HasSubstr("'65536'"), HasSubstr("'4a'")));
  const std::pair<std::string, unsigned short> received[] = {
      {std::string("type=7\0", 7), 7}, {"type=65535", 65535}, {"type=65536", 65535}, {"type=", 65535}, {"", 65535},
      {"type=12 and more", 12}};
  for (const auto& [text, expected] : received) {
    // An exact copy, so that a sanitizer detects a read beyond its end.
    const std::vector<DDS_Octet> octets(text.begin(), text.end());
    EXPECT_EQ(BuiltinParticipantListener::parseType(octets.data(), static_cast<DDS_Long>(octets.size())), expected)
        << text;
  }
}

TEST(ParticipantTypesTest, AdmitNobodyIfNoneIsANumber) {
  LogRecorder log;
  DDS_DomainParticipantQos qos;
  DDSPropertyQosPolicyHelper::add_property(qos.property, "tessivarddscore.allowed_participant_types", "red;7", 0);
  DDSDomain strict;
  strict.setAllowedInterfaces({"lo"});
  ASSERT_TRUE(strict.createDomainParticipant(domain_id, qos, true));
  EXPECT_THAT(log.lines(), Contains(HasSubstr("'red;7' hold no number")));
  const LoopbackDomain other(domain_id, [](DDSDomain& domain) { domain.setType(7); });
  EXPECT_TRUE(eventually([&] { return strict.participantListener().seen() == 1; }));
  EXPECT_EQ(strict.participantListener().admitted(), 0u);
}

/// Unsets the environment variables at the end.
class EnvironmentTest : public Test {
 protected:
  ~EnvironmentTest() override {
    for (const char* variable : {"TESSIVAR_PEERS", "TESSIVAR_MULTICAST", "NDDS_QOS_PROFILES"}) unsetenv(variable);
    setenv("DDS_ALLOWED_INTERFACES", "lo", 1);
    DDSDomainParticipantFactory::get_instance()->reload_profiles();
  }
  /// The configuration that a domain makes from a default QoS with one peer: interfaces, peers, multicast.
  static std::string configured(DDSDomain& domain) {
    DDS_DomainParticipantQos qos;
    qos.discovery.initial_peers.ensure_length(1, 1);
    DDS_String_replace(&qos.discovery.initial_peers[0], "ofprofile");
    EXPECT_TRUE(domain.configureQos(qos));
    const DDS_Property_t* interfaces = DDSPropertyQosPolicyHelper::lookup_property(
        qos.property, "dds.transport.UDPv4.builtin.parent.allow_interfaces");
    std::string text = interfaces ? interfaces->value : "";
    for (DDS_Long i = 0; i < qos.discovery.initial_peers.length(); ++i) {
      text += ' ' + std::string(qos.discovery.initial_peers[i]);
    }
    return text + (qos.discovery.multicast_receive_addresses.length() > 0 ? " on" : " off");
  }

  LogRecorder log;
};

TEST_F(EnvironmentTest, CompletesTheSettingsOfTheApplication) {
  setenv("DDS_ALLOWED_INTERFACES", "lo, eth7", 1);
  setenv("TESSIVAR_PEERS", "10.0.0.1,tower:7410 4@builtin.udpv4://10.0.0.2", 1);
  setenv("TESSIVAR_MULTICAST", "1", 1);
  DDSDomain open;
  open.addPeerAddress("own");
  EXPECT_EQ(configured(open), "lo,eth7 ofprofile own 10.0.0.1 tower:7410 4@builtin.udpv4://10.0.0.2 on");
  EXPECT_THAT(log.lines(), IsEmpty());

  DDSDomain decided;
  decided.setAllowedInterfaces({"eth8"});
  decided.enableMulticast(false);
  EXPECT_EQ(configured(decided),
            "eth8 builtin.udpv4://127.0.0.1 builtin.shmem:// 10.0.0.1 tower:7410 "
            "4@builtin.udpv4://10.0.0.2 off");
  EXPECT_THAT(log.lines(),
              ElementsAre(HasSubstr("Multicast is off: the initial_peers ofprofile of the QoS are ignored")));
}

TEST_F(EnvironmentTest, LogsInvalidValuesAndCreatesTheDomain) {
  setenv("TESSIVAR_PEERS", "10.0.0.1:port", 1);
  setenv("TESSIVAR_MULTICAST", "yes", 1);
  setenv("NDDS_QOS_PROFILES", "missing.xml", 1);
  DDSDomainParticipantFactory::get_instance()->reload_profiles();
  DDSDomain* const domain = DomainManager::instance().sharedDomain(domain_id, "", "", nullptr);
  ASSERT_TRUE(domain);
  const std::vector<std::string> lines = log.lines();
  EXPECT_THAT(lines, Contains(HasSubstr("TESSIVAR_PEERS='10.0.0.1:port': peer \"10.0.0.1:port\": not a host name")));
  EXPECT_THAT(lines, Contains(HasSubstr("TESSIVAR_MULTICAST='yes': the value must be 0 or 1")));
  DomainManager::instance().releaseSharedDomain(domain, nullptr);
}

TEST_F(EnvironmentTest, MissingQosFileDoesNotAffectLaterDomains) {
  DDSDomain failing, later;
  EXPECT_FALSE(failing.createDomainParticipant(domain_id, {"missing.xml"}, "tessivar_Library", "State"));
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("missing.xml"), HasSubstr("Failed to load participant Qos")));
  ASSERT_TRUE(later.createDomainParticipant(domain_id));
  DDS_TopicQos qos;
  EXPECT_TRUE(later.topicQosProfile("tessivar_Library", "State", qos));
  log.lines();
  later.ownedParticipant()->warnIfAlone("somewhere");
  EXPECT_THAT(log.lines(),
              ElementsAre(EndsWith("somewhere No other participant was discovered: domain 60, interfaces lo "
                                   "(127.0.0.1), peers none, multicast off, other participants seen: 0")));
}

struct Client : DomainManagerClient {
  void networkSettingsChanged() override {}
  void domainAboutToBeDeleted(DDSDomain* domain) override { deletions += domain->participant() ? 1 : 100; }
  int deletions = 0;
};

class DomainManagerTest : public Test {
 protected:
  DomainManagerTest() { setenv("DDS_ALLOWED_INTERFACES", "lo", 1); }
  ~DomainManagerTest() override { manager.installQosHook({}); }
  DDSDomain* shared(DomainManagerClient* client = nullptr) { return manager.sharedDomain(domain_id, "", "", client); }

  DomainManager& manager = DomainManager::instance();
  LogRecorder log;
};

TEST_F(DomainManagerTest, SharesADomainUntilTheLastRelease) {
  Client a, b, stranger;
  DDSDomain* const domain = shared(&a);
  DDSDomain* const exclusive = manager.exclusiveDomain(domain_id, "", "");
  ASSERT_TRUE(domain && exclusive && domain != exclusive);
  for (Client* client : {&a, &b}) EXPECT_EQ(shared(client), domain);
  EXPECT_EQ(shared(), domain);
  manager.releaseSharedDomain(exclusive, nullptr);
  manager.releaseSharedDomain(domain, &stranger);
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith(" The client does not hold domain 60")));

  for (Client* client : {&a, &a, static_cast<Client*>(nullptr)}) manager.releaseSharedDomain(domain, client);
  EXPECT_EQ(a.deletions + b.deletions, 0);
  manager.releaseSharedDomain(domain, &b);
  EXPECT_EQ(b.deletions, 1);
  manager.releaseSharedDomain(domain, &b);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("was released already")));
}

TEST_F(DomainManagerTest, HandlesReleaseTheirDomain) {
  DDSDomain* released = nullptr;
  {
    DomainHandle first = DomainHandle::shared(domain_id), second = DomainHandle::shared(domain_id);
    ASSERT_TRUE(first && first->participant() && second.get() == first.get());
    released = first.get();
    second = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_TRUE(second->participant()) << "held by one of them";
    second = DomainHandle::exclusive(domain_id);
    EXPECT_NE(second.get(), released);
    manager.releaseSharedDomain(released, nullptr);
    EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("was released already")));
    released = second.get();
  }
  manager.releaseSharedDomain(released, nullptr);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("was released already")));
  EXPECT_FALSE(DomainHandle::shared(233));
}

TEST_F(DomainManagerTest, ConcurrentCallsGetTheSameDomain) {
  std::atomic<int> hooks{0};
  manager.installQosHook([&](int, auto&&, auto&&, DDS_DomainParticipantQos& qos) {
    ++hooks;
    DDSPropertyQosPolicyHelper::add_property(qos.property, "tessivarddscore.allowed_participant_types", "9", 0);
  });
  std::vector<DDSDomain*> domains(8);
  std::vector<std::thread> threads;
  for (DDSDomain*& domain : domains) threads.emplace_back([this, &domain] { domain = shared(); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(hooks, 1);
  ASSERT_NE(domains.front(), nullptr);
  EXPECT_THAT(domains, Each(domains.front()));
  EXPECT_THAT(domains.front()->participantListener().allowedTypes(), ElementsAre(9));
  for (DDSDomain* domain : domains) manager.releaseSharedDomain(domain, nullptr);
}

}  // namespace
