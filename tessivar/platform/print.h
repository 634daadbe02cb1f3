// SPDX-License-Identifier: Apache-2.0

// The debug printer of samples. It writes one line for each value and indents each level by three blanks.
#pragma once

#include "tessivar/platform/base.h"

#include <string>

namespace tessivar::platform {

/// Collects the text of a sample. Every description may be null. The line of a value is "description: value", or only
/// the value if the description is empty or null.
class TESSIVAR_API Printer {
 public:
  /// Adds a line with "description:", or an empty line if the description is null.
  void heading(const char* description, unsigned indent);
  /// Adds the line for a missing sample or a missing optional member.
  void null() { text_ += "NULL\n"; }

  void value(DDS_Short number, const char* description, unsigned indent);
  void value(DDS_UnsignedShort number, const char* description, unsigned indent);
  void value(DDS_Long number, const char* description, unsigned indent);
  void value(DDS_UnsignedLong number, const char* description, unsigned indent);
  void value(DDS_LongLong number, const char* description, unsigned indent);
  void value(DDS_UnsignedLongLong number, const char* description, unsigned indent);
  void value(DDS_Float number, const char* description, unsigned indent);
  void octet(DDS_Octet value, const char* description, unsigned indent);
  void boolean(DDS_Boolean value, const char* description, unsigned indent);
  void string(const char* value, const char* description, unsigned indent);
  /// Adds "description: 1 (Int)", or only the number if `name` is null.
  void enumerator(DDS_Long value, const char* name, const char* description, unsigned indent);

  const std::string& text() const { return text_; }
  /// Writes the collected text to standard output and clears it.
  void flush();

 private:
  void line(const char* description, unsigned indent, const char* value);
  template <class Number>
  TESSIVAR_INTERNAL void formatted(const char* format, Number number, const char* description, unsigned indent);
  std::string text_;
};

}  // namespace tessivar::platform
