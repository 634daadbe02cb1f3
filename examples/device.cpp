// SPDX-License-Identifier: Apache-2.0
// A camera: publishes its unit and commands, and carries out or refuses change requests. Usage: device [DOMAIN]
#include "tessivar/tessivar.h"

#include <iostream>

using namespace TessivarDDS;
using namespace Tessivar;
using Helper = TessivarMessageHelper;

const AddressEx address(1, 2, 10);
enum : unsigned { gain = 1, tally = 2 };
constexpr Range gains = {0, 24, true, true};

/// Returns the reason to refuse a change, or null to carry it out.
const char* refusal(unsigned number, const CommandValue& value) {
  if (number == tally) return "the mixer sets it";
  if (number != gain) return "there is no such command";
  if (value._d != Int) return "a gain is an Int";
  return value._u.intValue < gains.min || value._u.intValue > gains.max ? "a gain is from 0 to 24" : nullptr;
}

struct Camera : TessivarNodeListener {
  CommandChangeReply* commandChangeRequested(TessivarNode* node, const CommandChangeRequest* request) override {
    const Command& wanted = request->newValue;
    if (AddressEx(wanted.unitId) != address) return nullptr;  // another device answers
    const char* reason = refusal(wanted.commandNumber, wanted.value);
    DDSPtr value(CommandTypeSupport::create_data());
    CommandTypeSupport::copy_data(value.get(), &wanted);
    if (!reason && !node->publishCommand(value)) reason = "it cannot be published";
    return Helper::createReply(request, reason ? FAILED : COMPLETE, reason);
  }
  void interestRegistered(TessivarNode*, const CommandInterest* interest) override {
    std::cout << "a controller is interested in " << interest->unitId << std::endl;
  }
  void interestRemoved(TessivarNode*, const AddressEx&, unsigned, unsigned) override {}
};

int main(int argc, char** argv) {
  ReadableLogger::install();
  const DomainHandle domain = DomainHandle::shared(argc > 1 ? std::atoi(argv[1]) : 0);
  Camera camera;
  TessivarNode node;  // declared after the domain and the listener, so that it is destroyed before them
  node.attachDomain(domain.get());
  node.attachListener(&camera, false);
  if (!node.create({address})) return 1;  // the log says why
  node.addUnit(DDSPtr(Helper::createUnit(address, "studio camera")));
  const auto offer = [&node](Command* initial, const char* name, bool enabled, const Range* range) {
    DDSPtr metadata(Helper::createMetadata(address, initial->commandNumber));
    DDS_String_replace(&metadata->name, name);  // at most 32 characters: metadata with a longer name is not published
    metadata->type = metadata->defaultValue._d = initial->value._d;
    metadata->enabled = enabled;
    if (range) *(metadata->validRange = RangePluginSupport_create_data()) = *range;
    node.publishMetadata(metadata);
    node.publishCommand(initial, true);
  };
  offer(Helper::createCommand(address, gain, 0), "gain", true, &gains);
  offer(Helper::createCommand(address, tally, false), "tally", false, nullptr);
  std::cin.get();  // until Enter is pressed
}
