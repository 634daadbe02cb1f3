// SPDX-License-Identifier: Apache-2.0

// The command types of module Tessivar: devices and the numbered commands that they offer. A number in the comment of a
// string or a sequence is its bound.
#pragma once

#include "tessivar/types/core/core.h"

namespace Tessivar {

// Topic names. The comment names the type of the samples.
constexpr const char* COMMANDS_TOPIC = "Orvel.Tessivar.Commands";    // Command
constexpr const char* METADATA_TOPIC = "Orvel.Tessivar.Metadata";    // CommandMetadata
constexpr const char* INTERESTS_TOPIC = "Orvel.Tessivar.Interests";  // CommandInterest
constexpr const char* UNITS_TOPIC = "Orvel.Tessivar.Units";          // Unit

/// The type of a command's value.
enum CommandType : DDS_Enum { String = 0, Int = 1, Boolean = 2, Float = 3, Event = 4, Preset = 5, IPv4 = 6 };
TESSIVAR_ENUMERATION(CommandType)

enum CommandChangeReplyResult : DDS_Enum { PENDING = 0, COMPLETE = 1, IN_PROGRESS = 2, FAILED = 3 };
TESSIVAR_ENUMERATION(CommandChangeReplyResult)

/// The value of a command. In memory all branches exist side by side. `_d` selects the branch that is valid and that is
/// sent. The union owns its string, whatever `_d` is. An IPv4 address is sent as a number. Events and presets are sent
/// as one octet without meaning.
struct TESSIVAR_API CommandValue {
  CommandType _d = String;
  struct Branches {
    DDS_Long intValue = 0;        // Int, IPv4
    char* stringValue = nullptr;  // String; at most 64 characters
    DDS_Boolean boolValue = DDS_BOOLEAN_FALSE;
    DDS_Float floatValue = 0;
    DDS_Octet unused = 0;  // Event, Preset
  } _u;
};
TESSIVAR_NESTED_TYPE(CommandValue)
/// Returns String.
TESSIVAR_API CommandType CommandValue_getDefaultDiscriminator();

/// The reason why a change was refused.
struct TESSIVAR_API CommandChangeExceptionInfo {
  char* message = nullptr;  // at most 255 characters
};
TESSIVAR_NESTED_TYPE(CommandChangeExceptionInfo)

/// A device on the bus.
struct TESSIVAR_API Unit {
  Guid unitId = nullptr;      // key
  char* name = nullptr;       // 32
  char* type_name = nullptr;  // 32
  DDS_Short type_id = 0;
  char* topologicalName = nullptr;  // 255
  char* location = nullptr;         // 255
  char* notes = nullptr;            // 255
  Address* rcAddress = nullptr;     // optional
  char* host = nullptr;             // 255
  TESSIVAR_TOPIC_CLASSES(Unit)
};
TESSIVAR_TOPIC_TYPE(Unit)

/// The current value of one command of one unit.
struct TESSIVAR_API Command {
  Guid unitId = nullptr;               // key
  DDS_UnsignedLong commandNumber = 0;  // key
  CommandValue value;
  TESSIVAR_TOPIC_CLASSES(Command)
};
TESSIVAR_TOPIC_TYPE(Command)

/// The description of one command.
struct TESSIVAR_API CommandMetadata {
  Guid unitId = nullptr;               // key
  DDS_UnsignedLong commandNumber = 0;  // key
  char* name = nullptr;                // 32
  char* description = nullptr;         // 255
  char* urn = nullptr;                 // 64
  DDS_Boolean enabled = DDS_BOOLEAN_FALSE;
  CommandType type = String;
  Range* validRange = nullptr;    // optional
  CommandValueSeq allowedValues;  // 128
  CommandValue defaultValue;
  TESSIVAR_TOPIC_CLASSES(CommandMetadata)
};
TESSIVAR_TOPIC_TYPE(CommandMetadata)

/// A client's interest in a range of commands of one unit.
struct TESSIVAR_API CommandInterest {
  Guid unitId = nullptr;  // key
  ULRange range;          // key
  TESSIVAR_TOPIC_CLASSES(CommandInterest)
};
TESSIVAR_TOPIC_TYPE(CommandInterest)

/// Asks a unit to change a command's value.
struct TESSIVAR_API CommandChangeRequest {
  ReqReplyGuid changeguid;  // key
  DDS_UnsignedShort ticketId = 0;
  Command newValue;
  PtpTime executionTime;
  TESSIVAR_TOPIC_CLASSES(CommandChangeRequest)
};
TESSIVAR_TOPIC_TYPE(CommandChangeRequest)

/// The reply to one request.
struct TESSIVAR_API CommandChangeReply {
  ReqReplyGuid changeguid;  // key
  DDS_UnsignedShort ticketId = 0;
  CommandChangeReplyResult result = PENDING;
  CommandChangeExceptionInfo* ex = nullptr;  // optional
  TESSIVAR_TOPIC_CLASSES(CommandChangeReply)
};
TESSIVAR_TOPIC_TYPE(CommandChangeReply)

}  // namespace Tessivar
