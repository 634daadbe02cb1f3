// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/topic.h"

#include "tessivar/platform/cyclone/engine_log.h"
#include "tessivar/platform/cyclone/no_throw.h"
#include "tessivar/platform/cyclone/sample.h"
#include "tessivar/platform/cyclone/translate.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace tessivar::platform::cyclone {
namespace {

// Engines of the 0.10 series refuse topic names with characters other than letters, digits, '_' and '/', although the
// protocol allows other characters. They check the name, then get the type information from the type, and then copy the
// name. So the engine gets a name that it accepts, in our memory, and put_pending_name() writes the real name there.
struct PendingName {
  char* buffer;
  const std::string* name;
};
thread_local PendingName pending_name = {};

ddsi_typeinfo_t* put_pending_name(const ddsi_sertype*) {
  if (pending_name.buffer) std::memcpy(pending_name.buffer, pending_name.name->data(), pending_name.name->size());
  return nullptr;  // no type information: types are matched by name
}

void free_type(ddsi_sertype* type) {
  ddsi_sertype_fini(type);
  delete reinterpret_cast<SampleType*>(type);
}

bool equal_types(const ddsi_sertype* a, const ddsi_sertype* b) {
  return reinterpret_cast<const SampleType*>(a)->plugin == reinterpret_cast<const SampleType*>(b)->plugin;
}

std::uint32_t hash_type(const ddsi_sertype* type) {
  const auto address = reinterpret_cast<std::uintptr_t>(reinterpret_cast<const SampleType*>(type)->plugin);
  return static_cast<std::uint32_t>(address >> 4);
}

void clear_slots(const ddsi_sertype*, void* slots, std::size_t count) {
  std::memset(slots, 0, count * sizeof(SampleSlot));
}

// The engine needs one slot for each call of a filter. This slot avoids an allocation for each call.
thread_local SampleSlot spare_slot;
thread_local bool spare_slot_taken = false;

void reallocate_slots(void** pointers, const ddsi_sertype*, void* old, std::size_t old_count, std::size_t count) {
  SampleSlot* slots;
  if (!old && count == 1 && !spare_slot_taken) {
    spare_slot_taken = true;
    slots = &spare_slot;
  } else {
    slots = static_cast<SampleSlot*>(count == old_count ? old : std::realloc(old, count * sizeof(SampleSlot)));
    if (!slots) std::abort();  // the engine accepts no failure here
  }
  for (std::size_t i = old_count; i < count; ++i) slots[i] = nullptr;
  for (std::size_t i = 0; i < count; ++i) pointers[i] = slots + i;
}

void free_slots(const ddsi_sertype*, void** pointers, std::size_t count, dds_free_op_t operation) {
  auto* slots = static_cast<SampleSlot*>(pointers[0]);
  if (operation & DDS_FREE_CONTENTS_BIT) {
    for (std::size_t i = 0; i < count; ++i) {
      if (slots[i]) slots[i]->release(slots[i]);
      slots[i] = nullptr;
    }
  }
  if (!(operation & DDS_FREE_ALL_BIT)) return;
  if (slots == &spare_slot)
    spare_slot_taken = false;
  else
    std::free(slots);
}

ddsi_sertype_ops make_type_ops() {
  ddsi_sertype_ops ops = {};
  ops.version = ddsi_sertype_v0;
  ops.free = free_type;
  ops.zero_samples = clear_slots;
  ops.realloc_samples = reallocate_slots;
  ops.free_samples = free_slots;
  ops.equal = equal_types;
  ops.hash = hash_type;
  ops.type_info = put_pending_name;
  return ops;
}

const ddsi_sertype_ops type_ops = make_type_ops();

/// The name by which the engine announces and matches the type.
const char* name_of(const PRESTypePlugin& plugin) {
  return plugin.registered_name ? plugin.registered_name : plugin.type_name;
}

ddsi_sertype* make_type(const PRESTypePlugin& plugin) {
  auto* type = new SampleType{};
  type->plugin = &plugin;
  std::uint32_t flags = DDSI_SERTYPE_FLAG_REQUEST_KEYHASH;
  if (plugin.get_key_kind() == PRES_TYPEPLUGIN_NO_KEY) flags |= DDSI_SERTYPE_FLAG_TOPICKIND_NO_KEY;
  ddsi_sertype_init_flags(&type->engine, name_of(plugin), &type_ops, &sample_ops, flags);
  return &type->engine;
}

// Creates the type and the topic entity. On success the engine owns the type's reference; otherwise it is released
// here.
dds_entity_t create_entity(dds_entity_t participant, char* name, const PRESTypePlugin& plugin,
                           const ddsi_sertype*& registered) {
  ddsi_sertype* type = make_type(plugin);
  const dds_entity_t topic = dds_create_topic_sertype(participant, name, &type, nullptr, nullptr, nullptr);
  if (topic < 0)
    ddsi_sertype_unref(type);
  else
    registered = type;
  return topic;
}

bool has_name(dds_entity_t topic, const std::string& name) {
  std::string actual(name.size() + 2, '\0');
  const dds_return_t length = dds_get_name(topic, actual.data(), actual.size());
  return length == static_cast<dds_return_t>(name.size()) && actual.compare(0, name.size(), name) == 0;
}

bool call_filter(const void* slot, const dds_sample_info_t* info, void* filter) {
  const DDS_FilterSampleInfo filter_info = {to_time(info->source_timestamp)};
  const EncodedSample& sample = **static_cast<const SampleSlot*>(slot);
  return static_cast<EngineFilter*>(filter)->accepts(sample, info->instance_handle, filter_info);
}

}  // namespace

