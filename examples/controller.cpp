// SPDX-License-Identifier: Apache-2.0
// Finds the units of the examples device and slow_device, prints their values and changes their commands.
// Usage: controller [DOMAIN]
#include "tessivar/tessivar.h"

#include <iostream>
#include <syncstream>

using namespace TessivarDDS;
using Helper = TessivarMessageHelper;

const AddressEx camera(1, 2, 10), head(1, 2, 11);

/// Returns the value as text.
std::string text(const Tessivar::CommandValue& value) {
  if (value._d == Tessivar::Int) return std::to_string(value._u.intValue);
  if (value._d == Tessivar::Float) return std::to_string(value._u.floatValue);
  if (value._d == Tessivar::Boolean) return value._u.boolValue ? "on" : "off";
  if (value._d == Tessivar::String) return value._u.stringValue;
  return "of a type that is not shown here";
}

struct Monitor : TessivarClientListener {
  void unitAdded(const Tessivar::Unit* unit) override {
    std::osyncstream(std::cout) << "unit " << unit->unitId << " is there: " << unit->name << std::endl;
  }
  void unitRemoved(const AddressEx& unit) override {
    std::osyncstream(std::cout) << "unit " << unit.guid() << " is gone" << std::endl;
  }
  void commandMetadataUpdated(const Tessivar::CommandMetadata* metadata) override {
    std::osyncstream line(std::cout);
    line << "command " << metadata->commandNumber << " of " << metadata->unitId << " is called " << metadata->name;
    if (!metadata->enabled) line << ", which cannot be set";
    if (const auto* range = metadata->validRange) line << ", from " << range->min << " to " << range->max;
    line << std::endl;
  }
  void commandValueChanged(const Tessivar::Command* command) override {
    std::osyncstream(std::cout) << "command " << command->commandNumber << " of " << command->unitId << " is "
                                << text(command->value) << std::endl;
  }
  void commandTicketChanged(DDSPtr<TessivarClient::Ticket>& ticket) override {
    if (ticket && ticket->reply->ex)
      std::osyncstream(std::cout) << "refused: " << ticket->reply->ex->message << std::endl;
  }
};

int main(int argc, char** argv) {
  ReadableLogger::install();
  const DomainHandle domain = DomainHandle::shared(argc > 1 ? std::atoi(argv[1]) : 0);
  Monitor monitor;
  TessivarClient client;  // declared after the domain and the listener, so that it is destroyed before them
  client.attachDomain(domain.get());
  client.attachListener(&monitor, false);
  if (!client.create() || !client.registerInterest(camera) || !client.registerInterest(head)) return 1;
  if (!client.waitForHistoricalData(10000)) return 1;  // waits for a device; the log says why it fails
  for (DDSPtr wanted : {DDSPtr(Helper::createCommand(camera, 1, 12)), DDSPtr(Helper::createCommand(camera, 1, 99)),
                        DDSPtr(Helper::createCommand(camera, 1, "x")), DDSPtr(Helper::createCommand(camera, 2, true)),
                        DDSPtr(Helper::createCommand(head, 1, 30))}) {
    const bool done = client.setCommand(wanted, 1000);  // the head needs longer, but it reports IN_PROGRESS
    std::osyncstream(std::cout) << "set " << wanted->commandNumber << " to " << text(wanted->value)
                                << (done ? ": done" : ": not done") << std::endl;
  }
  std::cin.get();  // prints changes until Enter is pressed
  client.cleanUp();
}
