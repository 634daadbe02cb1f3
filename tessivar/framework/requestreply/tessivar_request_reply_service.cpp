// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/requestreply/tessivar_request_reply_service.h"

#include "tessivar/framework/nodes/internal/address_filtered_topic.h"

namespace TessivarDDS {

TessivarRequestReplyService::~TessivarRequestReplyService() {
  TessivarRequestReplyService::cleanUp();
}

bool TessivarRequestReplyService::createRequestTopic(const std::string& name, DDSDomain* domain) {
  if (!DDSRequestReply::createRequestTopic(name, domain)) return false;
  return !serverSide() ||
         createAddressFilteredTopic(
             requestNode(), addresses_,
             "bool __cdecl "
             "TessivarDDS::TessivarRequestReplyService::createRequestTopic" TESSIVAR_SIGNATURE_NAME_DOMAIN,
             "Failed to create address filtered topic for typeName=Tessivar::CommandChangeRequest");
}

bool TessivarRequestReplyService::creatValueTopic(const std::string& name, DDSDomain* domain) {
  return DDSRequestReply::creatValueTopic(name, domain) &&
         createAddressFilteredTopic(
             valueNode(), addresses_,
             "bool __cdecl TessivarDDS::TessivarRequestReplyService::creatValueTopic" TESSIVAR_SIGNATURE_NAME_DOMAIN,
             "Failed to create address filtered topic for typeName=Tessivar::Command");
}

bool TessivarRequestReplyService::setFilterAddresses(const std::vector<std::string>& addresses) {
  // The filter of the requests is changed last. A server does not read values. Therefore, if its request filter cannot
  // be changed, the new addresses have no effect on the server.
  if (valueNode().contentFilteredTopic() && !valueNode().setFilterParameters(addresses)) return false;
  if (requestNode().contentFilteredTopic() && !requestNode().setFilterParameters(addresses)) return false;
  addresses_ = addresses;
  return true;
}

}  // namespace TessivarDDS
