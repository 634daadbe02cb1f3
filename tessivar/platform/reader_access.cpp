// Reading and taking: from the engine's encoded samples to decoded ones in the application's hands.
#include "tessivar/platform/condition_impl.h"
#include "tessivar/platform/log.h"
#include "tessivar/platform/reader_impl.h"
#include "tessivar/platform/sequence_fill.h"
#include "tessivar/platform/topic_impl.h"

#include <algorithm>

using tessivar::platform::EngineHandle;
using tessivar::platform::EngineSelection;
using tessivar::platform::EngineSlot;
using tessivar::platform::key_hash_of;
using tessivar::platform::KeyHash;
using tessivar::platform::Loan;
using tessivar::platform::log;
using tessivar::platform::LogLevel;
using tessivar::platform::ReaderSide;

namespace {

bool is_keyed(const PRESTypePlugin& type) {
  return type.get_key_kind() != PRES_TYPEPLUGIN_NO_KEY;
}

EngineSelection selection_of(const DDS_ReadSelectionI& request) {
  EngineSelection selection;
  selection.take = request.take != DDS_BOOLEAN_FALSE;
  const DDSReadCondition* condition = request.condition;
  selection.sample_states = condition ? condition->get_sample_state_mask() : request.sample_states;
  selection.view_states = condition ? condition->get_view_state_mask() : request.view_states;
  selection.instance_states = condition ? condition->get_instance_state_mask() : request.instance_states;
  return selection;
}

bool selects(const EngineSelection& selection, const DDS_SampleInfo& info) {
  return (selection.sample_states & info.sample_state) && (selection.view_states & info.view_state) &&
         (selection.instance_states & info.instance_state);
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
  const DDS_ReturnCode_t fetched = request.instances == DDS_ReadSelectionI::all
                                       ? fetch(selection_of(request), max)
                                       : fetch_instances(request, selection_of(request), max);
  if (fetched != DDS_RETCODE_OK) return fetched;

  // Where the samples go.
  Loan* loan = nullptr;
  if (lends && !(loan = loans->lend(slots.size()))) {
    slots.clear();
    log(LogLevel::error, "DDSDataReader", "no memory for the samples of topic \"" + topic->impl().name + '"');
    return DDS_RETCODE_OUT_OF_RESOURCES;
  }
  if (!lends && !tessivar::platform::make_length(infos, slots.size())) return DDS_RETCODE_OUT_OF_RESOURCES;
  auto* const contiguous = static_cast<char*>(samples.contiguous);
  std::size_t count = 0;
  for (const EngineSlot& slot : slots) {
    void* sample = lends ? loan->samples[count] : contiguous + static_cast<std::ptrdiff_t>(count) * samples.sample_size;
    DDS_SampleInfo& info = lends ? loan->infos[count] : infos[static_cast<DDS_Long>(count)];
    if (decode(slot, sample, info)) ++count;
  }
  slots.clear();

  samples.count = static_cast<DDS_Long>(count);
  if (!lends) {
    infos.length(samples.count);
    return count ? DDS_RETCODE_OK : DDS_RETCODE_NO_DATA;
  }
  if (!count) {
    loans->take_back(loan->samples.data());
    return DDS_RETCODE_NO_DATA;
  }
  samples.lent = DDS_BOOLEAN_TRUE;
  samples.lent_samples = loan->samples.data();
  samples.lent_maximum = static_cast<DDS_Long>(loan->samples.size());
  infos.loan_contiguous(loan->infos.data(), samples.count, samples.lent_maximum);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataReader::Impl::read_or_take_next(void* sample, DDS_SampleInfo& info, bool take) {
  if (!sample) return DDS_RETCODE_BAD_PARAMETER;
  const std::lock_guard lock(access);
  if (!side) return DDS_RETCODE_NOT_ENABLED;
  EngineSelection selection;
  selection.take = take;
  selection.sample_states = DDS_NOT_READ_SAMPLE_STATE;
  for (;;) {
    const DDS_ReturnCode_t fetched = fetch(selection, 1);
    if (fetched != DDS_RETCODE_OK) return fetched;
    const bool decoded = decode(slots.front(), sample, info);
    slots.clear();
    if (decoded) return DDS_RETCODE_OK;
  }
}

/// Fills `slots` with what the application may see: at least one sample when the result is OK.
DDS_ReturnCode_t DDSDataReader::Impl::fetch(EngineSelection selection, DDS_Long max) {
  for (;;) {
    const std::uint64_t accepted = side->instances().begin_access();
    const DDS_ReturnCode_t result = side->engine().access(selection, max, slots);
    if (result != DDS_RETCODE_OK) slots.clear();
    if (result != DDS_RETCODE_OK && result != DDS_RETCODE_NO_DATA) return result;
    const bool complete = max < 0 || slots.size() < static_cast<std::size_t>(max);
    const std::size_t fetched = slots.size();
    const bool dropped = drop_unknown(selection.take);
    if (is_keyed(*type)) side->instances().accessed(selection, slots, complete, accepted);
    if (!departed.empty()) add_departed(selection, max);
    if (!slots.empty()) return DDS_RETCODE_OK;
    if (fetched == 0 || complete || !dropped) return DDS_RETCODE_NO_DATA;
  }
}

/// Samples of one instance, or of the next one that has any.
DDS_ReturnCode_t DDSDataReader::Impl::fetch_instances(const DDS_ReadSelectionI& request, EngineSelection selection,
                                                      DDS_Long max) {
  if (!is_keyed(*type)) {
    if (request.instance.isValid || request.instances == DDS_ReadSelectionI::one) return DDS_RETCODE_BAD_PARAMETER;
    return fetch(selection, max);
  }
  if (request.instances == DDS_ReadSelectionI::one) {
    if (!request.instance.isValid) return DDS_RETCODE_BAD_PARAMETER;
    selection.instance = side->instances().find(key_hash_of(request.instance.keyHash.value));
    if (!selection.instance) return DDS_RETCODE_BAD_PARAMETER;
    const DDS_ReturnCode_t result = fetch(selection, max);
    return result == DDS_RETCODE_PRECONDITION_NOT_MET ? DDS_RETCODE_NO_DATA : result;
  }
  DDS_InstanceHandle_t after = request.instance;
  while (const auto next = side->instances().next(after)) {
    after = tessivar::platform::handle_of(*next);
    selection.instance = side->instances().find(*next);
    if (!selection.instance) continue;
    const DDS_ReturnCode_t result = fetch(selection, max);
    if (result != DDS_RETCODE_NO_DATA && result != DDS_RETCODE_PRECONDITION_NOT_MET) return result;
  }
  return DDS_RETCODE_NO_DATA;
}

/// Disposals reach every reader of the participant, filtered or not: those of instances that this reader never let in
/// are none of its business. Whether any was removed from the engine's cache.
bool DDSDataReader::Impl::drop_unknown(bool taken) {
  const auto known = [&](const EngineSlot& slot) {
    if (!is_keyed(*type)) return side->has_accepted();
    return side->instances().knows(key_hash_of(slot.sample->key_hash));
  };
  unknown_instances.clear();
  std::erase_if(slots, [&](const EngineSlot& slot) {
    if (slot.info.valid_data || known(slot)) return false;
    unknown_instances.push_back(slot.instance);
    return true;
  });
  if (taken) return !unknown_instances.empty();
  EngineSelection selection;
  selection.take = true;
  selection.instance_states = DDS_NOT_ALIVE_INSTANCE_STATE;
  bool removed = false;
  for (const EngineHandle instance : unknown_instances) {
    selection.instance = instance;
    removed |= side->engine().access(selection, DDS_LENGTH_UNLIMITED, unknown_slots) == DDS_RETCODE_OK;
    unknown_slots.clear();
  }
  return removed;
}

/// What is left of an earlier side. The end of an instance that has come to life again is none any more, and would look
/// like the end of its new life.
void DDSDataReader::Impl::add_departed(const EngineSelection& selection, DDS_Long max) {
  if (selection.instance) return;
  std::erase_if(departed, [&](Departed& one) {
    const KeyHash hash = key_hash_of(one.slot.sample->key_hash);
    if (side->instances().knows(hash)) return true;
    const bool room = max < 0 || slots.size() < static_cast<std::size_t>(max);
    if (!room || !selects(selection, one.slot.info)) return false;
    side->instances().remember(hash, one.key);
    slots.push_back(std::move(one.slot));
    return true;
  });
  update_pending();
}

/// Triggers the conditions that what is left of an earlier side fits to, and no others.
void DDSDataReader::Impl::update_pending() {
  for (DDSReadCondition* condition : conditions) {
    const EngineSelection selection = selection_of({.condition = condition});
    const auto fits = [&](const Departed& one) { return selects(selection, one.slot.info); };
    tessivar::platform::set_pending(*condition, std::any_of(departed.begin(), departed.end(), fits));
  }
}

/// What nobody has read of instances that are gone would never be heard of: the next side knows nothing of them.
void DDSDataReader::Impl::keep_departed(ReaderSide& retired) {
  EngineSelection selection;
  selection.take = true;
  selection.sample_states = DDS_NOT_READ_SAMPLE_STATE;
  selection.instance_states = DDS_NOT_ALIVE_INSTANCE_STATE;
  retired.engine().access(selection, DDS_LENGTH_UNLIMITED, unknown_slots);
  for (EngineSlot& slot : unknown_slots) {
    const KeyHash hash = key_hash_of(slot.sample->key_hash);
    std::string key = retired.instances().key_of(hash);
    if (!key.empty() && !side->instances().knows(hash)) departed.push_back({std::move(slot), std::move(key)});
  }
  unknown_slots.clear();
  update_pending();
}

/// False, with a log line, for a sample that cannot be decoded.
bool DDSDataReader::Impl::decode(const EngineSlot& slot, void* sample, DDS_SampleInfo& info) {
  info = slot.info;
  if (!is_keyed(*type)) info.instance_handle = DDS_HANDLE_NIL;
  if (!slot.info.valid_data) {
    side->instances().copy_key(key_hash_of(slot.sample->key_hash), sample);
    return true;
  }
  if (type->decode(sample, slot.sample->bytes, slot.sample->size)) return true;
  log(LogLevel::error, "DDSDataReader",
      "a sample of topic \"" + topic->impl().name + "\" could not be decoded and was dropped");
  return false;
}

bool DDSDataReader::Impl::copy_key(const DDS_InstanceHandle_t& handle, void* key_holder) {
  if (!handle.isValid || !key_holder) return false;
  const std::lock_guard lock(access);
  return side && side->instances().copy_key(key_hash_of(handle.keyHash.value), key_holder);
}

DDS_InstanceHandle_t DDSDataReader::Impl::lookup_instance(const void* key_holder) {
  DDS_KeyHash_t octets = {};
  if (!key_holder || !is_keyed(*type) || !type->instance_to_keyhash(nullptr, &octets, key_holder)) {
    return DDS_HANDLE_NIL;
  }
  const KeyHash hash = key_hash_of(octets.value);
  const std::lock_guard lock(access);
  return side && side->instances().knows(hash) ? tessivar::platform::handle_of(hash) : DDS_HANDLE_NIL;
}
