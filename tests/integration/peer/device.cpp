// SPDX-License-Identifier: Apache-2.0

#include "peer/roles.h"
#include "tessivar/control/message_helper.h"
#include "tessivar/control/node.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>

namespace tessivar::testing {
namespace {

using namespace TessivarDDS;
using Helper = TessivarMessageHelper;

AddressEx address(const std::string& text) {
  return AddressEx(text.c_str());
}

class Device : public Role, public TessivarNodeListener {
 public:
  explicit Device(DDSDomain* domain) {
    node_.attachDomain(domain);
    node_.attachListener(this, false);
    node_.setUseQosProfiles(std::getenv("NDDS_QOS_PROFILES") != nullptr);
    if (!node_.create()) throw std::runtime_error("the node cannot be created");
  }
  ~Device() override {
    stream_ = {};
    progress_ = {};
    node_.cleanUp();
  }

  bool perform(const Words& words) override {
    const std::string& verb = words.at(0);
    if (verb == "unit") return node_.addUnit(DDSPtr(Helper::createUnit(address(words.at(1)), words.at(2).c_str())));
    if (verb == "remove") return node_.removeUnit(address(words.at(1)));
    if (verb == "value") return publish(words.at(1), number(words.at(2)), std::stoi(words.at(3)));
    if (verb == "metadata") return describe(words.at(1), number(words.at(2)), words.at(3));
    if (verb == "dispose") return node_.disposeCommand(address(words.at(1)), number(words.at(2)));
    if (verb == "filter") return filter(words);
    if (verb == "stream") return stream(words);
    if (verb == "answer") return answer_.set(words);
    return false;
  }

  Tessivar::CommandChangeReply* commandChangeRequested(TessivarNode* node,
                                                       const Tessivar::CommandChangeRequest* request) override {
    const Tessivar::Command& wanted = request->newValue;
    const std::string value = std::to_string(wanted.value._u.intValue);
    event("request", wanted.unitId, wanted.commandNumber, value);
    const Words answer = answer_.get();
    const std::string& kind = answer.at(0);
    if (kind == "throw") throw std::runtime_error("a fault of the device");
    if (kind == "none") return nullptr;
    if (kind == "refuse") return Helper::createReply(request, Tessivar::FAILED, answer.at(1).c_str());
    if (kind == "echo") return Helper::createReply(request, Tessivar::COMPLETE, value.c_str());
    if (kind == "progress") return begin_progress(node, request, std::stoi(answer.at(1)), std::stoi(answer.at(2)));
    publish(wanted.unitId, wanted.commandNumber, wanted.value._u.intValue);
    return Helper::createReply(request, Tessivar::COMPLETE, nullptr);
  }

  void interestRegistered(TessivarNode*, const Tessivar::CommandInterest* interest) override {
    event("interest", interest->unitId, interest->range.min, interest->range.max);
  }

  void interestRemoved(TessivarNode*, const AddressEx& unit, unsigned int first, unsigned int last) override {
    event("interest-removed", unit.guid(), first, last);
  }

 private:
  bool publish(const std::string& unit, unsigned command, int value) {
    return node_.publishCommand(DDSPtr(Helper::createCommand(address(unit), command, value)));
  }

  bool describe(const std::string& unit, unsigned command, const std::string& name) {
    const DDSPtr metadata(Helper::createMetadata(address(unit), command));
    metadata->name[name.copy(metadata->name, 32)] = '\0';
    return node_.publishMetadata(metadata);
  }

  bool filter(const Words& words) {
    std::vector<AddressEx> addresses;
    for (std::size_t i = 1; i < words.size(); ++i) addresses.push_back(address(words[i]));
    return node_.setFilterAddresses(addresses);
  }

  bool stream(const Words& words) {
    stream_ = {};
    if (words.size() < 2) return true;
    stream_ = std::jthread([this, words](const std::stop_token& stop) {
      for (int value = 0; !stop.stop_requested(); ++value) {
        for (std::size_t i = 2; i < words.size(); ++i) publish(words[i], 1, value);
        std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(words[1])));
      }
    });
    return true;
  }

  Tessivar::CommandChangeReply* begin_progress(TessivarNode* node, const Tessivar::CommandChangeRequest* request,
                                               int count, int period) {
    const DDSPtr progress(Helper::createReply(request, Tessivar::IN_PROGRESS, nullptr));
    const DDSPtr done(Helper::createReply(request, Tessivar::COMPLETE, nullptr));
    progress_ = std::jthread([=](const std::stop_token& stop) {
      for (int i = 0; i <= count && !stop.stop_requested(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(period));
        node->sendReply(i < count ? progress : done);
      }
    });
    return Helper::createReply(request, Tessivar::PENDING, nullptr);
  }

  TessivarNode node_;
  Answer answer_;
  std::jthread stream_;
  std::jthread progress_;
};

}  // namespace

std::unique_ptr<Role> make_device(DDSDomain* domain) {
  return std::make_unique<Device>(domain);
}

}  // namespace tessivar::testing
