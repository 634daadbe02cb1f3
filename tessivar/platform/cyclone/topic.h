// Topic entities: a name on the wire, a type, and for a reader its filter.
#pragma once

#include "tessivar/platform/cyclone/engine_api.h"

#include <string>

namespace tessivar::platform::cyclone {

/// One topic entity of its own for each reader and writer. Deleted with it; declare it before the entity that uses it.
class Topic {
 public:
  Topic() = default;
  Topic(const Topic&) = delete;
  Topic& operator=(const Topic&) = delete;
  ~Topic();

  /// The engine refuses names with dots, ours have them: see topic.cpp. False with a reason in `error`.
  bool create(dds_entity_t participant, const std::string& name, const PRESTypePlugin& type, std::string& error);
  /// Before a reader is made of it. `filter` outlives that reader.
  bool set_filter(EngineFilter& filter, std::string& error);

  dds_entity_t entity() const { return entity_; }
  /// Valid while the topic lives.
  const ddsi_sertype* type() const { return type_; }
  /// Returns true if the other one is this topic's, too: of the same name in the same domain of the engine.
  bool is_same(const Topic& other) const { return type_ == other.type_ && name_ == other.name_; }

 private:
  std::string name_;
  dds_entity_t entity_ = 0;
  const ddsi_sertype* type_ = nullptr;
};

/// Marks this thread as being inside a callback of a reader of that topic. The engine calls no second one of the reader
/// meanwhile, but waits: a write that would deliver to it is not possible.
class ReaderCallback {
 public:
  explicit ReaderCallback(const Topic& topic);
  ~ReaderCallback();
  ReaderCallback(const ReaderCallback&) = delete;
  ReaderCallback& operator=(const ReaderCallback&) = delete;

  /// Returns true if this thread is inside one for that topic.
  static bool concerns(const Topic& topic);

 private:
  const Topic& topic_;
  const ReaderCallback* const outer_;
};

}  // namespace tessivar::platform::cyclone
