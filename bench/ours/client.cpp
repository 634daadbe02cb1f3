// SPDX-License-Identifier: Apache-2.0

#include "bench/common/load.h"
#include "bench/ours/roles.h"
#include "tessivar/tessivar.h"

#include <deque>
#include <memory>
#include <semaphore>
#include <stdexcept>
#include <utility>
#include <vector>

namespace tessivar::bench {
namespace {

using namespace TessivarDDS;
using Ticket = DDSPtr<TessivarClient::Ticket>;

constexpr int patience_ms = std::chrono::milliseconds(patience).count();

struct Listener : TessivarClientListener {
  Received values;
  std::counting_semaphore<> replies{0};

  void unitAdded(const Tessivar::Unit*) override {}
  void unitRemoved(const AddressEx&) override {}
  void commandValueChanged(const Tessivar::Command*) override {
    slow_down();
    values.count();
  }
  void commandTicketChanged(Ticket&) override { replies.release(); }
};

/// Sends requests to the first command of the first unit.
class Requests : public Asker {
 public:
  Requests(TessivarClient& client, Listener& listener) : client_(client), listener_(listener) {}

  void send() override {
    slow_down();
    tickets_.push_back(client_.beginSetCommand(command_));
    if (!tickets_.back()) throw std::runtime_error("a request cannot be sent");
  }
  bool await() override {
    if (!listener_.replies.try_acquire_for(std::chrono::seconds(10))) return false;
    const bool complete = tickets_.front()->reply.get()->result == Tessivar::COMPLETE;
    client_.completeSetCommand(tickets_.front());
    tickets_.pop_front();
    return complete;
  }

 private:
  TessivarClient& client_;
  Listener& listener_;
  DDSPtr<Tessivar::Command> command_{TessivarMessageHelper::createCommand(unit_address(0), 0, 7)};
  std::deque<Ticket> tickets_;
};

/// Does the same with setCommand.
class BlockingRequests : public Asker {
 public:
  explicit BlockingRequests(TessivarClient& client) : client_(client) {}

  void send() override {
    slow_down();
    complete_ = client_.setCommand(command_, 10000);
  }
  bool await() override { return std::exchange(complete_, false); }

 private:
  TessivarClient& client_;
  DDSPtr<Tessivar::Command> command_{TessivarMessageHelper::createCommand(unit_address(0), 0, 7)};
  bool complete_ = false;
};

class Client {
 public:
  explicit Client(const Options& options) : options_(options) {}

  Answer join() {
    listener_.values.begin();
    domain_ = DomainHandle::shared(static_cast<int>(options_.number("domain")));
    if (!domain_) throw std::runtime_error("no domain");
    client_ = std::make_unique<TessivarClient>();
    client_->attachDomain(domain_.get());
    client_->attachListener(&listener_, false);
    client_->setUseQosProfiles(options_.count("profiles", 0) != 0);
    std::vector<AddressEx> units;
    for (unsigned unit = 0; unit < options_.count("units", 0); ++unit) units.push_back(unit_address(unit));
    const bool limited = !units.empty();
    if (limited && !client_->registerInterest(units)) throw std::runtime_error("no interest before the start");
    if (!client_->create()) throw std::runtime_error("the client cannot join the bus");
    if (limited && !client_->registerInterest(units)) throw std::runtime_error("no interest");
    return {};
  }
  Answer leave() {
    client_.reset();
    domain_.reset();
    return {};
  }
  Answer match() {
    if (!client_->waitForMatch(patience_ms)) throw std::runtime_error("no device is matched");
    return {};
  }
  Answer interest(const Options& options) {
    if (!client_->registerInterest(unit_address(options.count("unit")))) throw std::runtime_error("no interest");
    return {};
  }
  Answer forget(const Options& options) {
    if (!client_->removeInterest(unit_address(options.count("unit")))) throw std::runtime_error("no such interest");
    return {};
  }
  Answer request(const Options& options) {
    if (options.count("wait", 0) == 0) {
      Requests requests(*client_, listener_);
      return ask(options, requests);
    }
    BlockingRequests requests(*client_);
    Answer answer = ask(options, requests);
    while (listener_.replies.try_acquire()) {
    }
    return answer;
  }
  Received& values() { return listener_.values; }

 private:
  const Options options_;
  Listener listener_;
  DomainHandle domain_;
  std::unique_ptr<TessivarClient> client_;
};

}  // namespace

int run_client(const Options& options) {
  Client client(options);
  if (options.count("late", 0) == 0) client.join();
  return serve({
      {"join", [&](const Options&) { return client.join(); }},
      {"leave", [&](const Options&) { return client.leave(); }},
      {"match", [&](const Options&) { return client.match(); }},
      {"begin", [&](const Options&) { return client.values().begin(); }},
      {"end", [&](const Options&) { return client.values().end(); }},
      {"await", [&](const Options& how) { return client.values().await(how); }},
      {"request", [&](const Options& how) { return client.request(how); }},
      {"interest", [&](const Options& how) { return client.interest(how); }},
      {"forget", [&](const Options& how) { return client.forget(how); }},
      {"memory", [](const Options&) { return memory(); }},
  });
}

}  // namespace tessivar::bench
