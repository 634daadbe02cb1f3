// SPDX-License-Identifier: Apache-2.0

// The logging types of module Tessivar_Logging: messages, alarms, masks and acknowledgements.
//
// A number in the comment of a string or a sequence is its bound.
#pragma once

#include "tessivar/types/core/core.h"

namespace Tessivar_Logging {

// Topic names. The comment names the type of the samples.
constexpr const char* LOGGING_TOPIC = "Orvel.Tessivar.Logging";                           // LogMessage
constexpr const char* LOGGING2_TOPIC = "Orvel.Tessivar.Logging2";                         // LogMessage2
constexpr const char* LOGGING_UNITS_TOPIC = "Orvel.Tessivar.Logging.Units";               // LogUnit
constexpr const char* LOGGING_UNIT_MASKS_TOPIC = "Orvel.Tessivar.Logging.UnitMasks";      // UnitMask
constexpr const char* LOGGING_HEADER_MASKS_TOPIC = "Orvel.Tessivar.Logging.HeaderMasks";  // HeaderMask
constexpr const char* LOGGING_EX_TOPIC = "Orvel.Tessivar.LoggingEx";                      // LogMessageEx
constexpr const char* LOGGING_EX2_TOPIC = "Vey.Tessivar.LoggingEx2";                      // LogMessageEx2
constexpr const char* LOGGING_ACKS_TOPIC = "Orvel.Tessivar.Logging.Acks";                 // AlarmAck

/// How long a mask suppresses an alarm.
enum MaskType : DDS_Enum { None = 0, UntilGreen = 1, Timed = 2, UntilChanged = 3, Fixed = 4 };
TESSIVAR_ENUMERATION(MaskType)

/// The result of a mask request. It differs from the results of the other modules: it has no IN_PROGRESS, and FAILED is
/// 2.
enum MaskReplyResult : DDS_Enum { PENDING = 0, COMPLETE = 1, FAILED = 2 };
TESSIVAR_ENUMERATION(MaskReplyResult)

/// The current message of one header of one unit.
struct TESSIVAR_API LogMessage {
  Tessivar::Guid address = nullptr;  // key
  char* header = nullptr;            // key, 100
  char* value = nullptr;             // 1024
  Tessivar::PtpTime source_timestamp;
  TESSIVAR_TOPIC_CLASSES(LogMessage)
};
TESSIVAR_TOPIC_TYPE(LogMessage)

/// The same members as LogMessage, but without key: each sample is a separate message.
struct TESSIVAR_API LogMessage2 {
  Tessivar::Guid address = nullptr;
  char* header = nullptr;  // 100
  char* value = nullptr;   // 1024
  Tessivar::PtpTime source_timestamp;
  TESSIVAR_TOPIC_CLASSES(LogMessage2)
};
TESSIVAR_KEYLESS_TOPIC_TYPE(LogMessage2)

/// Requests the stored messages of units.
struct TESSIVAR_API LogMessage2Request {
  Tessivar::ReqReplyGuid changeguid;  // key
  DDS_UnsignedShort ticketId = 0;
  Tessivar::GuidSeq addresses;  // 1024
  TESSIVAR_TOPIC_CLASSES(LogMessage2Request)
};
TESSIVAR_TOPIC_TYPE(LogMessage2Request)

/// A part of the requested messages.
struct TESSIVAR_API LogMessage2Reply {
  Tessivar::ReqReplyGuid changeguid;  // key
  DDS_UnsignedShort ticketId = 0;
  DDS_Boolean finished = DDS_BOOLEAN_FALSE;
  LogMessage2Seq messages;  // 20
  TESSIVAR_TOPIC_CLASSES(LogMessage2Reply)
};
TESSIVAR_TOPIC_TYPE(LogMessage2Reply)

/// An error that remains until it is acknowledged. Times are text.
struct TESSIVAR_API LatchedErrorInfo {
  char* timestamp = nullptr;  // 21
  DDS_Short state = 0;
  char* value = nullptr;  // 1024
  DDS_Boolean acked = DDS_BOOLEAN_FALSE;
  char* acked_by = nullptr;         // 64
  char* acked_timestamp = nullptr;  // 21
  DDS_UnsignedLong duration = 0;
};
TESSIVAR_NESTED_TYPE(LatchedErrorInfo)

/// The message and the alarm state of one header.
struct TESSIVAR_API LogMessageEx {
  Tessivar::Guid address = nullptr;  // key
  char* header = nullptr;            // key, 100
  char* value = nullptr;             // 1024
  DDS_Short state = 0;
  DDS_Short unmasked_state = 0;
  LatchedErrorInfoSeq latched_errors;  // 5
  DDS_Boolean is_masked = DDS_BOOLEAN_FALSE;
  TESSIVAR_TOPIC_CLASSES(LogMessageEx)
};
TESSIVAR_TOPIC_TYPE(LogMessageEx)

/// A mask that applies to a message.
struct TESSIVAR_API MaskInfo {
  MaskType mask_type = None;
  char* tag = nullptr;           // 32
  char* masked_by = nullptr;     // 64
  char* masked_on = nullptr;     // 21
  char* mask_expires = nullptr;  // 21
};
TESSIVAR_NESTED_TYPE(MaskInfo)

/// The message and the alarm state of one header, with masks. This is the only mutable type: its members have ids from
/// 1 and are sent as a parameter list.
struct TESSIVAR_API LogMessageEx2 {
  Tessivar::Guid address = nullptr;
  char* header = nullptr;  // 100
  char* value = nullptr;   // 1024
  DDS_Short state = 0;
  DDS_Short unmasked_state = 0;
  LatchedErrorInfoSeq latched_errors;  // 5
  DDS_Boolean is_masked = DDS_BOOLEAN_FALSE;
  MaskInfoSeq mask_info;  // 10
  char* title = nullptr;  // 100
  char* path = nullptr;   // 255
  TESSIVAR_TOPIC_CLASSES(LogMessageEx2)
};
TESSIVAR_KEYLESS_TOPIC_TYPE(LogMessageEx2)

/// Requests the stored messages.
struct TESSIVAR_API LogMessageEx2Request {
  Tessivar::ReqReplyGuid changeguid;  // key
  DDS_UnsignedShort ticketId = 0;
  TESSIVAR_TOPIC_CLASSES(LogMessageEx2Request)
};
TESSIVAR_TOPIC_TYPE(LogMessageEx2Request)

/// One of the requested messages.
struct TESSIVAR_API LogMessageEx2Reply {
  Tessivar::ReqReplyGuid changeguid;  // key
  DDS_UnsignedShort ticketId = 0;
  DDS_UnsignedLong index = 0;
  DDS_Boolean finished = DDS_BOOLEAN_FALSE;
  LogMessageEx2 message;
  TESSIVAR_TOPIC_CLASSES(LogMessageEx2Reply)
};
TESSIVAR_TOPIC_TYPE(LogMessageEx2Reply)

/// A unit that sends log messages.
struct TESSIVAR_API LogUnit {
  Tessivar::Guid address = nullptr;         // key
  Tessivar::Guid source_address = nullptr;  // key
  char* name = nullptr;                     // 64
  char* msg = nullptr;                      // 1024
  DDS_UnsignedShort unit_type = 0;
  TESSIVAR_TOPIC_CLASSES(LogUnit)
};
TESSIVAR_TOPIC_TYPE(LogUnit)

/// A mask on a whole unit.
struct TESSIVAR_API UnitMask {
  Tessivar::Guid address = nullptr;  // key
  char* tag = nullptr;               // key, 32
  MaskType mask_type = None;
  char* masked_by = nullptr;     // 64
  char* masked_on = nullptr;     // 21
  char* mask_expires = nullptr;  // 21
  TESSIVAR_TOPIC_CLASSES(UnitMask)
};
TESSIVAR_TOPIC_TYPE(UnitMask)

/// Requests a mask on a unit.
struct TESSIVAR_API UnitMaskRequest {
  Tessivar::ReqReplyGuid changeguid;  // key
  DDS_UnsignedShort ticketId = 0;
  UnitMask newValue;
  TESSIVAR_TOPIC_CLASSES(UnitMaskRequest)
};
TESSIVAR_TOPIC_TYPE(UnitMaskRequest)

/// A mask on one header of a unit.
struct TESSIVAR_API HeaderMask {
  Tessivar::Guid address = nullptr;  // key
  char* tag = nullptr;               // key, 32
  char* header = nullptr;            // key, 100
  MaskType mask_type = None;
  char* masked_by = nullptr;     // 64
  char* masked_on = nullptr;     // 21
  char* mask_expires = nullptr;  // 21
  TESSIVAR_TOPIC_CLASSES(HeaderMask)
};
TESSIVAR_TOPIC_TYPE(HeaderMask)

/// Requests a mask on a header.
struct TESSIVAR_API HeaderMaskRequest {
  Tessivar::ReqReplyGuid changeguid;  // key
  DDS_UnsignedShort ticketId = 0;
  HeaderMask newValue;
  TESSIVAR_TOPIC_CLASSES(HeaderMaskRequest)
};
TESSIVAR_TOPIC_TYPE(HeaderMaskRequest)

/// The reply to a UnitMaskRequest or a HeaderMaskRequest.
struct TESSIVAR_API MaskReply {
  Tessivar::ReqReplyGuid changeguid;  // key
  DDS_UnsignedShort ticketId = 0;
  MaskReplyResult result = PENDING;
  TESSIVAR_TOPIC_CLASSES(MaskReply)
};
TESSIVAR_TOPIC_TYPE(MaskReply)

/// Acknowledges the alarm of one header.
struct TESSIVAR_API AlarmAck {
  Tessivar::Guid address = nullptr;  // key
  char* header = nullptr;            // key, 100
  char* alarm_timestamp = nullptr;   // 21
  char* acked_by = nullptr;          // 64
  DDS_Boolean is_ack = DDS_BOOLEAN_FALSE;
  DDS_OctetSeq auth_token;  // 64
  TESSIVAR_TOPIC_CLASSES(AlarmAck)
};
TESSIVAR_TOPIC_TYPE(AlarmAck)

}  // namespace Tessivar_Logging
