// SPDX-License-Identifier: Apache-2.0

// The node for the sources, destinations and associations of routers.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/nodes/dds_filtered_node.h"

#include <atomic>

namespace TessivarDDS {

/// A node for large numbers of state samples. Its reader is filtered by addresses of routers. Its writer sends many
/// samples in one batch.
template <class T>
class TESSIVAR_API DDSRouterNode : public DDSFilteredNode<T> {
 public:
  /// Creates a node on `domain` with a durable topic. A client reads the samples of the routers at `addresses`; without
  /// addresses, of all routers. A server writes. The address filter must be registered with the domain. With a
  /// `library`, all QoS, also those of batching, come from its `profile`. The caller owns the node. Returns null on
  /// failure.
  static DDSRouterNode* create(DDSDomain* domain, const std::vector<AddressEx>& addresses, const std::string& topicName,
                               bool isClient, const std::string& library = {}, const std::string& profile = {});

  /// Creates a writer that sends a batch when it contains 4096 octets or 1000 samples, or after 50 ms. A profile may
  /// have other values.
  bool createBatchedDataWriter();
  /// Switches batching on or off. It is on by default. If it is off, every sample is sent immediately. Thread-safe.
  void enableBatching(bool enable);
  bool writeSample(T* sample, bool release) override;
  using DDSNode<T>::writeSample;

  /// Replaces the addresses of the routers whose samples the reader receives. Returns false on failure.
  bool updateAddresses(const std::vector<AddressEx>& addresses);

 private:
  bool createFilteredDataReader(const std::vector<AddressEx>& addresses);
  static std::string signature(const char* result, const char* function);

  std::atomic<bool> batching_{true};
};

}  // namespace TessivarDDS

#include "tessivar/framework/nodes/detail/dds_router_node_inl.h"
