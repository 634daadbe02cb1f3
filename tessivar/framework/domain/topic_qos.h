// SPDX-License-Identifier: Apache-2.0

// Topic QoS that several services share.
#pragma once

#include "tessivar/platform/qos.h"

#include <string>

namespace TessivarDDS {

class DDSDomain;

/// QoS for topics with state: every reader, also a late joiner, receives the last sample of each instance. Takes the
/// default QoS of the domain for a topic with this name and makes it reliable, transient-local and keep-last with depth
/// 1. Always returns true: if the default cannot be read, this is logged and the default of the platform is used.
TESSIVAR_API bool createReliableDurableTopicQos(DDSDomain* domain, const std::string& topicName, DDS_TopicQos& qos);

}  // namespace TessivarDDS
