// SPDX-License-Identifier: Apache-2.0
// Defines a topic type of the application, publishes a sample and reads it. Usage: weather [DOMAIN]
#include "tessivar/tessivar.h"
#include "tessivar/types/topic_type.h"

#include <iostream>

namespace weather {

struct Report {
  char* station = nullptr;  // key, at most 32 characters
  DDS_Float celsius = 0;
  TESSIVAR_TOPIC_CLASSES(Report)
};
TESSIVAR_TOPIC_TYPE(Report)

}  // namespace weather

template <>
struct tessivar::types::Table<weather::Report> : Final<"weather::Report",  //
                                                       Key<"station", &weather::Report::station, String<32>>,
                                                       Member<"celsius", &weather::Report::celsius, Float>> {};

TESSIVAR_IMPLEMENT_TOPIC_TYPE(weather, Report)

using namespace TessivarDDS;

int main(int argc, char** argv) {
  ReadableLogger::install();
  const int id = argc > 1 ? std::atoi(argv[1]) : 0;
  // Nodes of one domain object do not receive each other's samples: station and display have a domain object each.
  const DomainHandle station = DomainHandle::exclusive(id), display = DomainHandle::exclusive(id);
  DDS_TopicQos qos;  // a late joiner gets the last report of each station
  createReliableDurableTopicQos(station.get(), "Weather", qos);
  DDSPtr publisher(DDSNode<weather::Report>::create(station.get(), "Weather", qos, false));
  DDSPtr subscriber(DDSNode<weather::Report>::create(display.get(), "Weather", qos, true));
  if (!publisher || !subscriber) return 1;

  DDSPtr report(weather::ReportTypeSupport::create_data());
  DDS_String_replace(&report->station, "roof");
  report->celsius = -1.5F;
  if (!publisher->writeSample(report)) return 1;

  weather::ReportDataReader& reader = *subscriber->dataReader();
  DDSReadCondition* news =
      reader.create_readcondition(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ALIVE_INSTANCE_STATE);
  DDSWaitSet wait;
  DDSConditionSeq triggered;
  wait.attach_condition(news);
  const bool arrived = wait.wait(triggered, {5, 0}) == DDS_RETCODE_OK;
  weather::ReportSeq reports;
  DDS_SampleInfoSeq infos;
  if (arrived) reader.take_w_condition(reports, infos, DDS_LENGTH_UNLIMITED, news);
  for (int i = 0; i < reports.length(); ++i)
    std::cout << reports[i].station << ": " << reports[i].celsius << " degrees" << std::endl;
  reader.return_loan(reports, infos);
  wait.detach_condition(news);
  reader.delete_readcondition(news);
  return arrived ? 0 : 1;
}
