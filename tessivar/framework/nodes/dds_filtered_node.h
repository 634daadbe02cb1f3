// SPDX-License-Identifier: Apache-2.0

// A node that reads a filtered view of its topic.
#pragma once

#include "tessivar/framework/nodes/dds_node.h"

namespace TessivarDDS {

/// A DDSNode whose content filter is checked to be the domain's, and whose filter parameters can be changed while data
/// flows.
template <class T>
class TESSIVAR_API DDSFilteredNode : public DDSNode<T> {
 public:
  /// As cleanUp().
  ~DDSFilteredNode() override;

  /// `filter` must be registered with the domain as `filterName`.
  bool createContentFilteredTopic(const DDSContentFilter* filter, const std::string& filterName,
                                  const std::string& expression,
                                  const std::vector<std::string>& parameters = {}) override;
  /// Replaces the filter's parameters, also while data flows; when that fails the old ones stay in force. A
  /// transient-local reader with the property "dds.data_reader.state.filter_redundant_samples" = "0" gets the history
  /// that the new ones let through.
  bool setFilterParameters(const std::vector<std::string>& parameters);
  void cleanUp(int flushTimeout = DDSNode<T>::defaultFlushTimeout) override;

 private:
  void cleanUpReaderFirst(int flushTimeout);
  static std::string signature(const char* result, const char* function);
};

}  // namespace TessivarDDS

#include "tessivar/framework/nodes/detail/dds_filtered_node_inl.h"
