// SPDX-License-Identifier: Apache-2.0

#include "tessivar/control/metadata_node.h"

#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/nodes/internal/address_filtered_topic.h"

namespace TessivarDDS {

bool MetadataNode::createTopic(const std::string& name, const DDS_TopicQos& qos) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::MetadataNode::createTopic("
      "const " TESSIVAR_SIGNATURE_STRING " &,const struct DDS_TopicQos &)";
  return DDSFilteredNode::createTopic(name, qos) &&
         createAddressFilteredTopic(*this, addresses_, signature,
                                    "Failed to create content filter topic on the metadata node");
}

}  // namespace TessivarDDS
