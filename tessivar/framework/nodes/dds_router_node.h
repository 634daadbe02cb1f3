// SPDX-License-Identifier: Apache-2.0

// The node of a router's sources, destinations and associations.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/framework/nodes/dds_filtered_node.h"

#include <atomic>

namespace TessivarDDS {

/// A node for state that comes in large numbers: its reader is filtered by the addresses of routers, its writer sends
/// many samples together.
template <class T>
class TESSIVAR_API DDSRouterNode : public DDSFilteredNode<T> {
 public:
  /// A node on `domain` with a durable topic; a client reads the samples of the routers at `addresses` (none: of all
  /// routers), a server writes. The address filter must be registered with the domain. With a `library` the QoS, also
  /// of batching, is that of its `profile`. Null on failure. The caller owns it.
  static DDSRouterNode* create(DDSDomain* domain, const std::vector<AddressEx>& addresses, const std::string& topicName,
                               bool isClient, const std::string& library = {}, const std::string& profile = {});

  /// Samples are sent when 4096 octets or 1000 of them have come together, or after 50 ms, unless a profile says
  /// otherwise.
  bool createBatchedDataWriter();
  /// The batching switch, on at first. Off, every sample is sent at once. Thread-safe.
  void enableBatching(bool enable);
  bool writeSample(T* sample, bool release) override;
  using DDSNode<T>::writeSample;

  /// The routers to read of from now on.
  bool updateAddresses(const std::vector<AddressEx>& addresses);

 private:
  bool createFilteredDataReader(const std::vector<AddressEx>& addresses);
  static std::string signature(const char* result, const char* function);

  std::atomic<bool> batching_{true};
};

}  // namespace TessivarDDS

#include "tessivar/framework/nodes/detail/dds_router_node_inl.h"
