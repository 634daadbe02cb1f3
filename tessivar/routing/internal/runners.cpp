// SPDX-License-Identifier: Apache-2.0

#include "tessivar/routing/internal/runners.h"

#include "tessivar/framework/log/logger.h"

namespace TessivarDDS {

using Tessivar_Routing::Router;
using Tessivar_Routing::RouterTypeSupport;

void RoutingClient::RoutersRunner::processSample(const Router& router) {
  constexpr const char* signature =
      "void __cdecl TessivarDDS::RoutersRunner::processSample(const class Tessivar_Routing::Router &)";
  const DDS_InstanceHandle_t handle = typedReader()->lookup_instance(router);
  if (DDS_InstanceHandle_is_nil(&handle)) {
    logError() << signature << "Instance handle should not be nil!";
    return;
  }
  DDSPtr<Router> copy(RouterTypeSupport::create_data());
  if (!copy || RouterTypeSupport::copy_data(copy.get(), &router) != DDS_RETCODE_OK) {
    logError() << signature << "Copy data failed!";
    return;
  }
  DDSPtr<Router>& stored = routers_[handle];
  if (stored) logWarning() << signature << "Unexpected instance already in map.";
  stored = copy;
  owner_.notifyUnitAdded(handle, copy.get());
}

void RoutingClient::RoutersRunner::processInvalidSample(const DDS_SampleInfo& info) {
  const auto entry = routers_.find(info.instance_handle);
  if (entry == routers_.end()) return;
  owner_.notifyUnitRemoved(entry->first, AddressEx(entry->second->unitId));
  routers_.erase(entry);
}

}  // namespace TessivarDDS
