// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/sample.h"

#include "tessivar/platform/cyclone/pool.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <new>

namespace tessivar::platform::cyclone {
namespace {

// If the key of a dispose is shorter than a key hash, other vendors' peers use it as a key hash or read beyond its end.
constexpr std::size_t smallest_key = 20;

std::size_t align4(std::size_t size) {
  return (size + 3) & ~std::size_t{3};
}

void retain(EncodedSample* sample) {
  ddsi_serdata_ref(&SampleData::of(sample)->engine);
}
void release(EncodedSample* sample) {
  ddsi_serdata_unref(&SampleData::of(sample)->engine);
}

bool keyed(const PRESTypePlugin& plugin) {
  return plugin.get_key_kind() != PRES_TYPEPLUGIN_NO_KEY;
}

// Checks received octets and computes the key hash from them. A received key hash is not trusted.
bool adopt(SampleData& data) {
  DDS_KeyHash_t hash = {};
  const auto check = data.engine.kind == SDK_KEY ? data.plugin->check_key : data.plugin->check;
  if (!check(data.sample.bytes, data.sample.size, &hash)) return false;
  std::memcpy(data.sample.key_hash, hash.value, sizeof data.sample.key_hash);
  data.finish();
  return true;
}

SampleData* create_received(const ddsi_sertype* type, ddsi_serdata_kind kind, std::size_t size) {
  if (size < 4 || size > UINT32_MAX - smallest_key) return nullptr;
  SampleData* data = SampleData::create(type, *reinterpret_cast<const SampleType*>(type)->plugin, kind, size);
  if (data) data->sample.reception_time = dds_time();
  return data;
}

ddsi_serdata* adopt_or_drop(SampleData* data, bool complete) {
  if (complete && adopt(*data)) return &data->engine;
  if (data->plugin->malformed) data->plugin->malformed->add();
  ddsi_serdata_unref(&data->engine);
  return nullptr;
}

ddsi_serdata* from_fragments(const ddsi_sertype* type, ddsi_serdata_kind kind, const nn_rdata* fragment,
                             std::size_t size) {
  SampleData* data = create_received(type, kind, size);
  if (!data) return nullptr;
  std::size_t filled = 0;
  for (; fragment; fragment = fragment->nextfrag) {
    if (fragment->maxp1 <= filled) continue;  // repeats octets that are already copied
    if (fragment->min > filled || fragment->maxp1 > size) break;
    const unsigned char* payload = NN_RMSG_PAYLOADOFF(fragment->rmsg, NN_RDATA_PAYLOAD_OFF(fragment));
    std::memcpy(data->sample.bytes + filled, payload + (filled - fragment->min), fragment->maxp1 - filled);
    filled = fragment->maxp1;
  }
  return adopt_or_drop(data, filled == size);
}

ddsi_serdata* from_vectors(const ddsi_sertype* type, ddsi_serdata_kind kind, ddsrt_msg_iovlen_t count,
                           const ddsrt_iovec_t* vectors, std::size_t size) {
  SampleData* data = create_received(type, kind, size);
  if (!data) return nullptr;
  std::size_t filled = 0;
  for (ddsrt_msg_iovlen_t i = 0; i < count && filled < size; ++i) {
    const std::size_t part = std::min<std::size_t>(vectors[i].iov_len, size - filled);
    std::memcpy(data->sample.bytes + filled, vectors[i].iov_base, part);
    filled += part;
  }
  return adopt_or_drop(data, filled == size);
}

// Some peers send only the key hash with a dispose.
ddsi_serdata* from_key_hash(const ddsi_sertype* type, const ddsi_keyhash* hash) {
  SampleData* data = SampleData::create(type, *reinterpret_cast<const SampleType*>(type)->plugin, SDK_KEY, 0);
  if (!data) return nullptr;
  data->sample.reception_time = dds_time();
  std::memcpy(data->sample.key_hash, hash->value, sizeof data->sample.key_hash);
  data->finish();
  return &data->engine;
}

// Samples reach the engine encoded, never as objects.
ddsi_serdata* from_object(const ddsi_sertype*, ddsi_serdata_kind, const void*) {
  return nullptr;
}

// Returns the key of a sample, or `data` itself if it is a key; null if memory is short. A new key belongs to no topic,
// because the engine's instance table shares it.
SampleData* key_of(const SampleData& data) {
  if (data.engine.kind == SDK_KEY) return SampleData::of(ddsi_serdata_ref(&data.engine));
  std::uint8_t small[256];
  std::size_t size = 0;
  if (keyed(*data.plugin)) size = data.plugin->encoded_to_key(data.sample.bytes, data.sample.size, small, sizeof small);
  SampleData* key = SampleData::create(nullptr, *data.plugin, SDK_KEY, size);
  if (!key) return nullptr;
  if (size > sizeof small)
    data.plugin->encoded_to_key(data.sample.bytes, data.sample.size, key->sample.bytes, size);
  else if (size != 0)
    std::memcpy(key->sample.bytes, small, size);
  key->sample.reception_time = data.sample.reception_time;
  std::memcpy(key->sample.key_hash, data.sample.key_hash, sizeof key->sample.key_hash);
  key->finish();
  return key;
}

// Adds the octets of the key to `hash_only`, a key in the engine's instance table of which only the hash arrived. The
// engine keeps it as long as the instance. `whole` is a sample of the instance.
void add_octets(const SampleData& hash_only, const SampleData& whole) {
  if (hash_only.with_octets.load(std::memory_order_acquire)) return;
  SampleData* key = key_of(whole);
  SampleData* none = nullptr;
  if (key &&
      !const_cast<SampleData&>(hash_only).with_octets.compare_exchange_strong(none, key, std::memory_order_acq_rel))
    ddsi_serdata_unref(&key->engine);
}

bool equal_keys(const ddsi_serdata* left, const ddsi_serdata* right) {
  const SampleData& a = *SampleData::of(left);
  const SampleData& b = *SampleData::of(right);
  if (!a.complete.load(std::memory_order_acquire) || !b.complete.load(std::memory_order_acquire)) return false;
  if (a.plugin != b.plugin || std::memcmp(a.sample.key_hash, b.sample.key_hash, sizeof a.sample.key_hash) != 0)
    return false;
  if (!a.sample.bytes != !b.sample.bytes && keyed(*a.plugin)) a.sample.bytes ? add_octets(b, a) : add_octets(a, b);
  return true;
}

std::uint32_t size_on_wire(const ddsi_serdata* data) {
  const std::uint32_t size = SampleData::of(data)->sample.size;
  return data->kind == SDK_KEY ? std::max<std::uint32_t>(size, smallest_key) : size;
}

void copy_out(const ddsi_serdata* data, std::size_t offset, std::size_t size, void* buffer) {
  std::memcpy(buffer, SampleData::of(data)->sample.bytes + offset, size);
}

ddsi_serdata* lend(const ddsi_serdata* data, std::size_t offset, std::size_t size, ddsrt_iovec_t* vector) {
  vector->iov_base = SampleData::of(data)->sample.bytes + offset;
  vector->iov_len = size;
  return ddsi_serdata_ref(data);
}

void end_lending(ddsi_serdata* data, const ddsrt_iovec_t*) {
  ddsi_serdata_unref(data);
}

bool to_slot(const ddsi_serdata* data, void* slot, void**, void*) {
  *static_cast<SampleSlot*>(slot) = &SampleData::of(ddsi_serdata_ref(data))->sample;
  return true;
}

bool key_to_slot(const ddsi_sertype*, const ddsi_serdata* data, void* slot, void**, void*) {
  const SampleData* with_octets = SampleData::of(data)->with_octets.load(std::memory_order_acquire);
  return to_slot(with_octets ? &with_octets->engine : data, slot, nullptr, nullptr);
}

// The engine does not check for null. If memory is short, returns the sample itself, which has the same key hash.
ddsi_serdata* to_untyped(const ddsi_serdata* data) {
  SampleData* key = key_of(*SampleData::of(data));
  return key ? &key->engine : ddsi_serdata_ref(data);
}

// The type may already be destroyed.
void destroy(ddsi_serdata* data) {
  SampleData* sample = SampleData::of(data);
  if (SampleData* with_octets = sample->with_octets.load(std::memory_order_acquire))
    ddsi_serdata_unref(&with_octets->engine);
  const std::uint8_t size_class = sample->size_class;
  sample->~SampleData();
  give_back({sample, size_class});
}

std::size_t print(const ddsi_sertype*, const ddsi_serdata* data, char* text, std::size_t size) {
  const SampleData& sample = *SampleData::of(data);
  return static_cast<std::size_t>(
      std::snprintf(text, size, "%s, %u octets", sample.plugin->type_name, sample.sample.size));
}

void copy_key_hash(const ddsi_serdata* data, ddsi_keyhash* hash, bool) {
  std::memcpy(hash->value, SampleData::of(data)->sample.key_hash, sizeof hash->value);
}

ddsi_serdata_ops make_sample_ops() {
  ddsi_serdata_ops ops = {};
  ops.eqkey = equal_keys;
  ops.get_size = size_on_wire;
  ops.from_ser = from_fragments;
  ops.from_ser_iov = from_vectors;
  ops.from_keyhash = from_key_hash;
  ops.from_sample = from_object;
  ops.to_ser = copy_out;
  ops.to_ser_ref = lend;
  ops.to_ser_unref = end_lending;
  ops.to_sample = to_slot;
  ops.to_untyped = to_untyped;
  ops.untyped_to_sample = key_to_slot;
  ops.free = destroy;
  ops.print = print;
  ops.get_keyhash = copy_key_hash;
  return ops;
}

}  // namespace

const ddsi_serdata_ops sample_ops = make_sample_ops();

SampleData* SampleData::create(const ddsi_sertype* type, const PRESTypePlugin& plugin, ddsi_serdata_kind kind,
                               std::size_t size) {
  // The engine sends whole words of 4 octets, so zeros fill the last word.
  const std::size_t room = size == 0 ? 0 : align4(kind == SDK_KEY ? std::max(size, smallest_key) : size);
  const PoolBlock block = take_block(sizeof(SampleData) + room);
  if (!block.memory) return nullptr;
  auto* data = new (block.memory) SampleData{};
  if (type) {
    ddsi_serdata_init(&data->engine, type, kind);
  } else {
    data->engine.ops = &sample_ops;
    data->engine.kind = kind;
    ddsrt_atomic_st32(&data->engine.refc, 1);
  }
  auto* bytes = reinterpret_cast<std::uint8_t*>(data + 1);
  data->sample.bytes = size == 0 ? nullptr : bytes;
  data->sample.size = static_cast<std::uint32_t>(size);
  data->sample.key_only = kind == SDK_KEY;
  data->sample.retain = retain;
  data->sample.release = release;
  data->plugin = &plugin;
  data->size_class = block.size_class;
  std::memset(bytes + size, 0, room - size);
  return data;
}

SampleData* SampleData::of(EncodedSample* sample) {
  return reinterpret_cast<SampleData*>(reinterpret_cast<std::uint8_t*>(sample) - offsetof(SampleData, sample));
}

void SampleData::finish() {
  std::uint64_t parts[2];
  std::memcpy(parts, sample.key_hash, sizeof parts);
  std::uint64_t mixed = parts[0] ^ (parts[1] * 0x9e3779b97f4a7c15u) ^ reinterpret_cast<std::uintptr_t>(plugin);
  mixed *= 0xd6e8feb86659fd93u;
  engine.hash = static_cast<std::uint32_t>(mixed >> 32);
  complete.store(true, std::memory_order_release);
}

}  // namespace tessivar::platform::cyclone
