// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/print.h"

#include <cinttypes>
#include <cstdio>

namespace tessivar::platform {
namespace {

constexpr unsigned blanks_a_level = 3;

}  // namespace

void Printer::heading(const char* description, unsigned indent) {
  text_.append(std::size_t{indent} * blanks_a_level, ' ');
  if (description) text_.append(description).append(":");
  text_ += '\n';
}

void Printer::line(const char* description, unsigned indent, const char* value) {
  text_.append(std::size_t{indent} * blanks_a_level, ' ');
  if (description && *description) text_.append(description).append(": ");
  text_.append(value).append("\n");
}

template <class Number>
void Printer::formatted(const char* format, Number number, const char* description, unsigned indent) {
  char text[64];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::snprintf(text, sizeof text, format, number);
#pragma GCC diagnostic pop
  line(description, indent, text);
}

void Printer::value(DDS_Short number, const char* description, unsigned indent) {
  formatted("%d", number, description, indent);
}
void Printer::value(DDS_UnsignedShort number, const char* description, unsigned indent) {
  formatted("%u", number, description, indent);
}
void Printer::value(DDS_Long number, const char* description, unsigned indent) {
  formatted("%" PRId32, number, description, indent);
}
void Printer::value(DDS_UnsignedLong number, const char* description, unsigned indent) {
  formatted("%" PRIu32, number, description, indent);
}
void Printer::value(DDS_LongLong number, const char* description, unsigned indent) {
  formatted("%" PRId64, number, description, indent);
}
void Printer::value(DDS_UnsignedLongLong number, const char* description, unsigned indent) {
  formatted("%" PRIu64, number, description, indent);
}
void Printer::value(DDS_Float number, const char* description, unsigned indent) {
  formatted("%.9g", static_cast<double>(number), description, indent);
}
void Printer::octet(DDS_Octet value, const char* description, unsigned indent) {
  formatted("0x%02x", value, description, indent);
}
void Printer::boolean(DDS_Boolean value, const char* description, unsigned indent) {
  line(description, indent, value ? "true" : "false");
}

void Printer::string(const char* value, const char* description, unsigned indent) {
  if (!value) return line(description, indent, "NULL");
  line(description, indent, ('"' + std::string(value) + '"').c_str());
}

void Printer::enumerator(DDS_Long value, const char* name, const char* description, unsigned indent) {
  std::string text = std::to_string(value);
  if (name) text.append(" (").append(name).append(")");
  line(description, indent, text.c_str());
}

void Printer::flush() {
  std::fwrite(text_.data(), 1, text_.size(), stdout);
  std::fflush(stdout);
  text_.clear();
}

}  // namespace tessivar::platform
