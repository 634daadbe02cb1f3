// A sample as the engine holds it: its own header, ours, and the encoded octets, in one block of memory.
#pragma once

#include "tessivar/platform/cyclone/engine_api.h"

#include <atomic>

namespace tessivar::platform::cyclone {

/// A type as the engine knows it. Two of one plugin are the same type.
struct SampleType {
  ddsi_sertype engine;  // first: the engine hands out pointers to it
  const PRESTypePlugin* plugin;
};

extern const ddsi_serdata_ops sample_ops;

struct SampleData {
  ddsi_serdata engine;  // first: the engine hands out pointers to it
  EncodedSample sample;
  const PRESTypePlugin* plugin;
  /// For a key of which only the hash arrived: the same key with its octets, once a sample of it was seen. Set once.
  std::atomic<SampleData*> learned;
  /// Set when all the rest is in place: the engine's instance table hands keys to other threads without a lock.
  std::atomic<bool> complete;
  std::uint8_t size_class;

  /// Room for `size` octets of encoding. Null when memory is short. `type` may be null (a key shared by topics).
  static SampleData* create(const ddsi_sertype* type, const PRESTypePlugin& plugin, ddsi_serdata_kind kind,
                            std::size_t size);
  static SampleData* of(EncodedSample* sample);
  static SampleData* of(ddsi_serdata* data) { return reinterpret_cast<SampleData*>(data); }
  static const SampleData* of(const ddsi_serdata* data) { return reinterpret_cast<const SampleData*>(data); }

  /// To be called last, when the octets and the key hash are in place.
  void finish();
};

/// What the engine's read operations store for one sample: a count of it.
typedef EncodedSample* SampleSlot;

}  // namespace tessivar::platform::cyclone
