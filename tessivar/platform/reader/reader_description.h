// SPDX-License-Identifier: Apache-2.0

// The properties of a data reader; they are constant except `self`.
#pragma once

#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/qos.h"
#include "tessivar/platform/reader.h"
#include "tessivar/platform/topic.h"
#include "tessivar/platform/type_plugin.h"

#include <memory>

namespace tessivar::platform {

/// A built-in reader has neither a topic nor a type nor counters.
struct ReaderDescription {
  ReaderDescription(DDSDomainParticipant& owner, DDSTopic* related_topic, DDSContentFilteredTopic* filter_topic,
                    DDSSubscriber* parent, const DDS_DataReaderQos& reader_qos);

  /// Returns true if the reader catches up with a new filter: it receives the history that the new filter accepts.
  bool catches_up() const;
  bool is_keyed() const;

  DDSDataReader* self = nullptr;  // set by the constructor of the reader
  DDSDomainParticipant& participant;
  DDSTopic* const topic;                          // with a filter: the related topic of the filtered topic
  DDSContentFilteredTopic* const filtered_topic;  // null without a filter
  DDSSubscriber* const subscriber;
  const PRESTypePlugin* const type;
  const DDS_DataReaderQos qos;
  const std::shared_ptr<EndpointCounters> counters;
};

}  // namespace tessivar::platform
