// SPDX-License-Identifier: Apache-2.0

// A node's view of the samples of chosen units.
#pragma once

#include "tessivar/framework/filters/address_content_filter.h"
#include "tessivar/framework/nodes/dds_filtered_node.h"

namespace TessivarDDS {

/// Makes the node's filtered topic, which passes the samples of the units with these addresses; without addresses those
/// of all units. The domain must have the address filter registered. What fails is logged after `signature`, a failing
/// creation as `failure`.
template <class T>
bool createAddressFilteredTopic(DDSFilteredNode<T>& node, const std::vector<std::string>& addresses,
                                const std::string& signature, const char* failure) {
  const DDSContentFilter* const filter = node.domain()->contentFilter(AddressContentFilter::name);
  if (!filter) {
    logError() << signature << "Custom filter not registered!";
    return false;
  }
  const bool created = node.createContentFilteredTopic(filter, AddressContentFilter::name,
                                                       AddressContentFilter::expression(node.typeName()), addresses);
  if (!created && failure) logError() << signature << failure;
  return created;
}

}  // namespace TessivarDDS
