// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/qos/profiles.h"

#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/detail/reported_texts.h"
#include "tessivar/platform/qos/embedded_profiles.h"
#include "tessivar/platform/qos/profiles_xml.h"
#include "tessivar/platform/system/calls.h"
#include "tessivar/platform/system/guarded.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace tessivar::platform {

namespace {

template <class Qos>
constexpr const char* section = nullptr;
template <>
constexpr const char* section<DDS_DomainParticipantQos> = "participant_qos";
template <>
constexpr const char* section<DDS_TopicQos> = "topic_qos";
template <>
constexpr const char* section<DDS_DataWriterQos> = "datawriter_qos";
template <>
constexpr const char* section<DDS_DataReaderQos> = "datareader_qos";

constexpr std::string_view sections[] = {section<DDS_DomainParticipantQos>, section<DDS_TopicQos>,
                                         section<DDS_DataWriterQos>, section<DDS_DataReaderQos>};

constexpr const char* user_file = "USER_QOS_PROFILES.xml";

struct Profile {
  const QosProfilesXml* xml;
  pugi::xml_node node;
  std::string library;
  std::string name;
  bool is_default;
};

std::string full_name(std::string_view library, std::string_view profile) {
  return std::string(library).append("::").append(profile);
}

/// Returns a file name without "file://" at its beginning.
std::string path_of(std::string_view name) {
  constexpr std::string_view scheme = "file://";
  if (name.substr(0, scheme.size()) == scheme) name.remove_prefix(scheme.size());
  return std::string(name);
}

/// Checks that all elements below `node` are <`name`> elements and have a name attribute.
bool check_named(const QosProfilesXml& xml, pugi::xml_node node, std::string_view name,
                 std::initializer_list<std::string_view> attributes, std::string& error) {
  for (const pugi::xml_node child : node) {
    if (child.name() != name) {
      const std::string what = *child.name() ? std::string("unknown element <") + child.name() + ">" : "text";
      return xml.fail(child, what + " in <" + node.name() + ">", error);
    }
    if (!xml.has_only(child, attributes, error)) return false;
    if (!*child.attribute("name").value()) return xml.fail(child, "a <" + std::string(name) + "> without name", error);
  }
  return true;
}

/// The same profiles may be read many times; each warning is logged once.
ReportedTexts& warnings() {
  static Immortal<ReportedTexts> all;
  return *all;
}

}  // namespace

struct QosProfiles::Impl {
  std::vector<std::unique_ptr<QosProfilesXml>> sources;
  std::map<std::string, Profile, std::less<>> profiles;  // by "library::profile"
  std::string default_name;

  bool add(std::string name, std::string text, std::string& error);
  bool add_file(const std::string& path, std::string& error);
  void warn_of_unused() const;
  const Profile* find(std::string_view library, std::string_view profile, std::string& error) const;
  bool find_bases(const Profile& profile, std::vector<const Profile*>& chain, std::string& error) const;
  template <class Qos>
  bool read(const Profile& profile, const char* topic_name, Qos& qos, bool& applied, std::string& error) const;
  template <class Qos>
  bool lookup(const char* library, const char* profile, Qos& qos, std::string& error) const;
  template <class Qos>
  bool lookup_default(const char* topic_name, Qos& qos, std::string& error) const;
};

/// Adds all profiles of a text. Adds none of them if the text has an error.
bool QosProfiles::Impl::add(std::string name, std::string text, std::string& error) {
  auto xml = std::make_unique<QosProfilesXml>(std::move(name), std::move(text));
  if (!xml->parse(error)) return false;
  const pugi::xml_node root = xml->root();
  if (!xml->has_only(root, {}, error) || !check_named(*xml, root, "qos_library", {"name"}, error)) return false;
  std::map<std::string, Profile, std::less<>> found;
  std::string found_default;
  for (const pugi::xml_node library : root) {
    if (!check_named(*xml, library, "qos_profile", {"name", "base_name", "is_default_qos"}, error)) return false;
    for (const pugi::xml_node node : library) {
      Profile profile = {xml.get(), node, library.attribute("name").value(), node.attribute("name").value(), false};
      if (!xml->read_flag(node, "is_default_qos", profile.is_default, error)) return false;
      std::string key = full_name(profile.library, profile.name);
      if (profile.is_default) found_default = key;
      const auto [at, is_new] = found.try_emplace(std::move(key), std::move(profile));
      if (!is_new) return xml->fail(node, "second profile \"" + at->first + "\"", error);
    }
  }
  if (!found_default.empty()) {
    default_name = found_default;
  } else if (found.contains(default_name)) {
    default_name.clear();
  }
  for (auto& [key, profile] : found) profiles.insert_or_assign(key, std::move(profile));
  sources.push_back(std::move(xml));
  return true;
}

