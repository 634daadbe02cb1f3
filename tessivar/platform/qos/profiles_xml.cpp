// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/qos/profiles_xml.h"

#include "tessivar/platform/qos/profile_tables.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <utility>

namespace tessivar::platform {

namespace profiles {

namespace {

constexpr const char* blank = " \t\r\n";

std::string tag(pugi::xml_node node) {
  return std::string("<") + node.name() + ">";
}

std::string in(pugi::xml_node child, pugi::xml_node node) {
  return tag(child) + " in " + tag(node);
}

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(blank);
  return begin == text.npos ? std::string_view() : text.substr(begin, text.find_last_not_of(blank) - begin + 1);
}

bool is_text(pugi::xml_node node) {
  return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

const Name* find(std::string_view text, std::span<const Name> names) {
  constexpr std::string_view prefix = "DDS_";
  if (text.substr(0, prefix.size()) == prefix) text.remove_prefix(prefix.size());
  const auto found = std::find_if(names.begin(), names.end(), [&](const Name& name) { return name.text == text; });
  return found == names.end() ? nullptr : &*found;
}

template <class Number>
bool parse_number(std::string_view text, Number& value) {
  const bool hexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
  if (hexadecimal) text.remove_prefix(2);
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value, hexadecimal ? 16 : 10);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

/// Reads the text of an element. Fails if the element contains other elements.
bool read_text(const Walk& walk, pugi::xml_node node, std::string& text) {
  if (!walk.xml.has_only(node, {}, walk.error)) return false;
  std::string whole;
  for (const pugi::xml_node child : node) {
    if (!is_text(child)) return walk.fail(child, "unknown element " + in(child, node));
    whole += child.value();
  }
  text = trimmed(whole);
  return true;
}

/// Calls `each` for every element below `node` until it returns false.
template <class Each>
bool for_each_element(const Walk& walk, pugi::xml_node node, Each each) {
  for (const pugi::xml_node child : node) {
    if (!is_text(child)) {
      if (!each(child)) return false;
    } else if (!trimmed(child.value()).empty()) {
      return walk.fail(child, "text in " + tag(node) + ", which takes elements");
    }
  }
  return true;
}

/// The same for a node in which every element must be an <element>.
template <class Each>
bool for_each_item(const Walk& walk, pugi::xml_node node, Each each) {
  if (!walk.xml.has_only(node, {}, walk.error)) return false;
  return for_each_element(walk, node, [&](pugi::xml_node child) {
    if (std::string_view(child.name()) != "element") return walk.fail(child, "unknown element " + in(child, node));
    return each(child);
  });
}

bool fail_value(const Walk& walk, pugi::xml_node node, const std::string& text, const std::string& known) {
  return walk.fail(node, "\"" + text + "\" is no value of " + tag(node) + ", which takes " + known);
}

bool fail_memory(const Walk& walk, pugi::xml_node node) {
  return walk.fail(node, "memory is short");
}

template <class Number>
bool read_integer(const Walk& walk, pugi::xml_node node, Number& value, std::int64_t least) {
  std::string text;
  if (!read_text(walk, node, text)) return false;
  constexpr std::int64_t most = std::numeric_limits<Number>::max();
  std::int64_t number = 0;
  const Name* name = find(text, numbers);
  if (name) number = name->value;
  if ((!name && !parse_number(text, number)) || number < least || number > most) {
    const std::string range = std::to_string(least) + " to " + std::to_string(most);
    return fail_value(walk, node, text, range + (least == unlimited ? " (-1: LENGTH_UNLIMITED)" : ""));
  }
  value = static_cast<Number>(number);
  return true;
}

/// Reads the elements of a structure. The caller checks the attributes of `node`.
bool read_members(const Walk& walk, pugi::xml_node node, std::span<const Element> table, void* owner) {
  return for_each_element(walk, node, [&](pugi::xml_node child) {
    const auto row =
        std::find_if(table.begin(), table.end(), [&](const Element& known) { return known.name == child.name(); });
    if (row == table.end()) return walk.fail(child, "unknown element " + in(child, node));
    if (child.previous_sibling(child.name())) return walk.fail(child, "second element " + in(child, node));
    return row->read(walk, child, owner);
  });
}

}  // namespace

bool read_name(const Walk& walk, pugi::xml_node node, std::span<const Name> names, std::int64_t& value) {
  std::string text;
  if (!read_text(walk, node, text)) return false;
  if (const Name* name = find(text, names)) {
    value = name->value;
    return true;
  }
  std::string known;
  for (const Name& name : names) known.append(known.empty() ? "" : ", ").append(name.text);
  return fail_value(walk, node, text, known);
}

bool read_number(const Walk& walk, pugi::xml_node node, DDS_Long& value, std::int64_t least) {
  return read_integer(walk, node, value, least);
}

bool read_value(const Walk& walk, pugi::xml_node node, DDS_UnsignedLong& value) {
  return read_integer(walk, node, value, 0);
}

bool read_value(const Walk& walk, pugi::xml_node node, DDS_Boolean& value) {
  std::int64_t number = 0;
  if (!read_name(walk, node, booleans, number)) return false;
  value = static_cast<DDS_Boolean>(number);
  return true;
}

bool read_value(const Walk& walk, pugi::xml_node node, char*& value) {
  std::string text;
  if (!read_text(walk, node, text)) return false;
  return DDS_String_replace(&value, text.c_str()) || fail_memory(walk, node);
}

/// Reads <sec> and <nanosec>, or a name instead of them. A missing element counts as 0.
bool read_value(const Walk& walk, pugi::xml_node node, DDS_Duration_t& value) {
  if (is_text(node.first_child()) && !node.first_child().next_sibling()) {
    std::int64_t infinite = 0;
    if (!read_name(walk, node, durations, infinite)) return false;
    value = infinite ? DDS_DURATION_INFINITE : DDS_DURATION_ZERO;
    return true;
  }
  DDS_Duration_t read = DDS_DURATION_ZERO;
  if (!read_elements(walk, node, Elements<DDS_Duration_t>::table, &read)) return false;
  if (read.sec == DDS_DURATION_INFINITE.sec || read.nanosec == DDS_DURATION_INFINITE.nanosec) {
    read = DDS_DURATION_INFINITE;
  } else if (read.nanosec > 999999999) {
    return walk.fail(node, "<nanosec> of " + tag(node) + " is more than 999999999");
  }
  value = read;
  return true;
}

/// Reads octets that are separated by commas.
bool read_value(const Walk& walk, pugi::xml_node node, DDS_OctetSeq& value) {
  std::string text;
  if (!read_text(walk, node, text)) return false;
  DDS_OctetSeq octets;
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t comma = std::min(rest.find(','), rest.size());
    const DDS_Long length = octets.length();
    DDS_Octet octet = 0;
    if (!parse_number(trimmed(rest.substr(0, comma)), octet))
      return fail_value(walk, node, text, "octets with commas between them (0 to 255, or 0x00 to 0xff)");
    if (!octets.ensure_length(length + 1, 2 * length + 16)) return fail_memory(walk, node);
    octets[length] = octet;
    rest.remove_prefix(std::min(comma + 1, rest.size()));
  }
  value = std::move(octets);
  return true;
}

/// Replaces the texts of `value` by the <element>s.
bool read_value(const Walk& walk, pugi::xml_node node, DDS_StringSeq& value) {
  DDS_StringSeq texts;
  const bool read = for_each_item(walk, node, [&](pugi::xml_node item) {
    const DDS_Long length = texts.length();
    if (!texts.ensure_length(length + 1, 2 * length + 4)) return fail_memory(walk, item);
    return read_value(walk, item, texts[length]);
  });
  if (read) value = std::move(texts);
  return read;
}

/// Adds the <element>s to the properties of `value`. An <element> replaces the property of the same name.
bool read_value(const Walk& walk, pugi::xml_node node, DDS_PropertySeq& value) {
  DDS_PropertyQosPolicy policy;
  policy.value = value;
  const bool read = for_each_item(walk, node, [&](pugi::xml_node item) {
    DDS_Property_t property;
    if (!read_elements(walk, item, Elements<DDS_Property_t>::table, &property)) return false;
    if (!property.name || !*property.name || !property.value)
      return walk.fail(item, "a property without <name> or <value>");
    return DDSPropertyQosPolicyHelper::assert_property(policy, property.name, property.value, property.propagate) ==
               DDS_RETCODE_OK ||
           fail_memory(walk, item);
  });
  if (read) value = std::move(policy.value);
  return read;
}

bool read_elements(const Walk& walk, pugi::xml_node node, std::span<const Element> table, void* owner) {
  return walk.xml.has_only(node, {}, walk.error) && read_members(walk, node, table, owner);
}

}  // namespace profiles

