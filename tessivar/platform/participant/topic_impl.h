// SPDX-License-Identifier: Apache-2.0

// The implementation of topics and filtered topics.
#pragma once

#include "tessivar/platform/detail/listener_slot.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/reader/compiled_filter.h"
#include "tessivar/platform/topic.h"
#include "tessivar/platform/type_plugin.h"

#include <memory>
#include <string>
#include <vector>

class DDSDataReader;

struct DDSTopic::Impl {
  DDSDomainParticipant& participant;
  const std::string name;
  const std::string type_name;
  const PRESTypePlugin& type;
  const DDS_TopicQos qos;
  tessivar::platform::ListenerSlot<DDSTopicListener> listener;
  int users = 0;  // number of readers, writers and filtered topics; guarded by the participant's lock
};

struct DDSContentFilteredTopic::Impl {
  DDSTopic& topic;
  const std::string name;
  const std::string expression;
  const std::string filter_name;
  DDSContentFilter& filter;
  int users = 0;  // number of readers; guarded by the participant's lock

  /// Held during a change of parameters.
  tessivar::platform::Mutex changing TESSIVAR_ACQUIRED_BEFORE(mutex) = {};
  mutable tessivar::platform::Mutex mutex = {};
  DDS_StringSeq parameters TESSIVAR_GUARDED_BY(mutex) = {};
  std::shared_ptr<tessivar::platform::CompiledFilter> compiled TESSIVAR_GUARDED_BY(mutex) = {};

  std::shared_ptr<tessivar::platform::CompiledFilter> current() const {
    const tessivar::platform::MutexLock lock(mutex);
    return compiled;
  }
};
