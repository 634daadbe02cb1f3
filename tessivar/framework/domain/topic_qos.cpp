// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/domain/topic_qos.h"

#include "tessivar/framework/domain/dds_domain.h"
#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/log/logger.h"

namespace TessivarDDS {

bool createReliableDurableTopicQos(DDSDomain* domain, const std::string& topicName, DDS_TopicQos& qos) {
  qos = DDS_TOPIC_QOS_DEFAULT;
  const DDSDomainParticipant* participant = domain ? domain->participant() : nullptr;
  if (!participant || participant->get_default_topic_qos_w_topic_name(qos, topicName.c_str()) != DDS_RETCODE_OK) {
    logError() << "bool __cdecl TessivarDDS::createReliableDurableTopicQos(class TessivarDDS::DDSDomain *,"
                  "const " TESSIVAR_SIGNATURE_STRING " &,struct DDS_TopicQos &)"
               << "Error at location";
  }
  qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
  qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
  qos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
  qos.history.depth = 1;
  qos.history.refilter = DDS_ALL_REFILTER_QOS;
  return true;
}

}  // namespace TessivarDDS
