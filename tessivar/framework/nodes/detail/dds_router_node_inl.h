// SPDX-License-Identifier: Apache-2.0

// Definitions for dds_router_node.h. Include that file instead.
#pragma once

#include "tessivar/framework/domain/topic_qos.h"
#include "tessivar/framework/filters/address_content_filter.h"
#include "tessivar/framework/nodes/dds_router_node.h"
#include "tessivar/framework/nodes/detail/address_texts.h"

namespace TessivarDDS {

template <class T>
std::string DDSRouterNode<T>::signature(const char* result, const char* function) {
  return DDSNode<T>::signature(result, "DDSRouterNode", function);
}

template <class T>
DDSRouterNode<T>* DDSRouterNode<T>::create(DDSDomain* domain, const std::vector<AddressEx>& addresses,
                                           const std::string& topicName, bool isClient, const std::string& library,
                                           const std::string& profile) {
  auto node = std::make_unique<DDSRouterNode>();
  node->attachDomain(domain);
  node->setQosProfile(library, profile);
  DDS_TopicQos topicQos;
  if (!node->registerTypeSupport() ||
      !(node->usesQosProfile() ? node->profileTopicQos(topicQos)
                               : createReliableDurableTopicQos(domain, topicName, topicQos)) ||
      !node->createTopic(topicName, topicQos)) {
    return nullptr;
  }
  if (!domain->contentFilter(AddressContentFilter::name)) {
    logError() << signature(
                      ("class TessivarDDS::DDSRouterNode<class " + std::string(TypeOf<T>::name()) + "> *").c_str(),
                      "create(class TessivarDDS::DDSDomain *,const " TESSIVAR_SIGNATURE_ADDRESSES
                      " &,const " TESSIVAR_SIGNATURE_STRING " &,bool)")
               << "Custom filter not registered!";
    return nullptr;
  }
  const bool made = isClient ? node->createFilteredDataReader(addresses) : node->createBatchedDataWriter();
  return made ? node.release() : nullptr;
}

template <class T>
bool DDSRouterNode<T>::createFilteredDataReader(const std::vector<AddressEx>& addresses) {
  const auto where = [] {
    return signature("bool ", "createFilteredDataReader(const " TESSIVAR_SIGNATURE_ADDRESSES " &)");
  };
  const char* const typeName = this->typeName();
  if (!typeName || !*typeName) {
    logError() << where() << "Failed to get typename from type support.";
    return false;
  }
  const DDSContentFilter* const filter = this->domain()->contentFilter(AddressContentFilter::name);
  if (!this->createContentFilteredTopic(filter, AddressContentFilter::name, AddressContentFilter::expression(typeName),
                                        addressTexts(addresses))) {
    return false;
  }
  DDS_DataReaderQos qos;
  return this->stateReaderQos(qos) && this->createDataReader(nullptr, DDS_STATUS_MASK_NONE, qos);
}

template <class T>
bool DDSRouterNode<T>::createBatchedDataWriter() {
  if (!this->participant()) {
    logError() << signature("bool ", "createBatchedDataWriter(void)") << "Participant is null";
    return false;
  }
  DDS_DataWriterQos qos;
  if (!this->dataWriterQos(qos)) return false;
  if (!this->usesQosProfile()) {
    qos.batch.enable = DDS_BOOLEAN_TRUE;
    qos.batch.max_data_bytes = 4096;
    qos.batch.max_samples = 1000;
    qos.batch.max_flush_delay = DDS_Duration_from_millis(50);
  }
  return this->createDataWriter(nullptr, DDS_STATUS_MASK_NONE, qos);
}

template <class T>
void DDSRouterNode<T>::enableBatching(bool enable) {
  batching_ = enable;
  if (!enable && this->dataWriter()) this->dataWriter()->flush();
}

template <class T>
bool DDSRouterNode<T>::writeSample(T* sample, bool release) {
  const bool written = DDSNode<T>::writeSample(sample, release);
  if (written && !batching_) this->dataWriter()->flush();
  return written;
}

template <class T>
bool DDSRouterNode<T>::updateAddresses(const std::vector<AddressEx>& addresses) {
  if (this->setFilterParameters(addressTexts(addresses))) return true;
  logError() << signature("bool ", "updateAddresses(const " TESSIVAR_SIGNATURE_ADDRESSES " &)")
             << " Failed to update filter parameters";
  return false;
}

}  // namespace TessivarDDS
