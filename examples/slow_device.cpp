// SPDX-License-Identifier: Apache-2.0
// A camera head that moves for two seconds: it replies IN_PROGRESS, and then COMPLETE. Usage: slow_device [DOMAIN]
#include "tessivar/tessivar.h"

#include <condition_variable>
#include <iostream>
#include <thread>

using namespace TessivarDDS;
using namespace Tessivar;
using Helper = TessivarMessageHelper;

const AddressEx address(1, 2, 11);
constexpr unsigned position = 1;

struct Head : TessivarNodeListener {
  CommandChangeReply* commandChangeRequested(TessivarNode*, const CommandChangeRequest* request) override {
    const auto& [unit, number, value] = request->newValue;
    if (AddressEx(unit) != address) return nullptr;
    const auto refuse = [&](const char* why) { return Helper::createReply(request, FAILED, why); };
    if (number != position || value._d != Int) return refuse("only its position can be set, to an Int");
    if (value._u.intValue < -90 || value._u.intValue > 90) return refuse("it moves from -90 to 90 degrees");
    const std::lock_guard lock(mutex);
    if (target) return refuse("it is moving");
    target.reset(Helper::createCommand(address, position, value._u.intValue));
    moving.reset(Helper::createReply(request, IN_PROGRESS, nullptr));
    arrived.reset(Helper::createReply(request, COMPLETE, nullptr));
    started.notify_one();
    return Helper::createReply(request, PENDING, nullptr);  // a callback does not wait
  }
  void interestRegistered(TessivarNode*, const CommandInterest*) override {}
  void interestRemoved(TessivarNode*, const AddressEx&, unsigned, unsigned) override {}
  void move(const std::stop_token& stop, TessivarNode& node) {
    for (std::unique_lock lock(mutex); started.wait(lock, stop, [this] { return target != nullptr; }); target.reset()) {
      lock.unlock();
      for (int i = 0; i < 4 && node.sendReply(moving); ++i) TessivarThread::sleep(500);
      node.publishCommand(target);
      node.sendReply(arrived);
      lock.lock();
    }
  }
  std::mutex mutex;
  std::condition_variable_any started;
  DDSPtr<Command> target;  // set while the head moves
  DDSPtr<CommandChangeReply> moving, arrived;
};

int main(int argc, char** argv) {
  ReadableLogger::install();
  const DomainHandle domain = DomainHandle::shared(argc > 1 ? std::atoi(argv[1]) : 0);
  Head head;
  TessivarNode node;
  node.attachDomain(domain.get());
  node.attachListener(&head, false);
  if (!node.create({address})) return 1;
  node.addUnit(DDSPtr(Helper::createUnit(address, "camera head")));
  node.publishCommand(Helper::createCommand(address, position, 0), true);
  const std::jthread motor([&](const std::stop_token& stop) { head.move(stop, node); });  // ends before both
  std::cin.get();                                                                         // until Enter is pressed
}
