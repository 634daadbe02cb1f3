// SPDX-License-Identifier: Apache-2.0

// QoS profiles: named QoS sets from XML with the elements dds / qos_library / qos_profile (OMG DDS-XML 1.0, 7.3.2).
#pragma once

#include "tessivar/platform/qos.h"

#include <memory>
#include <string>

namespace tessivar::platform {

/// The profiles of all sources. A later source overrides a profile of the same name as a whole:
///
/// 1. the profiles embedded in the library;
/// 2. the files that the environment variable "NDDS_QOS_PROFILES" lists, separated by ";";
/// 3. "USER_QOS_PROFILES.xml" in the working directory, if it exists;
/// 4. the files and then the texts of the DDS_ProfileQosPolicy.
///
/// The content of a profile is checked when the profile is requested, so the other profiles stay usable if one has a
/// mistake. An operation that fails writes one line to `error`, with file, line and reason, and leaves `qos` unchanged.
///
/// Not thread-safe, but several threads may call const operations at the same time. Only load() reads files. Nothing
/// throws.
class QosProfiles {
 public:
  QosProfiles();
  ~QosProfiles();
  QosProfiles(const QosProfiles&) = delete;
  QosProfiles& operator=(const QosProfiles&) = delete;

  /// Reads all sources again. A source that is unreadable, is not well-formed XML or has two profiles of the same name
  /// is not used; all other sources are used. Returns false if a source is not used; `error` then describes the first
  /// of these sources.
  bool load(const DDS_ProfileQosPolicy& policy, std::string& error);

  /// Gets the platform's defaults, changed by the base profiles of this profile and then by the profile itself.
  bool participant(const char* library, const char* profile, DDS_DomainParticipantQos& qos, std::string& error) const;
  bool topic(const char* library, const char* profile, DDS_TopicQos& qos, std::string& error) const;
  bool datawriter(const char* library, const char* profile, DDS_DataWriterQos& qos, std::string& error) const;
  bool datareader(const char* library, const char* profile, DDS_DataReaderQos& qos, std::string& error) const;

  /// Gets the QoS of the default profile, which is the last profile with is_default_qos="true". Returns false with an
  /// empty `error` if there is no default profile or none of its sections applies.
  bool default_participant(DDS_DomainParticipantQos& qos, std::string& error) const;
  /// The same for a topic, or for the writers or readers of a topic. Applies, in their order, the sections of that kind
  /// that have no topic_filter or whose topic_filter, a shell pattern, matches the name. If `topic_name` is null, only
  /// sections without topic_filter apply.
  bool default_for(const char* topic_name, DDS_TopicQos& qos, std::string& error) const;
  bool default_for(const char* topic_name, DDS_DataWriterQos& qos, std::string& error) const;
  bool default_for(const char* topic_name, DDS_DataReaderQos& qos, std::string& error) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tessivar::platform
