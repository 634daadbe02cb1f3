// SPDX-License-Identifier: Apache-2.0

// The tables of the logging types. Each table states the name, the members and the bounds of one type.
#pragma once

#include "tessivar/types/core/detail/core_tables.h"
#include "tessivar/types/logging/logging.h"

namespace tessivar::types {

template <>
struct Table<Tessivar_Logging::MaskType>
    : EnumerationTable<"Tessivar_Logging::MaskType", "None", "UntilGreen", "Timed", "UntilChanged", "Fixed"> {};

template <>
struct Table<Tessivar_Logging::MaskReplyResult>
    : EnumerationTable<"Tessivar_Logging::MaskReplyResult", "PENDING", "COMPLETE", "FAILED"> {};

template <>
struct Table<Tessivar_Logging::LogMessage>
    : Final<"Tessivar_Logging::LogMessage",  //
            Key<"address", &Tessivar_Logging::LogMessage::address, GuidKind>,
            Key<"header", &Tessivar_Logging::LogMessage::header, String<100>>,
            Member<"value", &Tessivar_Logging::LogMessage::value, String<1024>>,
            Member<"source_timestamp", &Tessivar_Logging::LogMessage::source_timestamp, Structure<Tessivar::PtpTime>>> {
};

template <>
struct Table<Tessivar_Logging::LogMessage2>
    : Final<
          "Tessivar_Logging::LogMessage2",  //
          Member<"address", &Tessivar_Logging::LogMessage2::address, GuidKind>,
          Member<"header", &Tessivar_Logging::LogMessage2::header, String<100>>,
          Member<"value", &Tessivar_Logging::LogMessage2::value, String<1024>>,
          Member<"source_timestamp", &Tessivar_Logging::LogMessage2::source_timestamp, Structure<Tessivar::PtpTime>>> {
};

template <>
struct Table<Tessivar_Logging::LogMessage2Request>
    : Final<"Tessivar_Logging::LogMessage2Request",  //
            Key<"changeguid", &Tessivar_Logging::LogMessage2Request::changeguid, ReqReplyGuidKind>,
            Member<"ticketId", &Tessivar_Logging::LogMessage2Request::ticketId, UShort>,
            Member<"addresses", &Tessivar_Logging::LogMessage2Request::addresses,
                   Sequence<GuidKind, 1024, Tessivar::GuidSeq>>> {};

template <>
struct Table<Tessivar_Logging::LogMessage2Reply>
    : Final<"Tessivar_Logging::LogMessage2Reply",  //
            Key<"changeguid", &Tessivar_Logging::LogMessage2Reply::changeguid, ReqReplyGuidKind>,
            Member<"ticketId", &Tessivar_Logging::LogMessage2Reply::ticketId, UShort>,
            Member<"finished", &Tessivar_Logging::LogMessage2Reply::finished, Boolean>,
            Member<"messages", &Tessivar_Logging::LogMessage2Reply::messages,
                   Sequence<Structure<Tessivar_Logging::LogMessage2>, 20, Tessivar_Logging::LogMessage2Seq>>> {};

template <>
struct Table<Tessivar_Logging::LatchedErrorInfo>
    : Final<"Tessivar_Logging::LatchedErrorInfo",  //
            Member<"timestamp", &Tessivar_Logging::LatchedErrorInfo::timestamp, String<21>>,
            Member<"state", &Tessivar_Logging::LatchedErrorInfo::state, Short>,
            Member<"value", &Tessivar_Logging::LatchedErrorInfo::value, String<1024>>,
            Member<"acked", &Tessivar_Logging::LatchedErrorInfo::acked, Boolean>,
            Member<"acked_by", &Tessivar_Logging::LatchedErrorInfo::acked_by, String<64>>,
            Member<"acked_timestamp", &Tessivar_Logging::LatchedErrorInfo::acked_timestamp, String<21>>,
            Member<"duration", &Tessivar_Logging::LatchedErrorInfo::duration, ULong>> {};

template <>
struct Table<Tessivar_Logging::LogMessageEx>
    : Final<"Tessivar_Logging::LogMessageEx",  //
            Key<"address", &Tessivar_Logging::LogMessageEx::address, GuidKind>,
            Key<"header", &Tessivar_Logging::LogMessageEx::header, String<100>>,
            Member<"value", &Tessivar_Logging::LogMessageEx::value, String<1024>>,
            Member<"state", &Tessivar_Logging::LogMessageEx::state, Short>,
            Member<"unmasked_state", &Tessivar_Logging::LogMessageEx::unmasked_state, Short>,
            Member<"latched_errors", &Tessivar_Logging::LogMessageEx::latched_errors,
                   Sequence<Structure<Tessivar_Logging::LatchedErrorInfo>, 5, Tessivar_Logging::LatchedErrorInfoSeq>>,
            Member<"is_masked", &Tessivar_Logging::LogMessageEx::is_masked, Boolean>> {};

template <>
struct Table<Tessivar_Logging::MaskInfo>
    : Final<"Tessivar_Logging::MaskInfo",  //
            Member<"mask_type", &Tessivar_Logging::MaskInfo::mask_type, Enumeration<Tessivar_Logging::MaskType>>,
            Member<"tag", &Tessivar_Logging::MaskInfo::tag, String<32>>,
            Member<"masked_by", &Tessivar_Logging::MaskInfo::masked_by, String<64>>,
            Member<"masked_on", &Tessivar_Logging::MaskInfo::masked_on, String<21>>,
            Member<"mask_expires", &Tessivar_Logging::MaskInfo::mask_expires, String<21>>> {};

template <>
struct Table<Tessivar_Logging::LogMessageEx2>
    : Mutable<"Tessivar_Logging::LogMessageEx2",  //
              Member<"address", &Tessivar_Logging::LogMessageEx2::address, GuidKind>,
              Member<"header", &Tessivar_Logging::LogMessageEx2::header, String<100>>,
              Member<"value", &Tessivar_Logging::LogMessageEx2::value, String<1024>>,
              Member<"state", &Tessivar_Logging::LogMessageEx2::state, Short>,
              Member<"unmasked_state", &Tessivar_Logging::LogMessageEx2::unmasked_state, Short>,
              Member<"latched_errors", &Tessivar_Logging::LogMessageEx2::latched_errors,
                     Sequence<Structure<Tessivar_Logging::LatchedErrorInfo>, 5, Tessivar_Logging::LatchedErrorInfoSeq>>,
              Member<"is_masked", &Tessivar_Logging::LogMessageEx2::is_masked, Boolean>,
              Member<"mask_info", &Tessivar_Logging::LogMessageEx2::mask_info,
                     Sequence<Structure<Tessivar_Logging::MaskInfo>, 10, Tessivar_Logging::MaskInfoSeq>>,
              Member<"title", &Tessivar_Logging::LogMessageEx2::title, String<100>>,
              Member<"path", &Tessivar_Logging::LogMessageEx2::path, String<255>>> {};

template <>
struct Table<Tessivar_Logging::LogMessageEx2Request>
    : Final<"Tessivar_Logging::LogMessageEx2Request",  //
            Key<"changeguid", &Tessivar_Logging::LogMessageEx2Request::changeguid, ReqReplyGuidKind>,
            Member<"ticketId", &Tessivar_Logging::LogMessageEx2Request::ticketId, UShort>> {};

template <>
struct Table<Tessivar_Logging::LogMessageEx2Reply>
    : Final<"Tessivar_Logging::LogMessageEx2Reply",  //
            Key<"changeguid", &Tessivar_Logging::LogMessageEx2Reply::changeguid, ReqReplyGuidKind>,
            Member<"ticketId", &Tessivar_Logging::LogMessageEx2Reply::ticketId, UShort>,
            Member<"index", &Tessivar_Logging::LogMessageEx2Reply::index, ULong>,
            Member<"finished", &Tessivar_Logging::LogMessageEx2Reply::finished, Boolean>,
            Member<"message", &Tessivar_Logging::LogMessageEx2Reply::message,
                   Structure<Tessivar_Logging::LogMessageEx2>>> {};

template <>
struct Table<Tessivar_Logging::LogUnit>
    : Final<"Tessivar_Logging::LogUnit",  //
            Key<"address", &Tessivar_Logging::LogUnit::address, GuidKind>,
            Key<"source_address", &Tessivar_Logging::LogUnit::source_address, GuidKind>,
            Member<"name", &Tessivar_Logging::LogUnit::name, String<64>>,
            Member<"msg", &Tessivar_Logging::LogUnit::msg, String<1024>>,
            Member<"unit_type", &Tessivar_Logging::LogUnit::unit_type, UShort>> {};

template <>
struct Table<Tessivar_Logging::UnitMask>
    : Final<"Tessivar_Logging::UnitMask",  //
            Key<"address", &Tessivar_Logging::UnitMask::address, GuidKind>,
            Key<"tag", &Tessivar_Logging::UnitMask::tag, String<32>>,
            Member<"mask_type", &Tessivar_Logging::UnitMask::mask_type, Enumeration<Tessivar_Logging::MaskType>>,
            Member<"masked_by", &Tessivar_Logging::UnitMask::masked_by, String<64>>,
            Member<"masked_on", &Tessivar_Logging::UnitMask::masked_on, String<21>>,
            Member<"mask_expires", &Tessivar_Logging::UnitMask::mask_expires, String<21>>> {};

template <>
struct Table<Tessivar_Logging::UnitMaskRequest>
    : Final<"Tessivar_Logging::UnitMaskRequest",  //
            Key<"changeguid", &Tessivar_Logging::UnitMaskRequest::changeguid, ReqReplyGuidKind>,
            Member<"ticketId", &Tessivar_Logging::UnitMaskRequest::ticketId, UShort>,
            Member<"newValue", &Tessivar_Logging::UnitMaskRequest::newValue, Structure<Tessivar_Logging::UnitMask>>> {};

template <>
struct Table<Tessivar_Logging::HeaderMask>
    : Final<"Tessivar_Logging::HeaderMask",  //
            Key<"address", &Tessivar_Logging::HeaderMask::address, GuidKind>,
            Key<"tag", &Tessivar_Logging::HeaderMask::tag, String<32>>,
            Key<"header", &Tessivar_Logging::HeaderMask::header, String<100>>,
            Member<"mask_type", &Tessivar_Logging::HeaderMask::mask_type, Enumeration<Tessivar_Logging::MaskType>>,
            Member<"masked_by", &Tessivar_Logging::HeaderMask::masked_by, String<64>>,
            Member<"masked_on", &Tessivar_Logging::HeaderMask::masked_on, String<21>>,
            Member<"mask_expires", &Tessivar_Logging::HeaderMask::mask_expires, String<21>>> {};

template <>
struct Table<Tessivar_Logging::HeaderMaskRequest>
    : Final<
          "Tessivar_Logging::HeaderMaskRequest",  //
          Key<"changeguid", &Tessivar_Logging::HeaderMaskRequest::changeguid, ReqReplyGuidKind>,
          Member<"ticketId", &Tessivar_Logging::HeaderMaskRequest::ticketId, UShort>,
          Member<"newValue", &Tessivar_Logging::HeaderMaskRequest::newValue, Structure<Tessivar_Logging::HeaderMask>>> {
};

template <>
struct Table<Tessivar_Logging::MaskReply>
    : Final<"Tessivar_Logging::MaskReply",  //
            Key<"changeguid", &Tessivar_Logging::MaskReply::changeguid, ReqReplyGuidKind>,
            Member<"ticketId", &Tessivar_Logging::MaskReply::ticketId, UShort>,
            Member<"result", &Tessivar_Logging::MaskReply::result, Enumeration<Tessivar_Logging::MaskReplyResult>>> {};

template <>
struct Table<Tessivar_Logging::AlarmAck>
    : Final<"Tessivar_Logging::AlarmAck",  //
            Key<"address", &Tessivar_Logging::AlarmAck::address, GuidKind>,
            Key<"header", &Tessivar_Logging::AlarmAck::header, String<100>>,
            Member<"alarm_timestamp", &Tessivar_Logging::AlarmAck::alarm_timestamp, String<21>>,
            Member<"acked_by", &Tessivar_Logging::AlarmAck::acked_by, String<64>>,
            Member<"is_ack", &Tessivar_Logging::AlarmAck::is_ack, Boolean>,
            Member<"auth_token", &Tessivar_Logging::AlarmAck::auth_token, Sequence<Octet, 64, DDS_OctetSeq>>> {};

}  // namespace tessivar::types
