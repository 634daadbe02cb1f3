// A device and a controller in one process, each on a participant of its own.
#pragma once

#include "tessivar/control/client.h"
#include "tessivar/control/message_helper.h"
#include "tessivar/control/node.h"
#include "tessivar/control/services.h"
#include "tessivar/framework/domain/dds_domain.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tessivar::testing {

constexpr int control_domain = 90;
constexpr std::chrono::seconds long_time(20);

/// A participant on loopback.
class Participant {
 public:
  Participant() {
    domain_.setAllowedInterfaces({"lo"});
    EXPECT_TRUE(domain_.createDomainParticipant(control_domain));
  }
  TessivarDDS::DDSDomain* operator&() { return &domain_; }

 private:
  TessivarDDS::DDSDomain domain_;
};

/// Things that happened, in order, as texts.
class Events {
 public:
  void add(const std::string& text) {
    const std::lock_guard guard(lock_);
    texts_.push_back(text);
    changed_.notify_all();
  }
  /// Waits until `text` has happened; takes it.
  bool happens(const std::string& text) {
    std::unique_lock guard(lock_);
    return changed_.wait_for(guard, long_time, [&] {
      const auto found = std::find(texts_.begin(), texts_.end(), text);
      if (found == texts_.end()) return false;
      texts_.erase(found);
      return true;
    });
  }
  std::vector<std::string> rest() {
    const std::lock_guard guard(lock_);
    return texts_;
  }

 private:
  std::mutex lock_;
  std::condition_variable changed_;
  std::vector<std::string> texts_;
};

/// Polls until `condition` holds.
inline bool eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + long_time;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

/// Answers with what `answer` gives, and notes what it hears.
class DeviceListener : public TessivarDDS::TessivarNodeListener {
 public:
  typedef std::function<Tessivar::CommandChangeReply*(TessivarDDS::TessivarNode*,
                                                      const Tessivar::CommandChangeRequest*)>
      Answer;

  explicit DeviceListener(Events& events, Answer answer = complete) : events_(events), answer_(std::move(answer)) {}
  ~DeviceListener() override { events_.add("deleted"); }

  static Tessivar::CommandChangeReply* complete(TessivarDDS::TessivarNode*,
                                                const Tessivar::CommandChangeRequest* request) {
    return TessivarDDS::TessivarMessageHelper::createReply(request, Tessivar::COMPLETE, nullptr);
  }

  Tessivar::CommandChangeReply* commandChangeRequested(TessivarDDS::TessivarNode* node,
                                                       const Tessivar::CommandChangeRequest* request) override {
    events_.add("request " + std::to_string(request->newValue.commandNumber));
    return answer_(node, request);
  }
  void interestRegistered(TessivarDDS::TessivarNode*, const Tessivar::CommandInterest* interest) override {
    events_.add(std::string("interest ") + interest->unitId);
  }
  void interestRemoved(TessivarDDS::TessivarNode*, const TessivarDDS::AddressEx& unit, unsigned int first,
                       unsigned int last) override {
    events_.add("interest removed " + unit.toString() + ' ' + std::to_string(first) + ' ' + std::to_string(last));
  }

 private:
  Events& events_;
  Answer answer_;
};

/// Notes what it hears, and then does what `during` says.
class ControllerListener : public TessivarDDS::TessivarClientListener {
 public:
  explicit ControllerListener(Events& events) : events_(events) {}
  ~ControllerListener() override { events_.add("deleted"); }

  void unitAdded(const Tessivar::Unit* unit) override { note(std::string("unit ") + unit->unitId); }
  void unitRemoved(const TessivarDDS::AddressEx& unit) override { note("no unit " + unit.toString()); }
  void commandMetadataUpdated(const Tessivar::CommandMetadata* metadata) override {
    note("metadata " + std::to_string(metadata->commandNumber));
  }
  void commandValueChanged(const Tessivar::Command* command) override {
    note("value " + std::to_string(command->commandNumber) + ' ' + std::to_string(command->value._u.intValue));
  }
  void commandTicketChanged(TessivarDDS::DDSPtr<TessivarDDS::TessivarClient::Ticket>& ticket) override {
    note(ticket ? "ticket " + std::to_string(ticket->reply->result) : "no ticket");
  }

  /// Runs in each call, with its text.
  std::function<void(const std::string&)> during;

 private:
  void note(const std::string& text) {
    events_.add(text);
    if (during) during(text);
  }

  Events& events_;
};

}  // namespace tessivar::testing
