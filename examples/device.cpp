// A camera on the bus: announces itself, publishes its commands, answers change requests. Usage: device [DOMAIN]
#include "example_domain.h"
#include "tessivar/tessivar.h"

#include <cstring>
#include <thread>

using namespace TessivarDDS;
using Helper = TessivarMessageHelper;

const AddressEx address(1, 2, 10);
enum : unsigned { gain = 1, tally = 2, position = 3 };

struct Camera : TessivarNodeListener {
  Tessivar::CommandChangeReply* commandChangeRequested(TessivarNode* node,
                                                       const Tessivar::CommandChangeRequest* request) override {
    const Tessivar::Command& wanted = request->newValue;
    if (wanted.commandNumber == tally) return Helper::createReply(request, Tessivar::FAILED, "the mixer sets it");
    DDSPtr value(Helper::createCommand(address, wanted.commandNumber, wanted.value._u.intValue));
    if (wanted.commandNumber == gain) {
      node->publishCommand(value);
      return Helper::createReply(request, Tessivar::COMPLETE, nullptr);
    }
    // Moving takes two seconds: tell the controller now and then that it goes on, and when it is done.
    DDSPtr moving(Helper::createReply(request, Tessivar::IN_PROGRESS, nullptr));
    DDSPtr arrived(Helper::createReply(request, Tessivar::COMPLETE, nullptr));
    motor = std::jthread([=] {
      for (int i = 0; i < 4 && node->sendReply(moving); ++i) TessivarThread::sleep(500);
      node->publishCommand(value);
      node->sendReply(arrived);
    });
    return Helper::createReply(request, Tessivar::PENDING, nullptr);
  }
  void interestRegistered(TessivarNode*, const Tessivar::CommandInterest* interest) override {
    std::cout << "a controller is interested in " << interest->unitId << std::endl;
  }
  void interestRemoved(TessivarNode*, const AddressEx&, unsigned, unsigned) override {}
  std::jthread motor;
};

int main(int argc, char** argv) {
  ExampleDomain domain(argc, argv);
  TessivarNode node;
  Camera camera;
  node.attachDomain(domain);
  node.attachListener(&camera, false);
  if (!node.create({address})) return 1;
  node.addUnit(DDSPtr(Helper::createUnit(address, "studio camera")));
  for (auto [number, name] : {std::pair(gain, "gain"), {tally, "tally"}, {position, "position"}}) {
    DDSPtr metadata(Helper::createMetadata(address, number));
    std::strcpy(metadata->name, name);
    node.publishMetadata(metadata);
    node.publishCommand(Helper::createCommand(address, number, 0), true);
  }
  std::cin.get();  // until Enter is pressed
  node.detachListener(&camera);
  node.cleanUp();
}
