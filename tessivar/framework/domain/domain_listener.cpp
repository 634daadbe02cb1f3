// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/domain/domain_listener.h"

#include "tessivar/framework/log/logger.h"
#include "tessivar/platform/participant.h"

namespace TessivarDDS {
namespace {

const char* topicName(DDSDataReader* reader) {
  const DDSTopicDescription* topic = reader ? reader->get_topicdescription() : nullptr;
  return topic ? topic->get_name() : nullptr;
}

const char* topicName(DDSDataWriter* writer) {
  const DDSTopic* topic = writer ? writer->get_topic() : nullptr;
  return topic ? topic->get_name() : nullptr;
}

}  // namespace

void DDSDomainListener::on_inconsistent_topic(DDSTopic* topic, const DDS_InconsistentTopicStatus&) {
  logWarning() << "void __cdecl TessivarDDS::DDSDomainListener::on_inconsistent_topic(class DDSTopic *,"
                  "const struct DDS_InconsistentTopicStatus &)"
               << "Topic " << (topic ? topic->get_name() : nullptr) << " is inconsistent.";
}

void DDSDomainListener::on_liveliness_changed(DDSDataReader* reader, const DDS_LivelinessChangedStatus& status) {
  logDebug() << "void __cdecl TessivarDDS::DDSDomainListener::on_liveliness_changed(class DDSDataReader *,"
                "const struct DDS_LivelinessChangedStatus &)"
             << "Data reader listener liveliness changed for topic " << topicName(reader)
             << ". Alive count: " << status.alive_count;
}

void DDSDomainListener::on_liveliness_lost(DDSDataWriter* writer, const DDS_LivelinessLostStatus& status) {
  logWarning() << "void __cdecl TessivarDDS::DDSDomainListener::on_liveliness_lost(class DDSDataWriter *,"
                  "const struct DDS_LivelinessLostStatus &)"
               << "Data writer listener liveliness lost for topic " << topicName(writer)
               << ". Total count: " << status.total_count;
}

void DDSDomainListener::on_publication_matched(DDSDataWriter* writer, const DDS_PublicationMatchedStatus& status) {
  logDebug() << "void __cdecl TessivarDDS::DDSDomainListener::on_publication_matched(class DDSDataWriter *,"
                "const struct DDS_PublicationMatchedStatus &)"
             << "Number of matching DataReaders for Topic " << topicName(writer) << " is " << status.current_count;
}

void DDSDomainListener::on_subscription_matched(DDSDataReader* reader, const DDS_SubscriptionMatchedStatus& status) {
  logDebug() << "void __cdecl TessivarDDS::DDSDomainListener::on_subscription_matched(class DDSDataReader *,"
                "const struct DDS_SubscriptionMatchedStatus &)"
             << "Number of matching DataWriters for Topic " << topicName(reader) << " is " << status.current_count;
}

}  // namespace TessivarDDS
