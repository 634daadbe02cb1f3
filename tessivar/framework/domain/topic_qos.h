// SPDX-License-Identifier: Apache-2.0

// Topic QoS that several services share.
#pragma once

#include "tessivar/platform/qos.h"

#include <string>

namespace TessivarDDS {

class DDSDomain;

/// For topics that carry state: every reader, however late, gets the last sample of each instance. The domain's default
/// for a topic of that name, made reliable, transient-local and keep-last 1. Always true: without the default (which is
/// logged) the platform's serves.
TESSIVAR_API bool createReliableDurableTopicQos(DDSDomain* domain, const std::string& topicName, DDS_TopicQos& qos);

}  // namespace TessivarDDS
