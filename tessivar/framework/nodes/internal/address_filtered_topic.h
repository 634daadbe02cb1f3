// SPDX-License-Identifier: Apache-2.0

// Creates a topic that is filtered by addresses of units.
#pragma once

#include "tessivar/framework/filters/address_content_filter.h"
#include "tessivar/framework/nodes/dds_filtered_node.h"

namespace TessivarDDS {

/// Creates the filtered topic of the node. It passes the samples of the units with these addresses; without addresses,
/// of all units. The address filter must be registered with the domain. A failure is logged: the message begins with
/// `signature`. If the topic cannot be created, the message is `failure`.
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