bool QosProfilesXml::parse(std::string& error) {
  const pugi::xml_parse_result result =
      document_.load_buffer(text_.data(), text_.size(), pugi::parse_default, pugi::encoding_utf8);
  if (!result) {
    error = at(result.offset) + result.description();
    return false;
  }
  if (std::string_view(root().name()) != "dds") return fail(root(), "<dds> expected", error);
  return true;
}

bool QosProfilesXml::fail(pugi::xml_node node, const std::string& what, std::string& error) const {
  const std::size_t blank = profiles::is_text(node) ? std::strspn(node.value(), profiles::blank) : 0;
  error = at(node.offset_debug() + static_cast<std::ptrdiff_t>(blank)) + what;
  // A quoted value may have several lines, but the message must have one line.
  for (char& c : error)
    if (static_cast<unsigned char>(c) < ' ') c = ' ';
  return false;
}

bool QosProfilesXml::has_only(pugi::xml_node node, std::initializer_list<std::string_view> attributes,
                              std::string& error) const {
  for (const pugi::xml_attribute attribute : node.attributes()) {
    const std::string_view name = attribute.name();
    const bool of_xml = name.substr(0, 3) == "xml" || name.substr(0, 4) == "xsi:";
    if (!of_xml && std::find(attributes.begin(), attributes.end(), name) == attributes.end())
      return fail(node, "unknown attribute " + std::string(name) + " of " + profiles::tag(node), error);
  }
  return true;
}

