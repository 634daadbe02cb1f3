// SPDX-License-Identifier: Apache-2.0
// A unit that logs the lines "HEADER STATE TEXT" of its standard input. Usage: log_publisher [DOMAIN [ADDRESS]]
#include "tessivar/tessivar.h"

#include <ctime>
#include <iostream>
#include <map>

using namespace TessivarDDS;
using namespace Tessivar_Logging;

template <class Message>
DDSPtr<Message> message(const AddressEx& unit, const std::string& header, const std::string& text) {
  DDSPtr made(Message::TypeSupport::create_data());
  unit.copyTo(made->address);
  DDS_String_replace(&made->header, header.substr(0, 100).c_str());  // the types limit the lengths
  DDS_String_replace(&made->value, text.substr(0, 1024).c_str());
  if constexpr (requires { made->source_timestamp; })
    made->source_timestamp.seconds = static_cast<DDS_UnsignedLongLong>(std::time(nullptr));
  return made;
}

struct Acknowledgements : WaitSetThreadRunner<AlarmAck> {
  using WaitSetThreadRunner::processSample, WaitSetThreadRunner::WaitSetThreadRunner;
  void processSample(const AlarmAck& ack) override {
    std::cout << ack.acked_by << " has seen the alarm of " << ack.address << " " << ack.header << std::endl;
  }
};

int main(int argc, char** argv) {
  ReadableLogger::install();
  const DomainHandle domain = DomainHandle::shared(argc > 1 ? std::atoi(argv[1]) : 0);
  const AddressEx address = argc > 2 ? AddressEx(argv[2]) : AddressEx(1, 4, 1);
  DDS_TopicQos qos;  // a late joiner gets the last message of each header …
  createReliableDurableTopicQos(domain.get(), LOGGING_TOPIC, qos);
  DDSPtr units(DDSNode<LogUnit>::create(domain.get(), LOGGING_UNITS_TOPIC, qos, false));
  DDSPtr messages(DDSNode<LogMessage>::create(domain.get(), LOGGING_TOPIC, qos, false));
  DDSPtr acks(DDSNode<AlarmAck>::create(domain.get(), LOGGING_ACKS_TOPIC, qos, true));
  qos.history.depth = 50;  // … and the last 50 messages of the topics without a key
  DDSPtr stream(DDSNode<LogMessage2>::create(domain.get(), LOGGING2_TOPIC, qos, false));
  DDSPtr alarms(DDSNode<LogMessageEx2>::create(domain.get(), LOGGING_EX2_TOPIC, qos, false));
  WaitSetThread thread("acks");
  if (!units || !messages || !acks || !stream || !alarms || !thread.create()) return 1;
  if (!thread.attachRunner(new Acknowledgements(acks->dataReader()), true)) return 1;
  thread.start();
  DDSPtr unit(LogUnitTypeSupport::create_data());
  address.copyTo(unit->address);
  DDS_String_replace(&unit->name, "transmitter");
  units->writeSample(unit);
  std::map<std::string, short> states;
  std::string header, text;
  for (short state = 0; std::cin >> header && header != "end" && std::getline(std::cin >> state >> std::ws, text);) {
    messages->writeSample(message<LogMessage>(address, header, text));
    stream->writeSample(message<LogMessage2>(address, header, text));
    if (std::exchange(states[header], state) == state) continue;
    DDSPtr alarm = message<LogMessageEx2>(address, header, text);
    alarm->state = alarm->unmasked_state = state;
    alarms->writeSample(alarm);
  }
}
