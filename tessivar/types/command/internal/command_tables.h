// SPDX-License-Identifier: Apache-2.0

// The tables of the command types. Each table states the name, the members and the bounds of one type.
#pragma once

#include "tessivar/types/command/command.h"
#include "tessivar/types/core/detail/core_tables.h"

namespace tessivar::types {

template <>
struct Table<Tessivar::CommandType>
    : EnumerationTable<"Tessivar::CommandType", "String", "Int", "Boolean", "Float", "Event", "Preset", "IPv4"> {};

template <>
struct Table<Tessivar::CommandChangeReplyResult>
    : EnumerationTable<"Tessivar::CommandChangeReplyResult", "PENDING", "COMPLETE", "IN_PROGRESS", "FAILED"> {};

template <>
struct Table<Tessivar::CommandValue>
    : UnionTable<
          "Tessivar::CommandValue", Enumeration<Tessivar::CommandType>,
          Branch<"intValue", &Tessivar::CommandValue::Branches::intValue, Long, Tessivar::Int, Tessivar::IPv4>,
          Branch<"stringValue", &Tessivar::CommandValue::Branches::stringValue, String<64>, Tessivar::String>,
          Branch<"boolValue", &Tessivar::CommandValue::Branches::boolValue, Boolean, Tessivar::Boolean>,
          Branch<"floatValue", &Tessivar::CommandValue::Branches::floatValue, Float, Tessivar::Float>,
          Branch<"unused", &Tessivar::CommandValue::Branches::unused, Octet, Tessivar::Event, Tessivar::Preset>> {};

template <>
struct Table<Tessivar::CommandChangeExceptionInfo>
    : Final<"Tessivar::CommandChangeExceptionInfo",
            Member<"message", &Tessivar::CommandChangeExceptionInfo::message, String<255>>> {};

template <>
struct Table<Tessivar::Unit>
    : Final<"Tessivar::Unit",  //
            Key<"unitId", &Tessivar::Unit::unitId, GuidKind>, Member<"name", &Tessivar::Unit::name, String<32>>,
            Member<"type_name", &Tessivar::Unit::type_name, String<32>>,
            Member<"type_id", &Tessivar::Unit::type_id, Short>,
            Member<"topologicalName", &Tessivar::Unit::topologicalName, String<255>>,
            Member<"location", &Tessivar::Unit::location, String<255>>,
            Member<"notes", &Tessivar::Unit::notes, String<255>>,
            Member<"rcAddress", &Tessivar::Unit::rcAddress, Optional<Structure<Tessivar::Address>>>,
            Member<"host", &Tessivar::Unit::host, String<255>>> {};

template <>
struct Table<Tessivar::Command> : Final<"Tessivar::Command",  //
                                        Key<"unitId", &Tessivar::Command::unitId, GuidKind>,
                                        Key<"commandNumber", &Tessivar::Command::commandNumber, ULong>,
                                        Member<"value", &Tessivar::Command::value, Union<Tessivar::CommandValue>>> {};

template <>
struct Table<Tessivar::CommandMetadata>
    : Final<"Tessivar::CommandMetadata",  //
            Key<"unitId", &Tessivar::CommandMetadata::unitId, GuidKind>,
            Key<"commandNumber", &Tessivar::CommandMetadata::commandNumber, ULong>,
            Member<"name", &Tessivar::CommandMetadata::name, String<32>>,
            Member<"description", &Tessivar::CommandMetadata::description, String<255>>,
            Member<"urn", &Tessivar::CommandMetadata::urn, String<64>>,
            Member<"enabled", &Tessivar::CommandMetadata::enabled, Boolean>,
            Member<"type", &Tessivar::CommandMetadata::type, Enumeration<Tessivar::CommandType>>,
            Member<"validRange", &Tessivar::CommandMetadata::validRange, Optional<Structure<Tessivar::Range>>>,
            Member<"allowedValues", &Tessivar::CommandMetadata::allowedValues,
                   Sequence<Union<Tessivar::CommandValue>, 128, Tessivar::CommandValueSeq>>,
            Member<"defaultValue", &Tessivar::CommandMetadata::defaultValue, Union<Tessivar::CommandValue>>> {};

template <>
struct Table<Tessivar::CommandInterest>
    : Final<"Tessivar::CommandInterest",  //
            Key<"unitId", &Tessivar::CommandInterest::unitId, GuidKind>,
            Key<"range", &Tessivar::CommandInterest::range, Structure<Tessivar::ULRange>>> {};

template <>
struct Table<Tessivar::CommandChangeRequest>
    : Final<"Tessivar::CommandChangeRequest",  //
            Key<"changeguid", &Tessivar::CommandChangeRequest::changeguid, ReqReplyGuidKind>,
            Member<"ticketId", &Tessivar::CommandChangeRequest::ticketId, UShort>,
            Member<"newValue", &Tessivar::CommandChangeRequest::newValue, Structure<Tessivar::Command>>,
            Member<"executionTime", &Tessivar::CommandChangeRequest::executionTime, Structure<Tessivar::PtpTime>>> {};

template <>
struct Table<Tessivar::CommandChangeReply>
    : Final<
          "Tessivar::CommandChangeReply",  //
          Key<"changeguid", &Tessivar::CommandChangeReply::changeguid, ReqReplyGuidKind>,
          Member<"ticketId", &Tessivar::CommandChangeReply::ticketId, UShort>,
          Member<"result", &Tessivar::CommandChangeReply::result, Enumeration<Tessivar::CommandChangeReplyResult>>,
          Member<"ex", &Tessivar::CommandChangeReply::ex, Optional<Structure<Tessivar::CommandChangeExceptionInfo>>>> {
};

}  // namespace tessivar::types
