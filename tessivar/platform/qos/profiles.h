// SPDX-License-Identifier: Apache-2.0

// QoS profiles: named QoS sets from XML in the form dds / qos_library / qos_profile (OMG DDS-XML 1.0, 7.3.2).
#pragma once

#include "tessivar/platform/qos.h"

#include <memory>
#include <string>

namespace tessivar::platform {

/// The profiles of all sources. A later source overrides a profile of the same name as a whole:
///
/// 1. the profiles embedded in the library;
/// 2. the files that the environment variable "NDDS_QOS_PROFILES" lists, parted by ";";
/// 3. "USER_QOS_PROFILES.xml" in the working directory, when it is there;
/// 4. the files, then the texts, of the DDS_ProfileQosPolicy.
///
/// What a profile says is checked when it is asked for, so that a mistake in one leaves the others usable. A failing
/// operation puts one line into `error`, which names file, line and what is wrong, and leaves `qos` as it was.
///
/// Not thread-safe; the const operations are among themselves. Only load() reads files. Nothing throws.
class QosProfiles {
 public:
  QosProfiles();
  ~QosProfiles();
  QosProfiles(const QosProfiles&) = delete;
  QosProfiles& operator=(const QosProfiles&) = delete;

  /// Reads all sources anew. False when one can't be used (unreadable, no well-formed XML, two profiles of one name):
  /// it is left out and told of in `error`, the first of them only; all the others serve.
  bool load(const DDS_ProfileQosPolicy& policy, std::string& error);

  /// The platform's defaults, changed by the profiles that this one is based on and then by itself.
  bool participant(const char* library, const char* profile, DDS_DomainParticipantQos& qos, std::string& error) const;
  bool topic(const char* library, const char* profile, DDS_TopicQos& qos, std::string& error) const;
  bool datawriter(const char* library, const char* profile, DDS_DataWriterQos& qos, std::string& error) const;
  bool datareader(const char* library, const char* profile, DDS_DataReaderQos& qos, std::string& error) const;

  /// From the default profile, the last one with is_default_qos="true". False with an empty `error` when there is none,
  /// or none of its sections applies.
  bool default_participant(DDS_DomainParticipantQos& qos, std::string& error) const;
  /// The same for a topic, or for the writers or readers of a topic: each section of the kind that has no topic_filter
  /// or one (a shell pattern) that fits the name, in their order. Null: those without topic_filter.
  bool default_for(const char* topic_name, DDS_TopicQos& qos, std::string& error) const;
  bool default_for(const char* topic_name, DDS_DataWriterQos& qos, std::string& error) const;
  bool default_for(const char* topic_name, DDS_DataReaderQos& qos, std::string& error) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tessivar::platform
