// Reading and taking: from the cache's encoded samples to decoded ones in the application's hands.
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
using tessivar::platform::log;
using tessivar::platform::LogLevel;
using tessivar::platform::ReaderSelection;

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

}  // namespace

/// The rules of OMG DDS 1.4, 2.2.2.5.3.8 for a pair of sequences.
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
  ReaderSelection selection = selection_of(request);
  const DDS_ReturnCode_t found = find_instance(request, selection);
  if (found != DDS_RETCODE_OK) return found;
  const std::size_t available = cache->count(selection, max);
  if (available == 0) {
    update_conditions();  // samples may have expired
    return DDS_RETCODE_NO_DATA;
  }

  // Where the samples go. Nothing changes before there is memory for all of them.
  slots.reserve(available);
  Loan* loan = nullptr;
  if (lends && !(loan = loans->lend(available))) {
    log(LogLevel::error, "DDSDataReader", "no memory for the samples of topic \"" + topic->impl().name + '"');
    return DDS_RETCODE_OUT_OF_RESOURCES;
  }
  if (!lends && !tessivar::platform::make_length(infos, available)) return DDS_RETCODE_OUT_OF_RESOURCES;
  cache->access(selection, available, slots, lends ? loan->samples.data() : nullptr);
  update_conditions();
  auto* const contiguous = static_cast<char*>(samples.contiguous);
  std::size_t count = 0;
  for (const EngineSlot& slot : slots) {
    void* sample = lends ? loan->samples[count] : contiguous + static_cast<std::ptrdiff_t>(count) * samples.sample_size;
    DDS_SampleInfo& info = lends ? loan->infos[count] : infos[static_cast<DDS_Long>(count)];
    if (decode(slot, sample, lends ? &loan->octets[count] : nullptr, info)) ++count;
  }
  slots.clear();

  samples.count = static_cast<DDS_Long>(count);
  if (!lends) {
    infos.length(samples.count);
    return count ? DDS_RETCODE_OK : DDS_RETCODE_NO_DATA;
  }
  if (!count) {
    return_loan(loan->samples.data());
    return DDS_RETCODE_NO_DATA;
  }
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
  ReaderSelection selection;
  selection.take = take;
  selection.sample_states = DDS_NOT_READ_SAMPLE_STATE;
  bool decoded = false;
  while (!decoded && cache->count(selection, 1) > 0) {
    cache->access(selection, 1, slots, nullptr);
    decoded = !slots.empty() && decode(slots.front(), sample, nullptr, info);
    slots.clear();
  }
  update_conditions();
  return decoded ? DDS_RETCODE_OK : DDS_RETCODE_NO_DATA;
}

/// The instance that the request means, if it means one.
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
    return handle && cache->knows(*handle) ? DDS_RETCODE_OK : DDS_RETCODE_BAD_PARAMETER;
  }
  selection.instance = cache->next(selection, handle);
  return selection.instance ? DDS_RETCODE_OK : DDS_RETCODE_NO_DATA;
}

/// False, with a log line, for a sample that cannot be decoded. `lent_octets`: of a sample on loan, what it takes.
bool DDSDataReader::Impl::decode(const EngineSlot& slot, void* sample, std::size_t* lent_octets, DDS_SampleInfo& info) {
  info = slot.info;
  if (!is_keyed(*type)) info.instance_handle = DDS_HANDLE_NIL;
  if (!slot.info.valid_data) {
    if (lent_octets) type->clear_lean(sample, lent_octets);
    cache->copy_key(key_hash_of(slot.sample->key_hash), sample);
    return true;
  }
  const EncodedSample& encoded = *slot.sample.get();
  if (lent_octets ? type->decode_lean(sample, encoded.bytes, encoded.size, lent_octets)
                  : type->decode(sample, encoded.bytes, encoded.size)) {
    return true;
  }
  counters->not_decoded();
  log(LogLevel::error, "DDSDataReader",
      "a sample of topic \"" + topic->impl().name + "\" could not be decoded and was dropped");
  return false;
}

bool DDSDataReader::Impl::copy_key(const DDS_InstanceHandle_t& handle, void* key_holder) {
  return handle.isValid && key_holder && cache->copy_key(key_hash_of(handle.keyHash.value), key_holder);
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
