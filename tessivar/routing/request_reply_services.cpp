// SPDX-License-Identifier: Apache-2.0

#include "tessivar/routing/request_reply_services.h"

#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/nodes/detail/address_texts.h"
#include "tessivar/framework/nodes/internal/address_filtered_topic.h"

namespace TessivarDDS {

template <class Value, class Req, class Rep>
RouterRequestReply<Value, Req, Rep>::~RouterRequestReply() {
  RouterRequestReply::cleanUp();
}

template <class Value, class Req, class Rep>
bool RouterRequestReply<Value, Req, Rep>::creatValueTopic(const std::string& topicName, DDSDomain* domain) {
  if (!DDSRequestReply<Value, Req, Rep>::creatValueTopic(topicName, domain)) return false;
  if (!this->clientSide()) return true;
  const std::string signature =
      std::string("bool __cdecl TessivarDDS::") + serviceClass_ + "::creatValueTopic" TESSIVAR_SIGNATURE_NAME_DOMAIN;
  return createAddressFilteredTopic(this->valueNode(), addressTexts(addresses_), signature, nullptr);
}

template <class Value, class Req, class Rep>
bool RouterRequestReply<Value, Req, Rep>::updateAddresses(const std::vector<AddressEx>& addresses) {
  if (!this->valueNode().setFilterParameters(addressTexts(addresses))) return false;
  addresses_ = addresses;
  return true;
}

using namespace Tessivar_Routing;
template class RouterRequestReply<AssociationRoute, AssociationRouteChangeRequest, AssociationRouteChangeReply>;
template class RouterRequestReply<Destination, DestinationChangeRequest, DestinationChangeReply>;

}  // namespace TessivarDDS
