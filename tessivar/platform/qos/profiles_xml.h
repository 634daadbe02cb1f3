// SPDX-License-Identifier: Apache-2.0

// One XML text of QoS profiles, and how its elements become QoS sets.
#pragma once

#include "tessivar/platform/qos.h"

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include <pugixml.hpp>

namespace tessivar::platform {

/// A parsed text that knows where its elements stand.
class QosProfilesXml {
 public:
  /// `name` is how messages call it: the file's name.
  QosProfilesXml(std::string name, std::string text) : name_(std::move(name)), text_(std::move(text)) {}

  /// False, with one line in `error`, when it is not well formed or not a <dds>.
  bool parse(std::string& error);
  pugi::xml_node root() const { return document_.document_element(); }
  const std::string& name() const { return name_; }

  /// "NAME:LINE: what", always false.
  bool fail(pugi::xml_node node, const std::string& what, std::string& error) const;
  /// Whether `node` has no other attributes; those of XML itself ("xmlns…", "xsi:…") pass.
  bool has_only(pugi::xml_node node, std::initializer_list<std::string_view> attributes, std::string& error) const;

  /// Sets `value` by an attribute "true", "false", "1", "0" …; nothing when it is missing.
  bool read_flag(pugi::xml_node node, const char* attribute, bool& value, std::string& error) const;

  /// Sets in `qos`, a QoS set, what the elements of its section (<topic_qos> …) say; on failure it is half set.
  template <class Qos>
  bool read(pugi::xml_node section, Qos& qos, std::string& error) const;

 private:
  std::string at(std::ptrdiff_t offset) const;

  std::string name_;
  std::string text_;
  pugi::xml_document document_;
};

}  // namespace tessivar::platform
