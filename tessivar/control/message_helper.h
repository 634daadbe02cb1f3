// SPDX-License-Identifier: Apache-2.0

// Functions that make the samples of devices and controllers.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/command/command.h"

namespace TessivarDDS {

/// Makes samples. Sets the key members, and checks the bounds of strings.
///
/// The caller owns the result: give it to a DDSPtr, or delete it with the type support's delete_data. A failure logs
/// one line and returns null. Other members keep their initial values. Thread-safe; never blocks.
class TESSIVAR_API TessivarMessageHelper {
 public:
  TessivarMessageHelper& operator=(const TessivarMessageHelper&) { return *this; }

  // Commands with a value. Command numbers are 0 to 4294967295.

  static Tessivar::Command* createCommand(const AddressEx& address, unsigned long commandNumber, int value);
  /// The value is sent as a 32-bit float; a value out of its range becomes infinite.
  static Tessivar::Command* createCommand(const AddressEx& address, unsigned long commandNumber, double value);
  /// `value`: at most 64 characters; null is refused.
  static Tessivar::Command* createCommand(const AddressEx& address, unsigned long commandNumber, const char* value);
  static Tessivar::Command* createCommand(const AddressEx& address, unsigned long commandNumber, bool value);
  static Tessivar::Command* createEventCommand(const AddressEx& address, unsigned long commandNumber);
  static Tessivar::Command* createPresetCommand(const AddressEx& address, unsigned long commandNumber);

  /// The metadata of a command. The caller sets the name, type, range and other members.
  static Tessivar::CommandMetadata* createMetadata(const AddressEx& address, unsigned int commandNumber);

  /// The reply to `request`, which must not be null. `text` is the reason, or null. A text of more than 255 characters
  /// is cut, with a warning.
  static Tessivar::CommandChangeReply* createReply(const Tessivar::CommandChangeRequest* request,
                                                   Tessivar::CommandChangeReplyResult result, const char* text);

  /// `name`: at most 32 characters; null is refused.
  static Tessivar::Unit* createUnit(const AddressEx& address, const char* name);

 private:
  static Tessivar::Command* createCommand(const AddressEx& address, unsigned long commandNumber);
};

}  // namespace TessivarDDS
