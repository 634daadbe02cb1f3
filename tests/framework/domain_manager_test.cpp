#include "tessivar/framework/domain/domain_manager.h"

#include "tests/control/support/log_recorder.h"
#include "tests/framework/support/bus.h"

#include <atomic>
#include <cstdlib>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace TessivarDDS;
using namespace tessivar::testing;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int domain_id = 62;

struct Client : DomainManagerClient {
  void networkSettingsChanged() override { ++changes; }
  void domainAboutToBeDeleted(DDSDomain* domain) override {
    ++deletions;
    EXPECT_NE(domain->participant(), nullptr);
  }
  int changes = 0;
  int deletions = 0;
};

class Manager : public testing::Test {
 protected:
  Manager() { setenv("DDS_ALLOWED_INTERFACES", "lo", 1); }
  ~Manager() override { manager.installQosHook({}); }

  DomainManager& manager = DomainManager::instance();
  LogRecorder log;
};

TEST_F(Manager, shares_one_domain_of_an_id_until_the_last_release) {
  Client a, b;
  DDSDomain* const domain = manager.sharedDomain(domain_id, "", "", &a);
  ASSERT_NE(domain, nullptr);
  EXPECT_EQ(manager.sharedDomain(domain_id, "", "", &b), domain);
  manager.notifyNetworkSettingsChanged();
  EXPECT_EQ(a.changes, 1);
  EXPECT_EQ(b.changes, 1);

  manager.releaseSharedDomain(domain, &a);
  EXPECT_NE(domain->participant(), nullptr);
  EXPECT_EQ(a.deletions, 0);
  manager.notifyNetworkSettingsChanged();
  EXPECT_EQ(a.changes, 1);
  EXPECT_EQ(b.changes, 2);
  manager.releaseSharedDomain(domain, &b);
  EXPECT_EQ(a.deletions, 0);
  EXPECT_EQ(b.deletions, 1);
  EXPECT_THAT(log.lines(), IsEmpty());

  manager.releaseSharedDomain(domain, &b);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("was released already")));
}

TEST_F(Manager, counts_holders_one_by_one) {
  Client client, stranger;
  DDSDomain* const domain = manager.sharedDomain(domain_id, "", "", &client);
  ASSERT_NE(domain, nullptr);
  EXPECT_EQ(manager.sharedDomain(domain_id, "", "", &client), domain);
  EXPECT_EQ(manager.sharedDomain(domain_id, "", "", nullptr), domain);
  manager.releaseSharedDomain(domain, &stranger);
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith(" The client does not hold domain 62")));
  manager.releaseSharedDomain(domain, &client);
  manager.releaseSharedDomain(domain, nullptr);
  EXPECT_EQ(client.deletions, 0);
  manager.releaseSharedDomain(domain, &client);
  EXPECT_EQ(client.deletions, 1);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Manager, makes_exclusive_domains_that_nobody_shares) {
  DDSDomain* const shared = manager.sharedDomain(domain_id, "", "", nullptr);
  DDSDomain* const one = manager.exclusiveDomain(domain_id, "", "");
  DDSDomain* const two = manager.exclusiveDomain(domain_id, "", "");
  EXPECT_NE(shared, one);
  EXPECT_NE(one, two);
  EXPECT_EQ(manager.sharedDomain(domain_id, "", "", nullptr), shared);
  for (DDSDomain* domain : {one, shared, two, shared}) manager.releaseSharedDomain(domain, nullptr);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Manager, calls_the_hook_before_creation) {
  std::string called;
  manager.installQosHook(
      [&](int id, const std::string& library, const std::string& profile, DDS_DomainParticipantQos& qos) {
        called = std::to_string(id) + library + profile;
        DDSPropertyQosPolicyHelper::add_property(qos.property, "tessivarddscore.allowed_participant_types", "9", 0);
      });
  DDSDomain* const domain = manager.sharedDomain(domain_id, "", "p", nullptr);
  ASSERT_NE(domain, nullptr);
  EXPECT_EQ(called, "62p");
  EXPECT_THAT(domain->participantListener().allowedTypes(), ElementsAre(9));
  manager.releaseSharedDomain(domain, nullptr);
}

