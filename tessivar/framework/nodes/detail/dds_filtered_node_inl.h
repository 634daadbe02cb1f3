// SPDX-License-Identifier: Apache-2.0

// Definitions for dds_filtered_node.h. Include that file instead.
#pragma once

#include "tessivar/framework/nodes/dds_filtered_node.h"

namespace TessivarDDS {

template <class T>
std::string DDSFilteredNode<T>::signature(const char* result, const char* function) {
  return DDSNode<T>::signature(result, "DDSFilteredNode", function);
}

template <class T>
DDSFilteredNode<T>::~DDSFilteredNode() {
  cleanUpReaderFirst(DDSNode<T>::defaultFlushTimeout);
}

template <class T>
bool DDSFilteredNode<T>::createContentFilteredTopic(const DDSContentFilter* filter, const std::string& filterName,
                                                    const std::string& expression,
                                                    const std::vector<std::string>& parameters) {
  const auto where = [] {
    return signature("bool ",
                     "createContentFilteredTopic(const class DDSContentFilter *,const " TESSIVAR_SIGNATURE_STRING
                     " &,const " TESSIVAR_SIGNATURE_STRING " &,const " TESSIVAR_SIGNATURE_STRINGS " &)");
  };
  if (!this->domain() || !this->domain()->participant()) {
    logError() << where() << "Cannot create content filtered topic as the underlying dds node does not exist.";
    return false;
  }
  if (!this->topic()) {
    logError() << where() << "Cannot create content filtered topic as the underlying topic does not exist.";
    return false;
  }
  if (this->contentFilteredTopic()) {
    logError() << where() << "Filtered topic already exists!";
    return false;
  }
  if (!filter || this->domain()->contentFilter(filterName) != filter) {
    logError() << where() << "Cannot create content filtered topic " << this->topicName() << ".Filtered"
               << " as the filter has not been registered with the domain.";
    return false;
  }
  return DDSNode<T>::createContentFilteredTopic(filter, filterName, expression, parameters);
}

template <class T>
bool DDSFilteredNode<T>::setFilterParameters(const std::vector<std::string>& parameters) {
  const auto where = [] { return signature("bool ", "setFilterParameters(const " TESSIVAR_SIGNATURE_STRINGS " &)"); };
  if (!this->contentFilteredTopic()) {
    logError() << where() << "Filtered topic does not exist";
    return false;
  }
  DDS_StringSeq texts;
  const DDS_ReturnCode_t code = assignTexts(texts, parameters)
                                    ? this->contentFilteredTopic()->set_expression_parameters(texts)
                                    : DDS_RETCODE_OUT_OF_RESOURCES;
  if (code != DDS_RETCODE_OK) logError() << where() << "Failed to set filter parameters, return code: " << code;
  return code == DDS_RETCODE_OK;
}

template <class T>
void DDSFilteredNode<T>::cleanUp(int flushTimeout) {
  if (!this->refusedInCallback()) cleanUpReaderFirst(flushTimeout);
}

template <class T>
void DDSFilteredNode<T>::cleanUpReaderFirst(int flushTimeout) {
  this->cleanUpAll(flushTimeout, "DDSFilteredNode::cleanUp failed to delete data reader for topic");
}

}  // namespace TessivarDDS