bool QosProfilesXml::read_flag(pugi::xml_node node, const char* attribute, bool& value, std::string& error) const {
  const pugi::xml_attribute found = node.attribute(attribute);
  if (!found) return true;
  const profiles::Name* name = profiles::find(found.value(), profiles::booleans);
  if (!name) return fail(node, "\"" + std::string(found.value()) + "\" is no value of " + attribute, error);
  value = name->value != 0;
  return true;
}

template <class Qos>
bool QosProfilesXml::read(pugi::xml_node section, Qos& qos, std::string& error) const {
  return profiles::read_members({*this, error}, section, profiles::Elements<Qos>::table, &qos);
}

template bool QosProfilesXml::read(pugi::xml_node, DDS_DomainParticipantQos&, std::string&) const;
template bool QosProfilesXml::read(pugi::xml_node, DDS_TopicQos&, std::string&) const;
template bool QosProfilesXml::read(pugi::xml_node, DDS_DataWriterQos&, std::string&) const;
template bool QosProfilesXml::read(pugi::xml_node, DDS_DataReaderQos&, std::string&) const;

std::string QosProfilesXml::at(std::ptrdiff_t offset) const {
  const std::size_t end = std::min(static_cast<std::size_t>(std::max<std::ptrdiff_t>(offset, 0)), text_.size());
  const auto line = 1 + std::count(text_.begin(), text_.begin() + static_cast<std::ptrdiff_t>(end), '\n');
  return name_ + ":" + std::to_string(line) + ": ";
}

}  // namespace tessivar::platform
