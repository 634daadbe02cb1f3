// SPDX-License-Identifier: Apache-2.0

#include "tessivar/control/message_helper.h"

#include "tessivar/control/internal/addressed_sample.h"
#include "tessivar/framework/log/logger.h"

#include <cstdint>
#include <cstring>
#include <string>

namespace TessivarDDS {
namespace {

constexpr std::size_t max_unit_name = 32;
constexpr std::size_t max_string_value = 64;
constexpr std::size_t max_reply_text = 255;

}  // namespace

Tessivar::Command* TessivarMessageHelper::createCommand(const AddressEx& address, unsigned long commandNumber) {
  constexpr const char* signature =
      "class Tessivar::Command *__cdecl TessivarDDS::TessivarMessageHelper::createCommand("
      "const class TessivarDDS::AddressEx &,unsigned long)";
  if (commandNumber > UINT32_MAX) {
    logError() << signature << "Command number out of range: " << commandNumber;
    return nullptr;
  }
  Tessivar::Command* command = createAddressed<Tessivar::CommandTypeSupport>(signature, address);
  if (command) command->commandNumber = static_cast<DDS_UnsignedLong>(commandNumber);
  return command;
}

Tessivar::Command* TessivarMessageHelper::createCommand(const AddressEx& address, unsigned long commandNumber,
                                                        int value) {
  Tessivar::Command* command = createCommand(address, commandNumber);
  if (command) {
    command->value._d = Tessivar::Int;
    command->value._u.intValue = value;
  }
  return command;
}

Tessivar::Command* TessivarMessageHelper::createCommand(const AddressEx& address, unsigned long commandNumber,
                                                        double value) {
  Tessivar::Command* command = createCommand(address, commandNumber);
  if (command) {
    command->value._d = Tessivar::Float;
    command->value._u.floatValue = static_cast<float>(value);
  }
  return command;
}

Tessivar::Command* TessivarMessageHelper::createCommand(const AddressEx& address, unsigned long commandNumber,
                                                        const char* value) {
  constexpr const char* signature =
      "class Tessivar::Command *__cdecl TessivarDDS::TessivarMessageHelper::createCommand("
      "const class TessivarDDS::AddressEx &,unsigned long,const char *)";
  if (!value) {
    logError() << signature << "Invalid argument";
    return nullptr;
  }
  const std::size_t length = std::strlen(value);
  if (length > max_string_value) {
    logError() << signature << "String value too long.";
    return nullptr;
  }
  Tessivar::Command* command = createCommand(address, commandNumber);
  if (command) {
    command->value._d = Tessivar::String;
    std::memcpy(command->value._u.stringValue, value, length + 1);
  }
  return command;
}

Tessivar::Command* TessivarMessageHelper::createCommand(const AddressEx& address, unsigned long commandNumber,
                                                        bool value) {
  Tessivar::Command* command = createCommand(address, commandNumber);
  if (command) {
    command->value._d = Tessivar::Boolean;
    command->value._u.boolValue = value;
  }
  return command;
}

Tessivar::Command* TessivarMessageHelper::createEventCommand(const AddressEx& address, unsigned long commandNumber) {
  Tessivar::Command* command = createCommand(address, commandNumber);
  if (command) command->value._d = Tessivar::Event;
  return command;
}

Tessivar::Command* TessivarMessageHelper::createPresetCommand(const AddressEx& address, unsigned long commandNumber) {
  Tessivar::Command* command = createCommand(address, commandNumber);
  if (command) command->value._d = Tessivar::Preset;
  return command;
}

Tessivar::CommandMetadata* TessivarMessageHelper::createMetadata(const AddressEx& address, unsigned int commandNumber) {
  Tessivar::CommandMetadata* metadata = createAddressed<Tessivar::CommandMetadataTypeSupport>(
      "class Tessivar::CommandMetadata *__cdecl TessivarDDS::TessivarMessageHelper::createMetadata("
      "const class TessivarDDS::AddressEx &,unsigned int)",
      address);
  if (metadata) metadata->commandNumber = commandNumber;
  return metadata;
}

Tessivar::CommandChangeReply* TessivarMessageHelper::createReply(const Tessivar::CommandChangeRequest* request,
                                                                 Tessivar::CommandChangeReplyResult result,
                                                                 const char* text) {
  constexpr const char* signature =
      "class Tessivar::CommandChangeReply *__cdecl TessivarDDS::TessivarMessageHelper::createReply("
      "const class Tessivar::CommandChangeRequest *,enum Tessivar::CommandChangeReplyResult,const char *)";
  using Support = Tessivar::CommandChangeReplyTypeSupport;
  Tessivar::CommandChangeReply* reply = request ? Support::create_data() : nullptr;
  if (!reply) {
    logError() << signature << (request ? "Failed to create data" : "Invalid argument");
    return nullptr;
  }
  reply->ticketId = request->ticketId;
  reply->result = result;
  bool complete = Tessivar::ReqReplyGuid_copy(&reply->changeguid, &request->changeguid) != 0;
  if (complete && text) {
    std::size_t length = std::strlen(text);
    if (length > max_reply_text) {
      logWarning() << signature << "Exception info string length exceeded.";
      length = max_reply_text;
    }
    reply->ex = Tessivar::CommandChangeExceptionInfoPluginSupport_create_data();
    complete = reply->ex != nullptr;
    if (complete) {
      std::memcpy(reply->ex->message, text, length);
      reply->ex->message[length] = '\0';
    }
  }
  if (!complete) {
    logError() << signature << "Failed to create data";
    Support::delete_data(reply);
    return nullptr;
  }
  return reply;
}

Tessivar::Unit* TessivarMessageHelper::createUnit(const AddressEx& address, const char* name) {
  constexpr const char* signature =
      "class Tessivar::Unit *__cdecl TessivarDDS::TessivarMessageHelper::createUnit("
      "const class TessivarDDS::AddressEx &,const char *)";
  if (!name) {
    logError() << signature << "Invalid argument";
    return nullptr;
  }
  const std::size_t length = std::strlen(name);
  if (length > max_unit_name) {
    logError() << signature << "Unit name string too long";
    return nullptr;
  }
  Tessivar::Unit* unit = createAddressed<Tessivar::UnitTypeSupport>(signature, address);
  if (unit) std::memcpy(unit->name, name, length + 1);
  return unit;
}

}  // namespace TessivarDDS
