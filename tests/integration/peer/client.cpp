// SPDX-License-Identifier: Apache-2.0

#include "tessivar/control/client.h"

#include "peer/roles.h"
#include "tessivar/control/message_helper.h"

#include <chrono>
#include <cstdlib>
#include <deque>
#include <string>
#include <thread>

namespace tessivar::testing {
namespace {

using namespace TessivarDDS;
using Helper = TessivarMessageHelper;
using Ticket = RequestReplyTicket<Tessivar::CommandChangeReply>;
using Clock = std::chrono::steady_clock;

AddressEx address(const std::string& text) {
  return AddressEx(text.c_str());
}

class Client : public Role, public TessivarClientListener {
 public:
  explicit Client(DDSDomain* domain) {
    client_.attachDomain(domain);
    client_.attachListener(this, false);
    client_.setUseQosProfiles(std::getenv("NDDS_QOS_PROFILES") != nullptr);
  }
  ~Client() override { client_.cleanUp(); }

  bool perform(const Words& words) override {
    const std::string& verb = words.at(0);
    if (verb == "create") return client_.create();
    if (verb == "interest") return interest(words);
    if (verb == "no-interest") return no_interest(words);
    if (verb == "match") return client_.waitForMatch(std::stoi(words.at(1)));
    if (verb == "history") return client_.waitForHistoricalData(std::stoi(words.at(1)));
    if (verb == "set") return set(words);
    if (verb == "flood") return flood(words.at(1), number(words.at(2)), number(words.at(3)), number(words.at(4)));
    return false;
  }

  void unitAdded(const Tessivar::Unit* unit) override { event("unit-added", unit->unitId, unit->name); }
  void unitRemoved(const AddressEx& unit) override { event("unit-removed", unit.guid()); }
  void commandMetadataUpdated(const Tessivar::CommandMetadata* metadata) override {
    event("metadata", metadata->unitId, metadata->commandNumber, metadata->name);
  }
  void commandValueChanged(const Tessivar::Command* command) override {
    event("value", command->unitId, command->commandNumber, command->value._u.intValue);
  }
  void commandTicketChanged(DDSPtr<Ticket>& ticket) override {
    if (ticket && ticket->reply->ex) event("reason", ticket->reply->ex->message);
  }

 private:
  bool interest(const Words& words) {
    if (words.size() < 4) return client_.registerInterest(address(words.at(1)));
    return client_.registerInterest(address(words[1]), number(words[2]), number(words[3]));
  }

  bool no_interest(const Words& words) {
    if (words.size() < 4) return client_.removeInterest(address(words.at(1)));
    return client_.removeInterest(address(words[1]), number(words[2]), number(words[3]));
  }

  bool set(const Words& words) {
    DDSPtr command(Helper::createCommand(address(words.at(1)), number(words.at(2)), std::stoi(words.at(3))));
    const auto start = Clock::now();
    const bool done = client_.setCommand(command, std::stoi(words.at(4)));
    const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    event("set", done ? "true" : "false", spent);
    return true;
  }

  /// Keeps up to `window` of `count` requests pending. The device copies each value to its reply's text, so that a
  /// reply to another request is detected.
  bool flood(const std::string& unit, unsigned first, unsigned count, unsigned window) {
    const auto deadline = Clock::now() + std::chrono::seconds(120);
    std::deque<DDSPtr<Ticket>> tickets;
    unsigned sent = 0, finished = 0, foreign = 0, refused = 0;
    while (finished < count && Clock::now() < deadline) {
      if (sent < count && tickets.size() < window) {
        DDSPtr command(Helper::createCommand(address(unit), 1, static_cast<int>(first + sent)));
        if (DDSPtr<Ticket> ticket = client_.beginSetCommand(command)) {
          tickets.push_back(ticket);
          if (++sent == count) event("begun");
          continue;
        }
        ++refused;
      }
      if (!tickets.empty() && tickets.front()->received) {
        const auto reply = tickets.front()->reply.get();
        foreign += !reply->ex || std::to_string(first + finished) != reply->ex->message;
        client_.completeSetCommand(tickets.front());
        tickets.pop_front();
        ++finished;
      } else {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
    }
    event("flood", finished, count - finished, foreign, refused);
    return finished == count;
  }

  TessivarClient client_;
};

}  // namespace

std::unique_ptr<Role> make_client(DDSDomain* domain) {
  return std::make_unique<Client>(domain);
}

}  // namespace tessivar::testing
