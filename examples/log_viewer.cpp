// SPDX-License-Identifier: Apache-2.0
// Prints the log messages of units until Enter is pressed, and acknowledges their alarms if it has an operator's name.
// Usage: log_viewer [DOMAIN [OPERATOR]]
#include "tessivar/tessivar.h"

#include <iostream>

using namespace TessivarDDS;
using namespace Tessivar_Logging;

void show(const LogUnit& unit) {
  std::cout << "unit " << unit.address << " logs: " << unit.name << std::endl;
}
void show(const LogMessage& message) {
  std::cout << message.address << " " << message.header << ": " << message.value << std::endl;
}

template <class T>
struct Viewer : WaitSetThreadRunner<T> {
  using WaitSetThreadRunner<T>::processSample, WaitSetThreadRunner<T>::WaitSetThreadRunner;
  void processSample(const T& sample) override { show(sample); }
};

struct Alarms : WaitSetThreadRunner<LogMessageEx2> {
  Alarms(TDataReader* reader, DDSNode<AlarmAck>& acks, const char* person)
      : WaitSetThreadRunner(reader), acks_(acks), person_(person) {}
  using WaitSetThreadRunner::processSample;
  void processSample(const LogMessageEx2& alarm) override {
    std::cout << alarm.address << " " << alarm.header << " is in state " << alarm.state << std::endl;
    if (alarm.state == 0 || !person_) return;
    DDSPtr ack(AlarmAckTypeSupport::create_data());
    DDS_String_replace(&ack->address, alarm.address);
    DDS_String_replace(&ack->header, alarm.header);
    DDS_String_replace(&ack->acked_by, person_);
    ack->is_ack = DDS_BOOLEAN_TRUE;
    acks_.writeSample(ack);
  }
  DDSNode<AlarmAck>& acks_;
  const char* const person_;
};

int main(int argc, char** argv) {
  ReadableLogger::install();
  const DomainHandle domain = DomainHandle::shared(argc > 1 ? std::atoi(argv[1]) : 0);
  DDS_TopicQos qos;
  createReliableDurableTopicQos(domain.get(), LOGGING_TOPIC, qos);
  DDSPtr units(DDSNode<LogUnit>::create(domain.get(), LOGGING_UNITS_TOPIC, qos, true));
  DDSPtr messages(DDSNode<LogMessage>::create(domain.get(), LOGGING_TOPIC, qos, true));
  DDSPtr acks(DDSNode<AlarmAck>::create(domain.get(), LOGGING_ACKS_TOPIC, qos, false));
  qos.history.kind = DDS_KEEP_ALL_HISTORY_QOS;  // an alarm must not replace another alarm
  DDSPtr alarms(DDSNode<LogMessageEx2>::create(domain.get(), LOGGING_EX2_TOPIC, qos, true));
  WaitSetThread thread("viewer");
  const bool made = units && messages && acks && alarms && thread.create() &&
                    thread.attachRunner(new Viewer<LogUnit>(units->dataReader()), true) &&
                    thread.attachRunner(new Viewer<LogMessage>(messages->dataReader()), true) &&
                    thread.attachRunner(new Alarms(alarms->dataReader(), *acks, argc > 2 ? argv[2] : nullptr), true);
  if (!made) return 1;
  thread.start();
  std::cin.get();
}
