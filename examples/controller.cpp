// Finds the camera of the device example, watches it and changes its commands. Usage: controller [DOMAIN]
#include "example_domain.h"
#include "tessivar/tessivar.h"

#include <chrono>

using namespace TessivarDDS;

const AddressEx camera(1, 2, 10);
enum : unsigned { gain = 1, tally = 2, position = 3 };

class Monitor : public TessivarClientListener {
 public:
  void unitAdded(const Tessivar::Unit* unit) override {
    std::cout << "unit " << unit->unitId << " is there: " << unit->name << std::endl;
  }
  void unitRemoved(const AddressEx& unit) override { std::cout << "unit " << unit.guid() << " is gone" << std::endl; }
  void commandMetadataUpdated(const Tessivar::CommandMetadata* metadata) override {
    std::cout << "command " << metadata->commandNumber << " is called " << metadata->name << std::endl;
  }
  void commandValueChanged(const Tessivar::Command* command) override {
    std::cout << "command " << command->commandNumber << " is " << command->value._u.intValue << std::endl;
  }
  void commandTicketChanged(DDSPtr<TessivarClient::Ticket>& ticket) override {
    if (ticket && ticket->reply->ex) std::cout << "refused: " << ticket->reply->ex->message << std::endl;
  }
};

DDSPtr<Tessivar::Command> command(unsigned number, int value) {
  return DDSPtr(TessivarMessageHelper::createCommand(camera, number, value));
}

int main(int argc, char** argv) {
  ExampleDomain domain(argc, argv);
  Monitor monitor;
  TessivarClient client;
  client.attachDomain(domain);
  client.attachListener(&monitor, false);
  if (!client.create() || !client.waitForHistoricalData(10000) || !client.registerInterest(camera)) return 1;

  for (auto [number, value] : {std::pair(gain, 12), {tally, 1}, {position, 30}}) {
    DDSPtr wanted = command(number, value);
    const auto start = std::chrono::steady_clock::now();
    const bool done = client.setCommand(wanted, 1000);  // moving takes longer, but the camera says that it goes on
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    std::cout << "set " << number << " to " << value << (done ? ": done in " : ": not done in ") << time.count()
              << " s\n";
  }

  DDSPtr wanted = command(gain, 18);
  DDSPtr ticket = client.beginSetCommand(wanted);
  while (ticket && !ticket->received) TessivarThread::sleep(10);
  if (ticket) std::cout << "ticket " << ticket->ticketId << ": result " << ticket->reply->result << std::endl;
  client.completeSetCommand(ticket);

  std::cin.get();  // watch on until Enter is pressed
  client.cleanUp();
}
