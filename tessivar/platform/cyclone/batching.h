// Makes writers that collect samples until they are flushed, on an engine where that is a setting of the domain.
#pragma once

#include "tessivar/platform/cyclone/internals/internals.h"
#include "tessivar/platform/detail/mutex.h"

#include <cstdint>
#include <mutex>

namespace tessivar::platform::cyclone {

/// The engine reads the setting when a writer is created, and calls listeners before that call ends. So no lock is held
/// meanwhile: the setting is on while at least one batching writer is being created, and another writer that is created
/// at that time learns that it may collect samples too. Thread-safe.
class BatchingSetting {
 public:
  explicit BatchingSetting(ddsi_domaingv* gv) : gv_(gv) {}

  /// Around the creation of one writer.
  class Creation {
   public:
    Creation(BatchingSetting& setting, bool batching);
    ~Creation();
    Creation(const Creation&) = delete;
    Creation& operator=(const Creation&) = delete;
    /// After the creation: whether the writer may collect samples.
    bool may_collect() const;

   private:
    BatchingSetting& setting_;
    const bool batching_;
    std::uint64_t windows_before_;
    bool open_before_;
  };

 private:
  ddsi_domaingv* const gv_;  // null: the setting cannot be reached, nothing collects
  Mutex lock_;
  int open_ = 0;
  std::uint64_t windows_ = 0;
};

}  // namespace tessivar::platform::cyclone
