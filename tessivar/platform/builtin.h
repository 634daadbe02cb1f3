// SPDX-License-Identifier: Apache-2.0

// The data that discovery reports about a remote participant (DDSI-RTPS 2.3, 8.5.3.2).
#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/qos.h"

constexpr DDS_Long DDS_LOCATOR_KIND_UDPv4 = 1;
constexpr DDS_Long DDS_LOCATOR_KIND_UDPv6 = 2;

struct DDS_Locator_t {
  DDS_Long kind;
  DDS_UnsignedLong port;
  /// An IPv4 address is in the last four octets.
  DDS_Octet address[16];
};

struct DDS_LocatorSeq : DDSPlainSequence<DDS_Locator_t> {
  using DDSPlainSequence<DDS_Locator_t>::DDSPlainSequence;
};

/// The sample type of the built-in participant reader.
struct DDS_ParticipantBuiltinTopicData {
  /// The participant's GUID.
  DDS_Octet key[16] = {};
  DDS_UserDataQosPolicy user_data;
  /// The properties that the remote participant propagates.
  DDS_PropertyQosPolicy property;
  DDS_EntityNameQosPolicy participant_name;
  DDS_LocatorSeq default_unicast_locators;
};

struct DDS_ParticipantBuiltinTopicDataSeq : DDSPlainSequence<DDS_ParticipantBuiltinTopicData> {
  using DDSPlainSequence<DDS_ParticipantBuiltinTopicData>::DDSPlainSequence;
};

/// Name of the built-in participant topic.
constexpr const char* DDS_PARTICIPANT_TOPIC_NAME = "DCPSParticipant";
