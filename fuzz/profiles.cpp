// SPDX-License-Identifier: Apache-2.0

// Fuzz target: any text as a source of QoS profiles, and every profile in it. A text that begins with "p", "t", "w" or
// "r" is the content of a profile's section for a participant, a topic, a writer or a reader.
#include "tessivar/platform/qos/profiles.h"

#include "fuzz/demand.h"

#include <algorithm>
#include <string_view>

#include <pugixml.hpp>

namespace {

using tessivar::platform::QosProfiles;
using tessivar_fuzz::demand;

/// Returns the text, or a source with the text as the content of a section.
std::string source(const std::string& text) {
  const std::pair<char, std::string> sections[] = {
      {'p', "participant_qos"}, {'t', "topic_qos"}, {'w', "datawriter_qos"}, {'r', "datareader_qos"}};
  for (const auto& [mark, name] : sections)
    if (text.starts_with(mark))
      return "<dds><qos_library name='l'><qos_profile name='p' is_default_qos='1'><" + name + ">" + text.substr(1) +
             "</" + name + "></qos_profile></qos_library></dds>";
  return text;
}

bool valid(const DDS_Duration_t& d) {
  return d == DDS_DURATION_INFINITE || (d.sec >= 0 && d.nanosec <= 999999999);
}
bool valid(const DDS_DomainParticipantQos& qos) {
  const auto& config = qos.discovery_config;
  return valid(config.participant_liveliness_lease_duration) && valid(config.participant_liveliness_assert_period) &&
         config.max_participant_index >= 0 && qos.wire_protocol.participant_id >= -1;
}
template <class Qos>  // of topics, writers and readers
bool valid(const Qos& qos) {
  const auto& limits = qos.resource_limits;
  return valid(qos.deadline.period) && valid(qos.latency_budget.duration) && valid(qos.liveliness.lease_duration) &&
         valid(qos.reliability.max_blocking_time) && qos.history.depth >= 1 &&
         std::min({limits.max_samples, limits.max_instances, limits.max_samples_per_instance}) >= -1;
}

/// Returns a member of the QoS that is never negative.
DDS_Long& count_of(DDS_DomainParticipantQos& qos) {
  return qos.discovery_config.max_participant_index;
}
template <class Qos>
DDS_Long& count_of(Qos& qos) {
  return qos.history.depth;
}

void check_error(const std::string& error) {
  demand(!error.empty(), "a failure is told");
  demand(error.find_first_of("\r\n") == error.npos, "a failure is told in one line");
}

template <class Qos, class Lookup>
void check_lookup(bool must_be_there, Lookup lookup) {
  Qos qos;
  count_of(qos) = -7;
  std::string error;
  if (lookup(qos, error)) return demand(valid(qos), "what is read is valid");
  demand(count_of(qos) == -7, "a failure leaves the QoS as it was");
  if (must_be_there || !error.empty()) check_error(error);
  demand(!must_be_there || !error.starts_with("unknown QoS"), "the profiles of a good source are known");
}

void check_profile(const QosProfiles& profiles, const char* library, const char* profile) {
  const auto check = [&]<class Qos>(bool (QosProfiles::*get)(const char*, const char*, Qos&, std::string&) const) {
    check_lookup<Qos>(true,
                      [&](Qos& qos, std::string& error) { return (profiles.*get)(library, profile, qos, error); });
  };
  check(&QosProfiles::participant);
  check(&QosProfiles::topic);
  check(&QosProfiles::datawriter);
  check(&QosProfiles::datareader);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const std::string text = source({reinterpret_cast<const char*>(data), size});
  DDS_ProfileQosPolicy policy;
  policy.ignore_user_profile = policy.ignore_environment_profile = DDS_BOOLEAN_TRUE;
  demand(policy.string_profile.ensure_length(1, 1), "there is memory");
  DDS_String_replace(&policy.string_profile[0], text.c_str());
  QosProfiles profiles;
  std::string error;
  if (profiles.load(policy, error)) {
    pugi::xml_document document;
    demand(document.load_string(text.c_str()), "a good source is well-formed");
    for (const pugi::xml_node library : document.document_element())
      for (const pugi::xml_node profile : library)
        check_profile(profiles, library.attribute("name").value(), profile.attribute("name").value());
  } else {
    check_error(error);
    const std::string_view place = "string_profile[0]:";
    demand(error.starts_with(place), "a failure is told with its source");
    const auto lines = 1 + std::count(text.begin(), text.end(), '\n');
    const int line = std::atoi(error.c_str() + place.size());
    demand(line >= 1 && line <= lines, "a failure is told with its line");
    check_profile(profiles, "tessivar_Library", "tessivar_UnitQos");
  }
  check_lookup<DDS_DomainParticipantQos>(
      false, [&](auto& qos, std::string& failure) { return profiles.default_participant(qos, failure); });
  check_lookup<DDS_TopicQos>(false, [&](auto& qos, std::string& failure) {
    return profiles.default_for("Orvel.Routing.Sources", qos, failure);
  });
  return 0;
}
