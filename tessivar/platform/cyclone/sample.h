// SPDX-License-Identifier: Apache-2.0

// A sample for the engine: the engine's header, our header and the encoded octets, in one block of memory.
#pragma once

#include "tessivar/platform/cyclone/engine_api.h"

#include <atomic>

namespace tessivar::platform::cyclone {

/// A type for the engine. Two objects with the same plugin are the same type.
struct SampleType {
  ddsi_sertype engine;  // first: the engine hands out pointers to it
  const PRESTypePlugin* plugin;
};

extern const ddsi_serdata_ops sample_ops;

struct SampleData {
  ddsi_serdata engine;  // first: the engine hands out pointers to it
  EncodedSample sample;
  const PRESTypePlugin* plugin;
  /// For a key of which only the hash arrived: the same key with its octets. Set once, when a sample with this key is
  /// known.
  std::atomic<SampleData*> with_octets;
  /// Set after all other members: the engine's instance table gives keys to other threads without a lock.
  std::atomic<bool> complete;
  std::uint8_t size_class;

  /// Allocates a sample with memory for `size` encoded octets. Returns null if memory is short. `type` may be null, for
  /// a key that topics share.
  static SampleData* create(const ddsi_sertype* type, const PRESTypePlugin& plugin, ddsi_serdata_kind kind,
                            std::size_t size);
  static SampleData* of(EncodedSample* sample);
  static SampleData* of(ddsi_serdata* data) { return reinterpret_cast<SampleData*>(data); }
  static const SampleData* of(const ddsi_serdata* data) { return reinterpret_cast<const SampleData*>(data); }

  /// To be called last, when the octets and the key hash are in place.
  void finish();
};

/// What the engine's read operations store for one sample: a counted reference to the sample.
typedef EncodedSample* SampleSlot;

}  // namespace tessivar::platform::cyclone
