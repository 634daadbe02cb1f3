// SPDX-License-Identifier: Apache-2.0

// A node whose reader receives a content-filtered topic.
#pragma once

#include "tessivar/framework/nodes/dds_node.h"

namespace TessivarDDS {

/// A DDSNode with a content-filtered topic. It checks that the filter is registered with the domain. Its filter
/// parameters can be changed at any time.
template <class T>
class TESSIVAR_API DDSFilteredNode : public DDSNode<T> {
 public:
  /// Does the same as cleanUp().
  ~DDSFilteredNode() override;

  /// `filter` must be registered with the domain as `filterName`.
  bool createContentFilteredTopic(const DDSContentFilter* filter, const std::string& filterName,
                                  const std::string& expression,
                                  const std::vector<std::string>& parameters = {}) override;
  /// Replaces the parameters of the filter, also while samples arrive. Returns false on failure; then the old
  /// parameters remain in use. A transient-local reader with the property
  /// "dds.data_reader.state.filter_redundant_samples" = "0" then receives the history that passes the new parameters.
  bool setFilterParameters(const std::vector<std::string>& parameters);
  void cleanUp(int flushTimeout = DDSNode<T>::defaultFlushTimeout) override;

 private:
  void cleanUpReaderFirst(int flushTimeout);
  static std::string signature(const char* result, const char* function);
};

}  // namespace TessivarDDS

#include "tessivar/framework/nodes/detail/dds_filtered_node_inl.h"
