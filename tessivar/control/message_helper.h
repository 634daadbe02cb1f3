// SPDX-License-Identifier: Apache-2.0

// Building the samples that devices and controllers exchange.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/command/command.h"

namespace TessivarDDS {

/// Makes samples with their identifying fields filled and the bounds of their strings checked.
///
/// The caller owns what is returned: give it to a DDSPtr, or delete it with the type support's delete_data. A failure
/// logs one line and returns null. Members not named keep their initial values. Thread-safe; never blocks.
class TESSIVAR_API TessivarMessageHelper {
 public:
  TessivarMessageHelper& operator=(const TessivarMessageHelper&) { return *this; }

  // A command's value. Command numbers are 0 to 4294967295.

  static Tessivar::Command* createCommand(const AddressEx& address, unsigned long commandNumber, int value);
  /// The value travels as a 32-bit float; one out of its range becomes infinite.
  static Tessivar::Command* createCommand(const AddressEx& address, unsigned long commandNumber, double value);
  /// `value`: at most 64 characters; null is refused.
  static Tessivar::Command* createCommand(const AddressEx& address, unsigned long commandNumber, const char* value);
  static Tessivar::Command* createCommand(const AddressEx& address, unsigned long commandNumber, bool value);
  static Tessivar::Command* createEventCommand(const AddressEx& address, unsigned long commandNumber);
  static Tessivar::Command* createPresetCommand(const AddressEx& address, unsigned long commandNumber);

  /// What describes a command; fill in the name, type, range and so on.
  static Tessivar::CommandMetadata* createMetadata(const AddressEx& address, unsigned int commandNumber);

  /// The answer to `request`, which must not be null. `text` says why (null: nothing to say); more than 255 characters
  /// are cut, with a warning.
  static Tessivar::CommandChangeReply* createReply(const Tessivar::CommandChangeRequest* request,
                                                   Tessivar::CommandChangeReplyResult result, const char* text);

  /// `name`: at most 32 characters; null is refused.
  static Tessivar::Unit* createUnit(const AddressEx& address, const char* name);

 private:
  static Tessivar::Command* createCommand(const AddressEx& address, unsigned long commandNumber);
};

}  // namespace TessivarDDS
