// SPDX-License-Identifier: Apache-2.0

// Reads and takes of a data reader: decodes samples of the cache for the application.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/reader/loans.h"
#include "tessivar/platform/reader/read_conditions.h"
#include "tessivar/platform/reader/reader_cache.h"
#include "tessivar/platform/reader/reader_description.h"

#include <atomic>
#include <vector>

namespace tessivar::platform {

class Subscription;

/// Thread-safe; one access at a time. The functions that read or take throw std::bad_alloc before they change anything.
/// `mutex_` is taken before the locks of the subscription, of the conditions and of the cache. A content filter must
/// not call the functions that lock it: its caller may hold the lock.
class SampleAccess {
 public:
  SampleAccess(const ReaderDescription& reader, ReaderCache& cache, ReadConditions& conditions)
      : reader_(reader), cache_(cache), conditions_(conditions), loans_(*reader.type) {}

  /// Sets the current subscription; null before the reader is enabled and after it is closed. When it returns, no
  /// access uses the previous subscription.
  void set_subscription(Subscription* subscription) TESSIVAR_EXCLUDES(mutex_);
  DDS_InstanceHandle_t guid() TESSIVAR_EXCLUDES(mutex_);
  DDS_ReturnCode_t matched_publications(DDS_InstanceHandleSeq& handles) TESSIVAR_EXCLUDES(mutex_);

  DDS_ReturnCode_t read_or_take(DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos, const DDS_ReadSelectionI& request)
      TESSIVAR_EXCLUDES(mutex_);
  /// See DDSDataReader::change_readsI.
  DDS_UnsignedLong change_reads() const { return change_reads_; }
  DDS_ReturnCode_t read_or_take_next(void* sample, DDS_SampleInfo& info, bool take) TESSIVAR_EXCLUDES(mutex_);

  DDS_ReturnCode_t copy_key(const DDS_InstanceHandle_t& handle, void* key_holder) const;
  DDS_InstanceHandle_t lookup_instance(const void* key_holder) const;
  DDS_ReturnCode_t return_loan(const void* lent);
  bool any_loan() const { return loans_.any_out(); }

 private:
  DDS_ReturnCode_t check_buffers(const DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                 const DDS_ReadSelectionI& request) const;
  DDS_ReturnCode_t find_instance(const DDS_ReadSelectionI& request, ReaderSelection& selection)
      TESSIVAR_REQUIRES(mutex_);
  void transfer_remaining() TESSIVAR_REQUIRES(mutex_);
  std::size_t select_left_over(const ReaderSelection& selection, DDS_Long max) TESSIVAR_REQUIRES(mutex_);
  void drop_slots(std::size_t first, std::size_t end) TESSIVAR_REQUIRES(mutex_);
  enum class Decoded { good, malformed, out_of_memory };
  Decoded decode(const EngineSlot& slot, void* sample, std::size_t* lent_octets, DDS_SampleInfo& info) const;
  DDS_ReturnCode_t out_of_memory() const;

  const ReaderDescription& reader_;
  ReaderCache& cache_;
  ReadConditions& conditions_;
  Loans loans_;
  std::atomic<DDS_UnsignedLong> change_reads_ = 0;

  Mutex mutex_;
  Subscription* current_ TESSIVAR_GUARDED_BY(mutex_) = nullptr;
  std::vector<EngineSlot> slots_ TESSIVAR_GUARDED_BY(mutex_);  // of the access, or left over from an earlier access
};

}  // namespace tessivar::platform
