// SPDX-License-Identifier: Apache-2.0

// Reading and taking: decodes samples of the cache for the application.
#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/participant/condition_impl.h"
#include "tessivar/platform/participant/topic_impl.h"
#include "tessivar/platform/reader/reader_impl.h"
#include "tessivar/platform/values/sequence_fill.h"

#include <algorithm>

using tessivar::platform::EncodedSample;
using tessivar::platform::EngineSlot;
using tessivar::platform::key_hash_of;
using tessivar::platform::KeyHash;
using tessivar::platform::Loan;
using tessivar::platform::Loans;
using tessivar::platform::log_joined;
using tessivar::platform::LogLevel;
using tessivar::platform::ReaderSelection;
using tessivar::platform::states_of;
using tessivar::platform::StateSet;

namespace {

bool is_keyed(const PRESTypePlugin& type) {
  return type.get_key_kind() != PRES_TYPEPLUGIN_NO_KEY;
}

ReaderSelection selection_of(const DDS_ReadSelectionI& request) {
  ReaderSelection selection;
  selection.take = request.take != DDS_BOOLEAN_FALSE;
  const DDSReadCondition* condition = request.condition;
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

/// Checks a pair of sequences against the rules of OMG DDS 1.4, 2.2.2.5.3.8.
DDS_ReturnCode_t DDSDataReader::Impl::check_buffers(const DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                                    const DDS_ReadSelectionI& selection) const {
  if (selection.max_samples < DDS_LENGTH_UNLIMITED || selection.max_samples == 0) return DDS_RETCODE_BAD_PARAMETER;
  if (!samples.owned || !infos.has_ownership() || samples.maximum != infos.maximum() ||
      samples.length != infos.length() || (samples.maximum > 0 && !samples.contiguous) ||
      (samples.maximum > 0 && selection.max_samples > samples.maximum)) {
    return DDS_RETCODE_PRECONDITION_NOT_MET;
  }
  if (selection.condition && selection.condition->get_datareader() != self) return DDS_RETCODE_PRECONDITION_NOT_MET;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::Impl::read_or_take(DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                                   const DDS_ReadSelectionI& request) {
  if (tessivar::platform::refused_in_filter("DDSDataReader::read")) return DDS_RETCODE_ILLEGAL_OPERATION;
  const DDS_ReturnCode_t fits = check_buffers(samples, infos, request);
  if (fits != DDS_RETCODE_OK) return fits;
  const bool lends = samples.maximum == 0;
  DDS_Long max = request.max_samples;
  if (!lends && max == DDS_LENGTH_UNLIMITED) max = samples.maximum;

  const std::lock_guard lock(access);
  if (!side) return DDS_RETCODE_NOT_ENABLED;
  if (behind) fetch_rest();
  ReaderSelection selection = selection_of(request);
  const DDS_ReturnCode_t found = find_instance(request, selection);
  if (found != DDS_RETCODE_OK) return found;
  const std::size_t again = slots.empty() ? 0 : select_left_over(selection, max);
  const std::size_t available = again > 0 ? again : cache->count(selection, max);
  if (available == 0) {
    update_conditions();  // samples may have expired
    return DDS_RETCODE_NO_DATA;
  }

  // Memory for all samples comes first: if it is short, nothing has changed. Nothing throws after this.
  const std::size_t first = again > 0 ? 0 : slots.size();
  Loan* loan = nullptr;
  if (lends && !(loan = loans->lend(available))) return out_of_memory();
  if (!lends && !tessivar::platform::make_length(infos, available)) return out_of_memory();
  const bool complete = again > 0 || cache->access(selection, available, slots, lends ? loan->samples.data() : nullptr);
  auto* const contiguous = static_cast<char*>(samples.contiguous);
  std::size_t count = 0;
  std::size_t used = first;
  Decoded decoded = Decoded::good;
  for (const std::size_t end = std::min(first + available, slots.size()); used < end; ++used) {
    void* sample = lends ? loan->samples[count] : contiguous + static_cast<std::ptrdiff_t>(count) * samples.sample_size;
    DDS_SampleInfo& info = lends ? loan->infos[count] : infos[static_cast<DDS_Long>(count)];
    decoded = decode(slots[used], sample, lends ? &loan->octets[count] : nullptr, info);
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

DDS_ReturnCode_t DDSDataReader::Impl::read_or_take_next(void* sample, DDS_SampleInfo& info, bool take) {
  if (!sample) return DDS_RETCODE_BAD_PARAMETER;
  const std::lock_guard lock(access);
  if (!side) return DDS_RETCODE_NOT_ENABLED;
  if (behind) fetch_rest();
  ReaderSelection selection;
  selection.take = take;
  selection.sample_states = DDS_NOT_READ_SAMPLE_STATE;
  for (;;) {
    std::size_t place = 0;
    if (select_left_over(selection, 1) == 0) {
      place = slots.size();
      if (cache->count(selection, 1) == 0) break;
      if (!cache->access(selection, 1, slots, nullptr)) return out_of_memory();
      if (slots.size() == place) continue;
    }
    const Decoded decoded = decode(slots[place], sample, nullptr, info);
    drop_slots(place, place + (decoded == Decoded::out_of_memory ? 0 : 1));
    if (decoded == Decoded::out_of_memory) return out_of_memory();
    if (decoded == Decoded::good) return DDS_RETCODE_OK;
  }
  update_conditions();
  return DDS_RETCODE_NO_DATA;
}

/// Moves samples to the cache that could not be moved when they arrived, because memory was short.
void DDSDataReader::Impl::fetch_rest() {
  behind = false;
  if (!transfer(*side)) update_conditions();
}

/// Slots that an earlier access could not hand out, because memory was short, come before samples of the cache. Moves
/// the selected slots to the front and returns how many of them this access hands out.
std::size_t DDSDataReader::Impl::select_left_over(const ReaderSelection& selection, DDS_Long max) {
  const auto end = std::stable_partition(slots.begin(), slots.end(), [&](const EngineSlot& slot) {
    return selects(selection, slot.info) && (!selection.instance || *selection.instance == instance_of(slot));
  });
  const auto selected = static_cast<std::size_t>(end - slots.begin());
  return max < 0 ? selected : std::min(selected, static_cast<std::size_t>(max));
}

/// Ends an access. Removes the slots from `first` up to `end`, which have been handed out; the others are left over.
void DDSDataReader::Impl::drop_slots(std::size_t first, std::size_t end) {
  if (end - first == slots.size()) {
    slots.clear();
  } else {
    slots.erase(slots.begin() + static_cast<std::ptrdiff_t>(first), slots.begin() + static_cast<std::ptrdiff_t>(end));
  }
  if (slots.empty() && slots.capacity() * sizeof(EngineSlot) > Loans::max_idle_octets)
    std::vector<EngineSlot>().swap(slots);
  StateSet states = 0;
  for (const EngineSlot& slot : slots)
    states |= states_of(slot.info.sample_state, slot.info.view_state, slot.info.instance_state);
  left_over = states;
  update_conditions();
}

DDS_ReturnCode_t DDSDataReader::Impl::out_of_memory() const {
  log_joined(LogLevel::error, "DDSDataReader", {"no memory for the samples of topic \"", topic->impl().name, "\""});
  return DDS_RETCODE_OUT_OF_RESOURCES;
}

/// Sets `selection.instance` if the request asks for one instance.
DDS_ReturnCode_t DDSDataReader::Impl::find_instance(const DDS_ReadSelectionI& request, ReaderSelection& selection) {
  if (request.instances == DDS_ReadSelectionI::all) return DDS_RETCODE_OK;
  if (!is_keyed(*type)) {
    const bool any = !request.instance.isValid && request.instances == DDS_ReadSelectionI::next;
    return any ? DDS_RETCODE_OK : DDS_RETCODE_BAD_PARAMETER;
  }
  std::optional<KeyHash> handle;
  if (request.instance.isValid) handle = key_hash_of(request.instance.keyHash.value);
  if (request.instances == DDS_ReadSelectionI::one) {
    selection.instance = handle;
    const auto is_left_over = [&](const EngineSlot& slot) { return instance_of(slot) == *handle; };
    return handle && (cache->knows(*handle) || std::any_of(slots.begin(), slots.end(), is_left_over))
               ? DDS_RETCODE_OK
               : DDS_RETCODE_BAD_PARAMETER;
  }
  selection.instance = cache->next(selection, handle);
  for (const EngineSlot& slot : slots) {
    const KeyHash instance = instance_of(slot);
    const bool follows = !handle || instance > *handle;
    if (follows && selects(selection, slot.info) && (!selection.instance || instance < *selection.instance))
      selection.instance = instance;
  }
  return selection.instance ? DDS_RETCODE_OK : DDS_RETCODE_NO_DATA;
}

/// Decodes `slot` into `sample`. Logs a malformed sample. `lent_octets` is the memory that a sample on loan uses, and
/// null for other samples. Does not throw.
DDSDataReader::Impl::Decoded DDSDataReader::Impl::decode(const EngineSlot& slot, void* sample, std::size_t* lent_octets,
                                                         DDS_SampleInfo& info) {
  info = slot.info;
  if (!is_keyed(*type)) info.instance_handle = DDS_HANDLE_NIL;
  const EncodedSample& encoded = *slot.sample.get();
  if (!slot.info.valid_data) {
    if (lent_octets && !type->clear_lean(sample, lent_octets)) return Decoded::out_of_memory;
    const bool complete = cache->copy_key(key_hash_of(encoded.key_hash), sample) != DDS_RETCODE_OUT_OF_RESOURCES;
    return complete ? Decoded::good : Decoded::out_of_memory;
  }
  if (lent_octets ? type->decode_lean(sample, encoded.bytes, encoded.size, lent_octets)
                  : type->decode(sample, encoded.bytes, encoded.size)) {
    return Decoded::good;
  }
  DDS_KeyHash_t hash;
  if (type->check(encoded.bytes, encoded.size, &hash)) return Decoded::out_of_memory;
  counters->not_decoded();
  log_joined(LogLevel::error, "DDSDataReader",
             {"a sample of topic \"", topic->impl().name, "\" could not be decoded and was dropped"});
  return Decoded::malformed;
}

DDS_ReturnCode_t DDSDataReader::Impl::copy_key(const DDS_InstanceHandle_t& handle, void* key_holder) {
  if (!handle.isValid || !key_holder) return DDS_RETCODE_BAD_PARAMETER;
  return cache->copy_key(key_hash_of(handle.keyHash.value), key_holder);
}

DDS_InstanceHandle_t DDSDataReader::Impl::lookup_instance(const void* key_holder) {
  DDS_KeyHash_t octets = {};
  if (!key_holder || !is_keyed(*type) || !type->instance_to_keyhash(nullptr, &octets, key_holder)) {
    return DDS_HANDLE_NIL;
  }
  const KeyHash hash = key_hash_of(octets.value);
  return cache->knows(hash) ? tessivar::platform::handle_of(hash) : DDS_HANDLE_NIL;
}

DDS_ReturnCode_t DDSDataReader::Impl::return_loan(const void* lent) {
  std::unique_ptr<Loan> loan = loans ? loans->take_back(lent) : nullptr;
  if (!loan) return DDS_RETCODE_PRECONDITION_NOT_MET;
  cache->loan_returned(loan->samples.data());
  loans->keep(std::move(loan));
  return DDS_RETCODE_OK;
}