bool QosProfiles::Impl::add_file(const std::string& path, std::string& error) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  std::string text;
  std::size_t count = 0;
  for (char buffer[4096]; file && (count = std::fread(buffer, 1, sizeof buffer, file.get())) > 0;) {
    text.append(buffer, count);
  }
  if (!file || std::ferror(file.get())) {
    error = path + ": " + std::strerror(errno);
    return false;
  }
  return add(path, std::move(text), error);
}

/// Warns of profiles that the library does not use: a user's file that misspells the name of an embedded profile
/// overrides nothing. Profiles with only participant QoS get no warning, because applications request them by name.
void QosProfiles::Impl::warn_of_unused() const {
  const QosProfilesXml* const embedded = sources.front().get();
  for (const auto& [key, profile] : profiles) {
    const bool serves_topics = profile.node.child(section<DDS_TopicQos>) ||
                               profile.node.child(section<DDS_DataWriterQos>) ||
                               profile.node.child(section<DDS_DataReaderQos>);
    if (profile.is_default || !serves_topics) continue;
    std::string names;
    bool asked_for = false;
    for (const auto& [other_key, other] : profiles) {
      const std::string_view base = other.node.attribute("base_name").value();
      asked_for = asked_for || base == key || (other.library == profile.library && base == profile.name);
    }
    for (const pugi::xml_node library : embedded->root()) {
      const bool same = library.attribute("name").value() == profile.library;
      for (const pugi::xml_node node : library) {
        const std::string name = node.attribute("name").value();
        asked_for = asked_for || (same && name == profile.name);
        if (same || name == profile.name)
          names.append(names.empty() ? "" : ", ").append(full_name(library.attribute("name").value(), name));
      }
    }
    if (asked_for || names.empty()) continue;
    std::string text;
    profile.xml->fail(profile.node, "nothing in the library asks for profile \"" + key + "\"; it asks for " + names,
                      text);
    if (warnings().add(text)) log(LogLevel::warning, "QosProfiles", text);
  }
}

const Profile* QosProfiles::Impl::find(std::string_view library, std::string_view profile, std::string& error) const {
  const std::string key = full_name(library, profile);
  const auto found = profiles.find(key);
  if (found != profiles.end()) return &found->second;
  const bool known =
      std::any_of(profiles.begin(), profiles.end(), [&](const auto& entry) { return entry.second.library == library; });
  error = known ? "unknown QoS profile \"" + key + "\""
                : "unknown QoS library \"" + std::string(library) + "\" of profile \"" + key + "\"";
  return nullptr;
}

/// Puts the profile and all its base profiles into `chain`, each base before the profile that uses it.
bool QosProfiles::Impl::find_bases(const Profile& profile, std::vector<const Profile*>& chain,
                                   std::string& error) const {
  for (const Profile* next = &profile; next;) {
    chain.insert(chain.begin(), next);
    const pugi::xml_attribute attribute = next->node.attribute("base_name");
    if (!attribute) return true;
    const std::string_view base = attribute.value();
    const std::size_t colons = base.find("::");
    const bool qualified = colons != base.npos;
    const Profile* found = find(qualified ? base.substr(0, colons) : std::string_view(next->library),
                                qualified ? base.substr(colons + 2) : base, error);
    if (!found) return next->xml->fail(next->node, "based on " + error, error);
    if (std::find(chain.begin(), chain.end(), found) != chain.end()) {
      const std::string name = full_name(found->library, found->name);
      return next->xml->fail(next->node, "profile \"" + name + "\" is based on itself", error);
    }
    next = found;
  }
  return true;
}

/// Changes `qos` by every section of its kind that applies to this topic (null: only sections without topic_filter).
/// Sets `applied` if there is one.
template <class Qos>
bool QosProfiles::Impl::read(const Profile& profile, const char* topic_name, Qos& qos, bool& applied,
                             std::string& error) const {
  std::vector<const Profile*> chain;
  if (!find_bases(profile, chain, error)) return false;
  for (const Profile* each : chain) {
    const QosProfilesXml& xml = *each->xml;
    bool for_any_topic = false;
    for (const pugi::xml_node node : each->node) {
      const std::string element = std::string("<") + node.name() + "> in <qos_profile>";
      if (std::find(std::begin(sections), std::end(sections), node.name()) == std::end(sections))
        return xml.fail(node, *node.name() ? "unknown element " + element : "text in <qos_profile>", error);
      if (!xml.has_only(node, {"topic_filter"}, error)) return false;
      if (std::string_view(node.name()) != section<Qos>) continue;
      if (const pugi::xml_attribute filter = node.attribute("topic_filter")) {
        if (!topic_name || !matches_pattern(filter.value(), topic_name)) continue;
      } else if (std::exchange(for_any_topic, true)) {
        return xml.fail(node, "second element " + element, error);
      }
      if (!xml.read(node, qos, error)) return false;
      applied = true;
    }
  }
  return true;
}

