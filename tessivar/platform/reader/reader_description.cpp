// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/reader/reader_description.h"

#include "tessivar/platform/participant/topic_impl.h"

#include <cstring>

namespace tessivar::platform {

ReaderDescription::ReaderDescription(DDSDomainParticipant& owner, DDSTopic* related_topic,
                                     DDSContentFilteredTopic* filter_topic, DDSSubscriber* parent,
                                     const DDS_DataReaderQos& reader_qos)
    : participant(owner),
      topic(related_topic),
      filtered_topic(filter_topic),
      subscriber(parent),
      type(topic ? &topic->impl().type : nullptr),
      qos(reader_qos),
      counters(
          type ? std::make_shared<EndpointCounters>(false, topic->impl().name, topic->impl().type_name, type->malformed)
               : nullptr) {}

bool ReaderDescription::catches_up() const {
  constexpr const char* property = "dds.data_reader.state.filter_redundant_samples";
  const DDS_Property_t* redundant = DDSPropertyQosPolicyHelper::lookup_property(qos.property, property);
  return filtered_topic && qos.durability.kind == DDS_TRANSIENT_LOCAL_DURABILITY_QOS && redundant && redundant->value &&
         std::strcmp(redundant->value, "0") == 0;
}

bool ReaderDescription::is_keyed() const {
  return type->get_key_kind() != PRES_TYPEPLUGIN_NO_KEY;
}

}  // namespace tessivar::platform
