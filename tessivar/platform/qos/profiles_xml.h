// SPDX-License-Identifier: Apache-2.0

// One XML text of QoS profiles, and functions that read its elements into QoS sets.
#pragma once

#include "tessivar/platform/qos.h"

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include <pugixml.hpp>

namespace tessivar::platform {

/// A parsed text that knows the lines of its elements.
class QosProfilesXml {
 public:
  /// `name` is the name of the text in messages, for example the file name.
  QosProfilesXml(std::string name, std::string text) : name_(std::move(name)), text_(std::move(text)) {}

  /// Returns false, with one line in `error`, if the text is not well-formed or its root is not <dds>.
  bool parse(std::string& error);
  pugi::xml_node root() const { return document_.document_element(); }
  const std::string& name() const { return name_; }

  /// Sets `error` to "NAME:LINE: what". Always returns false.
  bool fail(pugi::xml_node node, const std::string& what, std::string& error) const;
  /// Returns true if `node` has no other attributes than `attributes` and those of XML itself ("xmlns…", "xsi:…").
  bool has_only(pugi::xml_node node, std::initializer_list<std::string_view> attributes, std::string& error) const;

  /// Sets `value` from an attribute "true", "false", "1", "0" …. Leaves `value` unchanged if the attribute is missing.
  bool read_flag(pugi::xml_node node, const char* attribute, bool& value, std::string& error) const;

  /// Sets the members of `qos`, a QoS set, from the elements of its section (<topic_qos> …). After a failure `qos` may
  /// be changed in part.
  template <class Qos>
  bool read(pugi::xml_node section, Qos& qos, std::string& error) const;

 private:
  std::string at(std::ptrdiff_t offset) const;

  std::string name_;
  std::string text_;
  pugi::xml_document document_;
};

}  // namespace tessivar::platform