template <class Qos>
bool QosProfiles::Impl::lookup(const char* library, const char* profile, Qos& qos, std::string& error) const {
  return guarded(error, false, [&] {
    if (!library || !profile) {
      error = "QoS library or profile is null";
      return false;
    }
    const Profile* found = find(library, profile, error);
    Qos read_qos;
    bool applied = false;
    if (!found || !read(*found, nullptr, read_qos, applied, error)) return false;
    qos = read_qos;
    return true;
  });
}

template <class Qos>
bool QosProfiles::Impl::lookup_default(const char* topic_name, Qos& qos, std::string& error) const {
  return guarded(error, false, [&] {
    error.clear();
    if (default_name.empty()) return false;
    Qos read_qos;
    bool applied = false;
    if (!read(profiles.find(default_name)->second, topic_name, read_qos, applied, error) || !applied) return false;
    qos = read_qos;
    return true;
  });
}

QosProfiles::QosProfiles() : impl_(std::make_unique<Impl>()) {}

QosProfiles::~QosProfiles() = default;

bool QosProfiles::load(const DDS_ProfileQosPolicy& policy, std::string& error) {
  return guarded(error, false, [&] {
    auto fresh = std::make_unique<Impl>();
    bool all = true;
    const auto note = [&](bool added, const std::string& failure) {
      if (!added && all) error = failure;
      all = all && added;
    };
    std::string failure;
    note(fresh->add("embedded QoS profiles", embedded_qos_profiles, failure), failure);
    if (const char* listed = std::getenv("NDDS_QOS_PROFILES"); listed && !policy.ignore_environment_profile) {
      for (std::string_view rest = listed; !rest.empty();) {
        const std::size_t end = std::min(rest.find(';'), rest.size());
        if (end > 0) {
          note(fresh->add_file(path_of(rest.substr(0, end)), failure), failure + " (a file of NDDS_QOS_PROFILES)");
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
      }
    }
    std::error_code failed;
    if (!policy.ignore_user_profile && std::filesystem::exists(user_file, failed)) {
      note(fresh->add_file(user_file, failure), failure);
    }
    for (DDS_Long i = 0; i < policy.url_profile.length(); ++i) {
      const char* name = policy.url_profile[i];
      if (name) note(fresh->add_file(path_of(name), failure), failure);
    }
    for (DDS_Long i = 0; i < policy.string_profile.length(); ++i) {
      const char* text = policy.string_profile[i];
      if (text) note(fresh->add("string_profile[" + std::to_string(i) + "]", text, failure), failure);
    }
    fresh->warn_of_unused();
    impl_ = std::move(fresh);
    return all;
  });
}

bool QosProfiles::participant(const char* library, const char* profile, DDS_DomainParticipantQos& qos,
                              std::string& error) const {
  return impl_->lookup(library, profile, qos, error);
}

bool QosProfiles::topic(const char* library, const char* profile, DDS_TopicQos& qos, std::string& error) const {
  return impl_->lookup(library, profile, qos, error);
}

bool QosProfiles::datawriter(const char* library, const char* profile, DDS_DataWriterQos& qos,
                             std::string& error) const {
  return impl_->lookup(library, profile, qos, error);
}

bool QosProfiles::datareader(const char* library, const char* profile, DDS_DataReaderQos& qos,
                             std::string& error) const {
  return impl_->lookup(library, profile, qos, error);
}

bool QosProfiles::default_participant(DDS_DomainParticipantQos& qos, std::string& error) const {
  return impl_->lookup_default(nullptr, qos, error);
}

bool QosProfiles::default_for(const char* topic_name, DDS_TopicQos& qos, std::string& error) const {
  return impl_->lookup_default(topic_name, qos, error);
}

bool QosProfiles::default_for(const char* topic_name, DDS_DataWriterQos& qos, std::string& error) const {
  return impl_->lookup_default(topic_name, qos, error);
}

bool QosProfiles::default_for(const char* topic_name, DDS_DataReaderQos& qos, std::string& error) const {
  return impl_->lookup_default(topic_name, qos, error);
}

}  // namespace tessivar::platform