Topic::~Topic() {
  if (entity_ > 0) dds_delete(entity_);
}

bool Topic::create(dds_entity_t participant, const std::string& name, const PRESTypePlugin& type, std::string& error) {
  if (name.empty() || name.size() > 255) {
    error = "topic \"" + name + "\": a name has 1 to 255 characters";
    return false;
  }
  const EngineLogCapture log;
  std::string buffer = name;
  entity_ = create_entity(participant, buffer.data(), type, type_);
  if (entity_ == api::bad_parameter) {
    buffer = name;
    std::replace(buffer.begin(), buffer.end(), '.', '_');
    pending_name = {buffer.data(), &name};
    entity_ = create_entity(participant, buffer.data(), type, type_);
    pending_name = {};
  }
  if (entity_ < 0) {
    error = "topic \"" + name + "\" of type \"" + name_of(type) + "\": " + describe(entity_) + log.text();
    return false;
  }
  name_ = name;
  if (!has_name(entity_, name)) {
    error = "topic \"" + name + "\": this version of the engine cannot give a topic a name with these characters";
    return false;
  }
  return true;
}

namespace {

constinit thread_local const ReaderCallback* innermost_callback = nullptr;

}  // namespace

ReaderCallback::ReaderCallback(const Topic& topic) : topic_(topic), outer_(innermost_callback) {
  innermost_callback = this;
}

ReaderCallback::~ReaderCallback() {
  innermost_callback = outer_;
}

bool ReaderCallback::concerns(const Topic& topic) {
  for (const ReaderCallback* one = innermost_callback; one; one = one->outer_) {
    if (one->topic_.is_same(topic)) return true;
  }
  return false;
}

bool Topic::set_filter(EngineFilter& filter, std::string& error) {
  dds_topic_filter engine_filter = {};
  engine_filter.mode = DDS_TOPIC_FILTER_SAMPLE_SAMPLEINFO_ARG;
  engine_filter.f.sample_sampleinfo_arg = NoThrow<call_filter>::call;
  engine_filter.arg = &filter;
  const dds_return_t result = dds_set_topic_filter_extended(entity_, &engine_filter);
  if (result != api::ok) error = "content filter: " + describe(result);
  return result == api::ok;
}

}  // namespace tessivar::platform::cyclone
