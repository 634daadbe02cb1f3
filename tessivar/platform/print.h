// SPDX-License-Identifier: Apache-2.0

// The debug printer of samples: one line a value, three blanks a level.
#pragma once

#include "tessivar/platform/base.h"

#include <string>

namespace tessivar::platform {

/// Collects text. Any description may be null; a value line is "description: value", or the value alone when the
/// description is empty or null.
class TESSIVAR_API Printer {
 public:
  /// "description:" on a line of its own, or an empty line without one.
  void heading(const char* description, unsigned indent);
  /// What stands for a sample or optional member that is not there.
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
  /// "description: 1 (Int)"; without a name for the value the number alone.
  void enumerator(DDS_Long value, const char* name, const char* description, unsigned indent);

  const std::string& text() const { return text_; }
  /// To standard output.
  void flush();

 private:
  void line(const char* description, unsigned indent, const char* value);
  template <class Number>
  TESSIVAR_INTERNAL void formatted(const char* format, Number number, const char* description, unsigned indent);
  std::string text_;
};

}  // namespace tessivar::platform
