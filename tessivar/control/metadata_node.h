// SPDX-License-Identifier: Apache-2.0

// The topic node of the commands' metadata.
#pragma once

#include "tessivar/framework/nodes/dds_filtered_node.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/command/command.h"

#include <string>
#include <vector>

namespace TessivarDDS {

/// A filtered node that makes its filtered topic together with its topic. Not thread-safe, as every node.
class TESSIVAR_API MetadataNode : public DDSFilteredNode<Tessivar::CommandMetadata> {
 public:
  /// The units whose metadata the reader gets; an empty list means all units. createTopic() uses the list; later use
  /// setFilterParameters().
  void setFilterAddresses(const std::vector<std::string>& addresses) { addresses_ = addresses; }

  /// Makes the topic, and the topic filtered by address. The address filter must be registered in the domain.
  bool createTopic(const std::string& name, const DDS_TopicQos& qos);

 private:
  std::vector<std::string> addresses_;
};

}  // namespace TessivarDDS
