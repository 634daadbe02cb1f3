// SPDX-License-Identifier: Apache-2.0

// A topic entity of the engine: a name on the wire, a type, and the filter of a reader.
#pragma once

#include "tessivar/platform/cyclone/engine_api.h"

#include <string>

namespace tessivar::platform::cyclone {

/// Each reader and writer has its own topic entity. The destructor deletes it: declare a Topic before the entity that
/// uses it.
class Topic {
 public:
  Topic() = default;
  Topic(const Topic&) = delete;
  Topic& operator=(const Topic&) = delete;
  ~Topic();

  /// Returns false on failure, with the reason in `error`. Our names have dots, which the engine refuses: see
  /// topic.cpp.
  bool create(dds_entity_t participant, const std::string& name, const PRESTypePlugin& type, std::string& error);
  /// To be called before a reader of this topic is created. `filter` must outlive that reader. Returns false on
  /// failure, with the reason in `error`.
  bool set_filter(EngineFilter& filter, std::string& error);

  dds_entity_t entity() const { return entity_; }
  /// Valid while the topic exists.
  const ddsi_sertype* type() const { return type_; }
  /// Returns true if `other` has the same name and type in the same domain of the engine.
  bool is_same(const Topic& other) const { return type_ == other.type_ && name_ == other.name_; }

 private:
  std::string name_;
  dds_entity_t entity_ = 0;
  const ddsi_sertype* type_ = nullptr;
};

/// While it exists, this thread is inside a callback of a reader of `topic`. The engine calls one callback of a reader
/// at a time, and a second call waits. So the thread must not write a sample that would be delivered to this reader.
class ReaderCallback {
 public:
  explicit ReaderCallback(const Topic& topic);
  ~ReaderCallback();
  ReaderCallback(const ReaderCallback&) = delete;
  ReaderCallback& operator=(const ReaderCallback&) = delete;

  /// Returns true if this thread is inside a callback of a reader of `topic`.
  static bool concerns(const Topic& topic);

 private:
  const Topic& topic_;
  const ReaderCallback* const outer_;
};

}  // namespace tessivar::platform::cyclone
