// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/reader/sample_access.h"

#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/participant/condition_impl.h"
#include "tessivar/platform/participant/topic_impl.h"
#include "tessivar/platform/reader/subscription.h"
#include "tessivar/platform/values/sequence_fill.h"

#include <algorithm>

namespace tessivar::platform {

namespace {

ReaderSelection selection_of(const DDS_ReadSelectionI& request) {
  ReaderSelection selection;
  selection.take = request.take != DDS_BOOLEAN_FALSE;
  const DDSReadCondition* condition = request.condition;
  selection.every_change = condition && condition->impl().every_change;
  selection.sample_states = condition ? condition->get_sample_state_mask() : request.sample_states;
  selection.view_states = condition ? condition->get_view_state_mask() : request.view_states;
  selection.instance_states = condition ? condition->get_instance_state_mask() : request.instance_states;
  return selection;
}

bool selects(const ReaderSelection& selection, const DDS_SampleInfo& info) {
  return (selection.sample_states & info.sample_state) && (selection.view_states & info.view_state) &&
         (selection.instance_states & info.instance_state);
}

KeyHash instance_of(const EngineSlot& slot) {
  return key_hash_of(slot.sample->key_hash);
}

}  // namespace

void SampleAccess::set_subscription(Subscription* subscription) {
  const MutexLock lock(mutex_);
  current_ = subscription;
}

DDS_InstanceHandle_t SampleAccess::guid() {
  if (refused_in_filter("DDSDataReader::get_instance_handle")) return DDS_HANDLE_NIL;
  const MutexLock lock(mutex_);
  return current_ ? current_->engine().guid() : DDS_HANDLE_NIL;
}

DDS_ReturnCode_t SampleAccess::matched_publications(DDS_InstanceHandleSeq& handles) {
  if (refused_in_filter("DDSDataReader::get_matched_publications")) return DDS_RETCODE_ILLEGAL_OPERATION;
  const MutexLock lock(mutex_);
  if (!current_) return DDS_RETCODE_NOT_ENABLED;
  return fill(handles, current_->engine().matched_publications());
}

/// Checks a pair of sequences against the rules of OMG DDS 1.4, 2.2.2.5.3.8.
DDS_ReturnCode_t SampleAccess::check_buffers(const DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                             const DDS_ReadSelectionI& selection) const {
  if (selection.max_samples < DDS_LENGTH_UNLIMITED || selection.max_samples == 0) return DDS_RETCODE_BAD_PARAMETER;
  if (!samples.owned || !infos.has_ownership() || samples.maximum != infos.maximum() ||
      samples.length != infos.length() || (samples.maximum > 0 && !samples.contiguous) ||
      (samples.maximum > 0 && selection.max_samples > samples.maximum)) {
    return DDS_RETCODE_PRECONDITION_NOT_MET;
  }
  if (selection.condition && selection.condition->get_datareader() != reader_.self)
    return DDS_RETCODE_PRECONDITION_NOT_MET;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t SampleAccess::read_or_take(DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                            const DDS_ReadSelectionI& request) {
  if (refused_in_filter("DDSDataReader::read")) return DDS_RETCODE_ILLEGAL_OPERATION;
  const DDS_ReturnCode_t fits = check_buffers(samples, infos, request);
  if (fits != DDS_RETCODE_OK) return fits;
  const bool lends = samples.maximum == 0;
  DDS_Long max = request.max_samples;
  if (!lends && max == DDS_LENGTH_UNLIMITED) max = samples.maximum;

  const MutexLock lock(mutex_);
  if (!current_) return DDS_RETCODE_NOT_ENABLED;
  if (conditions_.waiting_for_transfer()) transfer_remaining();
  ReaderSelection selection = selection_of(request);
  if (selection.every_change) ++change_reads_;
  const DDS_ReturnCode_t found = find_instance(request, selection);
  if (found != DDS_RETCODE_OK) return found;
  const std::size_t again = slots_.empty() ? 0 : select_left_over(selection, max);
  const std::size_t available = again > 0 ? again : cache_.count(selection, max);
  if (available == 0) {
    conditions_.update();  // samples may have expired
    return DDS_RETCODE_NO_DATA;
  }

  // Memory for all samples comes first: if it is short, nothing has changed. Nothing throws after this.
  const std::size_t first = again > 0 ? 0 : slots_.size();
  Loan* loan = nullptr;
  if (lends && !(loan = loans_.lend(available))) return out_of_memory();
  if (!lends && !make_length(infos, available)) return out_of_memory();
  const bool complete =
      again > 0 || cache_.access(selection, available, slots_, lends ? loan->samples.data() : nullptr);
  auto* const contiguous = static_cast<char*>(samples.contiguous);
  std::size_t count = 0;
  std::size_t used = first;
  Decoded decoded = Decoded::good;
  for (const std::size_t end = std::min(first + available, slots_.size()); used < end; ++used) {
    void* sample = lends ? loan->samples[count] : contiguous + static_cast<std::ptrdiff_t>(count) * samples.sample_size;
    DDS_SampleInfo& info = lends ? loan->infos[count] : infos[static_cast<DDS_Long>(count)];
    decoded = decode(slots_[used], sample, lends ? &loan->octets[count] : nullptr, info);
    if (decoded == Decoded::out_of_memory) break;
    if (decoded == Decoded::good) ++count;
  }
  drop_slots(first, used);

  samples.count = static_cast<DDS_Long>(count);
  if (!lends) infos.length(samples.count);
  if (!count) {
    if (lends) return_loan(loan->samples.data());
    return complete && decoded != Decoded::out_of_memory ? DDS_RETCODE_NO_DATA : out_of_memory();
  }
  if (!lends) return DDS_RETCODE_OK;
  samples.lent = DDS_BOOLEAN_TRUE;
  samples.lent_samples = loan->samples.data();
  samples.lent_pointers = loan->pointers.get();
  samples.lent_maximum = static_cast<DDS_Long>(loan->samples.size());
  infos.loan_contiguous(loan->infos.data(), samples.count, samples.lent_maximum);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t SampleAccess::read_or_take_next(void* sample, DDS_SampleInfo& info, bool take) {
  if (refused_in_filter(take ? "DDSDataReader::take_next_sample" : "DDSDataReader::read_next_sample")) {
    return DDS_RETCODE_ILLEGAL_OPERATION;
  }
  if (!sample) return DDS_RETCODE_BAD_PARAMETER;
  const MutexLock lock(mutex_);
  if (!current_) return DDS_RETCODE_NOT_ENABLED;
  if (conditions_.waiting_for_transfer()) transfer_remaining();
  ReaderSelection selection;
  selection.take = take;
  selection.sample_states = DDS_NOT_READ_SAMPLE_STATE;
  for (;;) {
    std::size_t place = 0;
    if (select_left_over(selection, 1) == 0) {
      place = slots_.size();
      if (cache_.count(selection, 1) == 0) break;
      if (!cache_.access(selection, 1, slots_, nullptr)) return out_of_memory();
      if (slots_.size() == place) continue;
    }
    const Decoded decoded = decode(slots_[place], sample, nullptr, info);
    drop_slots(place, place + (decoded == Decoded::out_of_memory ? 0 : 1));
    if (decoded == Decoded::out_of_memory) return out_of_memory();
    if (decoded == Decoded::good) return DDS_RETCODE_OK;
  }
  conditions_.update();
  return DDS_RETCODE_NO_DATA;
}

/// Moves samples to the cache that could not be moved when they arrived, because memory was short.
void SampleAccess::transfer_remaining() {
  conditions_.set_waiting_for_transfer(false);
  if (!current_->transfer()) conditions_.update();
}

/// Slots that an earlier access could not hand out, because memory was short, come before samples of the cache. Moves
/// the selected slots to the front and returns how many of them this access hands out.
std::size_t SampleAccess::select_left_over(const ReaderSelection& selection, DDS_Long max) {
  const auto end = std::stable_partition(slots_.begin(), slots_.end(), [&](const EngineSlot& slot) {
    return selects(selection, slot.info) && (!selection.instance || *selection.instance == instance_of(slot));
  });
  const auto selected = static_cast<std::size_t>(end - slots_.begin());
  return max < 0 ? selected : std::min(selected, static_cast<std::size_t>(max));
}

/// Ends an access. Removes the slots from `first` up to `end`, which have been handed out; the others are left over.
void SampleAccess::drop_slots(std::size_t first, std::size_t end) {
  if (end - first == slots_.size()) {
    slots_.clear();
  } else {
    slots_.erase(slots_.begin() + static_cast<std::ptrdiff_t>(first),
                 slots_.begin() + static_cast<std::ptrdiff_t>(end));
  }
  if (slots_.empty() && slots_.capacity() * sizeof(EngineSlot) > Loans::max_idle_octets)
    std::vector<EngineSlot>().swap(slots_);
  StateSet states = 0;
  for (const EngineSlot& slot : slots_)
    states |= states_of(slot.info.sample_state, slot.info.view_state, slot.info.instance_state);
  conditions_.set_left_over(states);
  conditions_.update();
}

DDS_ReturnCode_t SampleAccess::out_of_memory() const {
  log_joined(LogLevel::error, "DDSDataReader",
             {"no memory for the samples of topic \"", reader_.topic->impl().name, "\""});
  return DDS_RETCODE_OUT_OF_RESOURCES;
}

/// Sets `selection.instance` if the request asks for one instance.
DDS_ReturnCode_t SampleAccess::find_instance(const DDS_ReadSelectionI& request, ReaderSelection& selection) {
  if (request.instances == DDS_ReadSelectionI::all) return DDS_RETCODE_OK;
  if (!reader_.is_keyed()) {
    const bool any = !request.instance.isValid && request.instances == DDS_ReadSelectionI::next;
    return any ? DDS_RETCODE_OK : DDS_RETCODE_BAD_PARAMETER;
  }
  std::optional<KeyHash> handle;
  if (request.instance.isValid) handle = key_hash_of(request.instance.keyHash.value);
  if (request.instances == DDS_ReadSelectionI::one) {
    selection.instance = handle;
    const auto is_left_over = [&](const EngineSlot& slot) { return instance_of(slot) == *handle; };
    return handle && (cache_.knows(*handle) || std::any_of(slots_.begin(), slots_.end(), is_left_over))
               ? DDS_RETCODE_OK
               : DDS_RETCODE_BAD_PARAMETER;
  }
  selection.instance = cache_.next(selection, handle);
  for (const EngineSlot& slot : slots_) {
    const KeyHash instance = instance_of(slot);
    const bool follows = !handle || instance > *handle;
    if (follows && selects(selection, slot.info) && (!selection.instance || instance < *selection.instance))
      selection.instance = instance;
  }
  return selection.instance ? DDS_RETCODE_OK : DDS_RETCODE_NO_DATA;
}

/// Decodes `slot` into `sample`. Logs a malformed sample. `lent_octets` is the memory that a sample on loan uses, and
/// null for other samples. Does not throw.
SampleAccess::Decoded SampleAccess::decode(const EngineSlot& slot, void* sample, std::size_t* lent_octets,
                                           DDS_SampleInfo& info) const {
  info = slot.info;
  if (!reader_.is_keyed()) info.instance_handle = DDS_HANDLE_NIL;
  const EncodedSample& encoded = *slot.sample.get();
  if (!slot.info.valid_data) {
    if (lent_octets && !reader_.type->clear_lean(sample, lent_octets)) return Decoded::out_of_memory;
    const bool complete = cache_.copy_key(key_hash_of(encoded.key_hash), sample) != DDS_RETCODE_OUT_OF_RESOURCES;
    return complete ? Decoded::good : Decoded::out_of_memory;
  }
  if (lent_octets ? reader_.type->decode_lean(sample, encoded.bytes, encoded.size, lent_octets)
                  : reader_.type->decode(sample, encoded.bytes, encoded.size)) {
    return Decoded::good;
  }
  DDS_KeyHash_t hash;
  if (reader_.type->check(encoded.bytes, encoded.size, &hash)) return Decoded::out_of_memory;
  reader_.counters->not_decoded();
  log_joined(LogLevel::error, "DDSDataReader",
             {"a sample of topic \"", reader_.topic->impl().name, "\" could not be decoded and was dropped"});
  return Decoded::malformed;
}

DDS_ReturnCode_t SampleAccess::copy_key(const DDS_InstanceHandle_t& handle, void* key_holder) const {
  if (!handle.isValid || !key_holder) return DDS_RETCODE_BAD_PARAMETER;
  return cache_.copy_key(key_hash_of(handle.keyHash.value), key_holder);
}

DDS_InstanceHandle_t SampleAccess::lookup_instance(const void* key_holder) const {
  DDS_KeyHash_t octets = {};
  if (!key_holder || !reader_.is_keyed() || !reader_.type->instance_to_keyhash(nullptr, &octets, key_holder)) {
    return DDS_HANDLE_NIL;
  }
  const KeyHash hash = key_hash_of(octets.value);
  return cache_.knows(hash) ? handle_of(hash) : DDS_HANDLE_NIL;
}

DDS_ReturnCode_t SampleAccess::return_loan(const void* lent) {
  std::unique_ptr<Loan> loan = loans_.take_back(lent);
  if (!loan) return DDS_RETCODE_PRECONDITION_NOT_MET;
  cache_.loan_returned(loan->samples.data());
  loans_.keep(std::move(loan));
  return DDS_RETCODE_OK;
}

}  // namespace tessivar::platform