TEST_F(Manager, lets_a_hook_configure_the_domain) {
  manager.installDomainHook([](int id, DDSDomain& domain) {
    domain.setType(static_cast<unsigned short>(id));
    domain.addPeerAddress("127.0.0.1");
  });
  DDSDomain* const domain = manager.exclusiveDomain(domain_id, "", "");
  manager.installDomainHook({});
  ASSERT_NE(domain, nullptr);
  EXPECT_EQ(domain->initialPeerList().back(), "127.0.0.1");
  DDS_DomainParticipantQos qos;
  ASSERT_EQ(domain->participant()->get_qos(qos), DDS_RETCODE_OK);
  EXPECT_STREQ(reinterpret_cast<const char*>(qos.user_data.value.get_contiguous_buffer()), "type=62");
  manager.releaseSharedDomain(domain, nullptr);
}

TEST_F(Manager, survives_hooks_that_fail) {
  manager.installQosHook([](auto&&...) { throw std::runtime_error("no"); });
  EXPECT_EQ(manager.sharedDomain(domain_id, "", "", nullptr), nullptr);
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith(" Exception in the application's code: no"),
                                       EndsWith("Problem creating domain participant")));

  DDSDomain* inner = nullptr;
  manager.installQosHook([&](auto&&...) { inner = manager.sharedDomain(domain_id, "", "", nullptr); });
  DDSDomain* const domain = manager.sharedDomain(domain_id, "", "", nullptr);
  EXPECT_EQ(inner, nullptr);
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith(" Domain 62 was asked for while it is being made.")));
  ASSERT_NE(domain, nullptr);
  manager.releaseSharedDomain(domain, nullptr);
}

TEST_F(Manager, falls_back_to_the_default_without_the_profile) {
  DDSDomain* const domain = manager.sharedDomain(domain_id, "none", "p", nullptr);
  ASSERT_NE(domain, nullptr);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("Failed to load participant QoS profile for none profile p"),
                                       EndsWith("Failed to load participant Qos from QoS file!")));
  manager.releaseSharedDomain(domain, nullptr);
}

TEST_F(Manager, reports_domains_that_cannot_be_made) {
  EXPECT_EQ(manager.sharedDomain(500, "", "", nullptr), nullptr);
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith(" Domain id 500 is not within 0 to 232"),
                                       EndsWith("Problem creating domain participant")));
  setenv("DDS_ALLOWED_INTERFACES", "nosuchinterface, neither", 1);
  EXPECT_EQ(manager.exclusiveDomain(domain_id, "", ""), nullptr);
  EXPECT_THAT(log.lines(), Contains(EndsWith("Problem creating domain participant")));
}

TEST_F(Manager, gives_threads_that_ask_at_once_the_same_domain) {
  std::atomic<int> hooks{0};
  manager.installQosHook([&](auto&&...) {
    ++hooks;
    std::this_thread::yield();
  });
  std::vector<DDSDomain*> domains(8);
  std::vector<std::thread> threads;
  for (DDSDomain*& domain : domains) {
    threads.emplace_back([this, &domain] { domain = manager.sharedDomain(domain_id, "", "", nullptr); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(hooks, 1);
  for (DDSDomain* domain : domains) {
    ASSERT_NE(domain, nullptr);
    EXPECT_EQ(domain, domains.front());
    manager.releaseSharedDomain(domain, nullptr);
  }
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(ManagerAtExit, warns_of_domains_that_were_not_given_back) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto leave = [] {
    setenv("DDS_ALLOWED_INTERFACES", "lo", 1);
    static DDSDomain* kept;  // as an application would have it, at the end too
    kept = DomainManager::instance().sharedDomain(domain_id, "", "", nullptr);
    kept = DomainManager::instance().sharedDomain(domain_id, "", "", nullptr);
    std::exit(kept ? 0 : 1);
  };
  EXPECT_EXIT(
      leave(), testing::ExitedWithCode(0),
      "DomainManager::instance\\(\\).releaseDomain\\(\\) not called correct number of times.  Domain '62' still "
      "alive! Ref count: 2");
}

}  // namespace
