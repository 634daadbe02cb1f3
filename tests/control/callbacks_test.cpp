// SPDX-License-Identifier: Apache-2.0

// Tests every public call in every callback: the call works or is refused, and never hangs.
#include "tessivar/framework/domain/domain_manager.h"
#include "tests/control/support/every_call.h"

#include <cstdio>
#include <cstdlib>

namespace TessivarDDS {
namespace {

using namespace tessivar::testing;
using namespace ::testing;

/// A device and a controller. In each callback they make the calls of the table once.
class ControlCallbackTest : public EveryCall {
 protected:
  ControlCallbackTest() {
    node_listener_.answer = [this](TessivarNode* node, const Tessivar::CommandChangeRequest* request) {
      make("commandChangeRequested", {&of_node_, &life_of_node_});
      return DeviceListener::complete(node, request);
    };
    client_listener_.during = [this](const std::string& text) {
      make(text.substr(0, text.find(' ')), {&of_client_, &life_of_client_});
    };
    attach();
  }
  void TearDown() override {
    DomainManager::instance().installDomainHook({});
    DeviceAndController::TearDown();
  }

  /// Makes the calls when `callback` happens for the first time.
  void make(const std::string& callback, const std::vector<const Table*>& calls) {
    {
      const std::lock_guard lock(mutex_);
      if (!begun_.insert(callback).second) return;
    }
    for (const Table* table : calls) {
      for (const auto& [name, call] : *table) {
        {
          const std::lock_guard lock(mutex_);
          running_[callback] = name;
        }
        call();
      }
    }
    const std::lock_guard lock(mutex_);
    running_.erase(callback);
    done_.add(callback);
  }

  /// Waits until all these callbacks have made their calls. If a call hangs, the test program ends.
  void await(const std::vector<std::string>& callbacks) {
    for (const std::string& callback : callbacks) {
      if (done_.happens(callback)) continue;
      const std::lock_guard lock(mutex_);
      std::fprintf(stderr, "%s: %s\n", callback.c_str(),
                   running_.contains(callback) ? running_[callback] : "was not called");
      std::_Exit(1);
    }
  }

  struct Matches : RequestReplyNodeClientListener {
    explicit Matches(ControlCallbackTest& its_test) : test(its_test) {}
    void matchCountChanged(int count) override {
      if (count > 1)
        test.make("matchCountChanged", {&test.of_client_, &test.life_of_client_, &test.of_node_, &test.life_of_node_,
                                        &test.of_domain_, &test.of_bus_});
    }
    void ticketChanged(unsigned short) override {
      test.make("ticketChanged", {&test.of_client_, &test.life_of_client_});
    }
    ControlCallbackTest& test;
  };

  TessivarRequestReplyService& service() { return *client_.services()->commandService(); }

  std::mutex mutex_;
  std::set<std::string> begun_;
  std::map<std::string, const char*> running_;
  Events done_;
  Matches matches_{*this};

  const Table life_of_client_{
      {"create", [&] { client_.create(); }},
      {"cleanUp", [&] { client_.cleanUp(); }},
      {"waitForMatch", [&] { client_.waitForMatch(-1); }},
  };
  const Table life_of_node_{{"create", [&] { node_.create(); }}, {"cleanUp", [&] { node_.cleanUp(); }}};
  const Table of_domain_{
      {"registerContentFilter", [&] { controller_->registerContentFilter("none", nullptr); }},
      {"contentFilter", [&] { controller_->contentFilter("none"); }},
      {"addPeerAddress", [&] { controller_->addPeerAddress("127.0.0.1"); }},
      {"sharedDomain",
       [&] {
         DDSDomain* const domain = DomainManager::instance().sharedDomain(control_domain, "", "", nullptr);
         if (domain) DomainManager::instance().releaseSharedDomain(domain, nullptr);
       }},
  };
  const Table of_bus_{
      {"domain cleanUp", [&] { controller_->cleanUp(); }},
      {"services cleanUp", [&] { client_.services()->commandService()->cleanUp(); }},
      {"node cleanUp", [&] { service().replyNode().cleanUp(); }},
      {"create",
       [&] {
         TessivarClient another;
         another.attachDomain(controller_.get());
         EXPECT_FALSE(another.create());
       }},
  };
};

TEST_F(ControlCallbackTest, NoCallHangs) {
  setenv("DDS_ALLOWED_INTERFACES", "lo", 1);
  DomainManager::instance().installDomainHook([this](int, DDSDomain&) { make("hook", {&of_domain_}); });
  ASSERT_TRUE(client_.create());
  service().attachListener(&matches_);
  ASSERT_TRUE(node_.create());
  TessivarNode second;  // its match comes when all objects exist
  second.attachDomain(device_.get());
  ASSERT_TRUE(client_.waitForMatch(20000) && second.create());
  await({"matchCountChanged", "hook"});
  setLogger(new LogFunction([this](int, const std::string&) { make("log", {&of_domain_}); }));
  EXPECT_TRUE(client_.registerInterest(camera));
  EXPECT_TRUE(node_.addUnit(unit_) && node_.publishCommand(command_));
  EXPECT_TRUE(client_.setCommand(command_, 20000));
  await({"log", "unit", "value", "commandChangeRequested", "ticketChanged"});
  setLogger(nullptr);
  EXPECT_TRUE(client_.setCommand(command_, 20000)) << "all of it still works";
  node_.cleanUp();
  EXPECT_TRUE(client_hears_.happens("no unit 0001:02:0A"));  // callbacks also come while the client is cleaned up
}

}  // namespace
}  // namespace TessivarDDS
