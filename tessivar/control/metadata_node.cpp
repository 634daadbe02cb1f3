#include "tessivar/control/metadata_node.h"

#include "tessivar/framework/domain/signature.h"
#include "tessivar/framework/filters/address_content_filter.h"
#include "tessivar/framework/log/logger.h"

namespace TessivarDDS {

bool MetadataNode::createTopic(const std::string& name, const DDS_TopicQos& qos) {
  constexpr const char* signature =
      "bool __cdecl TessivarDDS::MetadataNode::createTopic("
      "const " TESSIVAR_SIGNATURE_STRING " &,const struct DDS_TopicQos &)";
  if (!DDSFilteredNode::createTopic(name, qos)) return false;
  const DDSContentFilter* filter = domain()->contentFilter(AddressContentFilter::name);
  if (!filter) {
    logError() << signature << "Custom filter not registered!";
    return false;
  }
  if (!createContentFilteredTopic(filter, AddressContentFilter::name, AddressContentFilter::expression(typeName()),
                                  addresses_)) {
    logError() << signature << "Failed to create content filter topic on the metadata node";
    return false;
  }
  return true;
}

}  // namespace TessivarDDS
