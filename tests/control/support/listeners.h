// SPDX-License-Identifier: Apache-2.0

// Listeners of a device and of a controller that record their calls.
#pragma once

#include "tessivar/control/client.h"
#include "tessivar/control/message_helper.h"
#include "tessivar/control/node.h"
#include "tessivar/control/services.h"
#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"

namespace tessivar::testing {

using Helper = TessivarDDS::TessivarMessageHelper;

constexpr int control_domain = 90;
inline const TessivarDDS::AddressEx camera(1, 2, 10), lamp(1, 2, 11);

/// Replies with the result of `answer`.
class DeviceListener : public TessivarDDS::TessivarNodeListener {
 public:
  typedef Tessivar::CommandChangeReply Reply;
  typedef Tessivar::CommandChangeRequest Request;
  typedef std::function<Reply*(TessivarDDS::TessivarNode*, const Request*)> Answer;

  explicit DeviceListener(Events& events, Answer how = complete) : answer(std::move(how)), events_(events) {}

  static Reply* complete(TessivarDDS::TessivarNode*, const Request* request) {
    return Helper::createReply(request, Tessivar::COMPLETE, nullptr);
  }
  Reply* commandChangeRequested(TessivarDDS::TessivarNode* node, const Request* request) override {
    events_.add("request");
    return answer(node, request);
  }
  void interestRegistered(TessivarDDS::TessivarNode*, const Tessivar::CommandInterest* interest) override {
    events_.add(std::string("interest ") + interest->unitId);
  }
  void interestRemoved(TessivarDDS::TessivarNode*, const TessivarDDS::AddressEx&, unsigned int, unsigned int) override {
  }

  Answer answer;

 private:
  Events& events_;
};

/// Calls `during` with each text that it has recorded.
class ControllerListener : public TessivarDDS::TessivarClientListener {
 public:
  explicit ControllerListener(Events& events) : events_(events) {}

  void unitAdded(const Tessivar::Unit* unit) override { note(std::string("unit ") + unit->unitId); }
  void unitRemoved(const TessivarDDS::AddressEx& unit) override { note("no unit " + unit.toString()); }
  void commandMetadataUpdated(const Tessivar::CommandMetadata*) override {}
  void commandValueChanged(const Tessivar::Command* command) override {
    note("value " + std::to_string(command->value._u.intValue));
  }

  void commandTicketChanged(TessivarDDS::DDSPtr<TessivarDDS::TessivarClient::Ticket>&) override {}

  std::function<void(const std::string&)> during = [](const std::string&) {};

 private:
  void note(const std::string& text) {
    events_.add(text);
    during(text);
  }

  Events& events_;
};

}  // namespace tessivar::testing
