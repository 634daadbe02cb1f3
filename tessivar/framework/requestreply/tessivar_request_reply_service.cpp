#include "tessivar/framework/requestreply/tessivar_request_reply_service.h"

#include "tessivar/framework/filters/address_content_filter.h"

namespace TessivarDDS {
namespace {

/// Makes the node's filtered topic; what fails is logged after `signature`.
template <class T>
bool createAddressFilter(DDSFilteredNode<T>& node, const std::vector<std::string>& addresses, const char* signature) {
  const DDSContentFilter* const filter = node.domain()->contentFilter(AddressContentFilter::name);
  if (!filter) {
    logError() << signature << "Custom filter not registered!";
    return false;
  }
  const std::string expression = AddressContentFilter::expression(node.typeName());
  if (!node.createContentFilteredTopic(filter, AddressContentFilter::name, expression, addresses)) {
    logError() << signature << "Failed to create address filtered topic for " << expression;
    return false;
  }
  return true;
}

}  // namespace

TessivarRequestReplyService::~TessivarRequestReplyService() {
  TessivarRequestReplyService::cleanUp();
}

bool TessivarRequestReplyService::createRequestTopic(const std::string& name, DDSDomain* domain) {
  if (!DDSRequestReply::createRequestTopic(name, domain)) return false;
  return !serverSide() ||
         createAddressFilter(
             requestNode(), addresses_,
             "bool __cdecl "
             "TessivarDDS::TessivarRequestReplyService::createRequestTopic" TESSIVAR_SIGNATURE_NAME_DOMAIN);
}

bool TessivarRequestReplyService::creatValueTopic(const std::string& name, DDSDomain* domain) {
  return DDSRequestReply::creatValueTopic(name, domain) &&
         createAddressFilter(
             valueNode(), addresses_,
             "bool __cdecl TessivarDDS::TessivarRequestReplyService::creatValueTopic" TESSIVAR_SIGNATURE_NAME_DOMAIN);
}

bool TessivarRequestReplyService::setFilterAddresses(const std::vector<std::string>& addresses) {
  if (requestNode().contentFilteredTopic() && !requestNode().setFilterParameters(addresses)) return false;
  if (valueNode().contentFilteredTopic() && !valueNode().setFilterParameters(addresses)) return false;
  addresses_ = addresses;
  return true;
}

}  // namespace TessivarDDS
