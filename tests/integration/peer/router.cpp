// SPDX-License-Identifier: Apache-2.0

#include "peer/roles.h"
#include "tessivar/routing/message_helper.h"
#include "tessivar/routing/services.h"

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

namespace tessivar::testing {
namespace {

using namespace TessivarDDS;
using namespace Tessivar_Routing;
using Helper = RoutingMessageHelper;

AddressEx address(const std::string& text) {
  return AddressEx(text.c_str());
}

class RouterDevice : public Role,
                     public RequestReplyServerListener<AssociationRouteChangeRequest, AssociationRouteChangeReply> {
 public:
  explicit RouterDevice(DDSDomain* domain) {
    services_.attachDomain(domain);
    if (!services_.createServerServices()) throw std::runtime_error("the services cannot be created");
    services_.routingService()->setListener(this);
  }
  ~RouterDevice() override {
    progress_ = {};
    services_.cleanUp();
  }

  bool perform(const Words& words) override {
    const std::string& verb = words.at(0);
    if (verb == "announce") return announce(words.at(1), words.at(2));
    if (verb == "withdraw") return withdraw(words.at(1));
    if (verb == "batching") return services_.enableBatching(words.at(1) == "on"), true;
    if (verb == "port") return publishAll(words.at(1), 0, number(words.at(2)), words.at(3));
    if (verb == "fill") return fill(words.at(1), number(words.at(2)), number(words.at(3)), number(words.at(4)));
    if (verb == "route") return route(words.at(1), 0, number(words.at(2)), number(words.at(3)));
    if (verb == "answer") return answer_.set(words);
    return false;
  }

  AssociationRouteChangeReply* processRequest(const AssociationRouteChangeRequest* request) override {
    const AssociationRoute& wanted = request->newValue;
    event("request", wanted.unitId, wanted.dest_index, wanted.source_index);
    const Words answer = answer_.get();
    const std::string& kind = answer.at(0);
    if (kind == "refuse") return Helper::createReply(request, FAILED, answer.at(1).c_str());
    if (kind == "progress") return beginProgress(request, std::stoi(answer.at(1)), std::stoi(answer.at(2)));
    route(wanted.unitId, wanted.matrix_index, wanted.dest_index, wanted.source_index);
    return Helper::createReply(request, COMPLETE, nullptr);
  }

 private:
  bool announce(const std::string& unit, const std::string& name) {
    const DDSPtr router(Helper::createRouter(address(unit), name));
    Helper::addLevel(Helper::addMatrix(router.get(), "", 0, 0), "", 0, 0);
    return services_.routerNode()->writeSample(router);
  }

  bool withdraw(const std::string& unit) {
    const DDSPtr key(Helper::createRouter(address(unit), ""));
    return services_.routerNode()->dataWriter()->dispose(*key, DDS_HANDLE_NIL) == DDS_RETCODE_OK;
  }

  bool publishPorts(const std::string& unit, unsigned matrix, unsigned index, const std::string& name) {
    const auto in = static_cast<MatrixIndex>(matrix);
    return services_.sourcesNode()->writeSample(Helper::createSource(address(unit), in, 0, index, name), true) &&
           services_.destinationsNode()->writeSample(
               Helper::createDestination(address(unit), in, 0, index, name, false), true);
  }
  bool publishAssociations(const std::string& unit, unsigned matrix, unsigned index, const std::string& name) {
    const DDSPtr sample(
        Helper::createAssociation(address(unit), static_cast<MatrixIndex>(matrix), index, {index}, name));
    return services_.sourceAssociations()->writeSample(sample) &&
           services_.destinationAssociations()->writeSample(sample);
  }
  bool publishAll(const std::string& unit, unsigned matrix, unsigned index, const std::string& name) {
    return publishPorts(unit, matrix, index, name) && publishAssociations(unit, matrix, index, name);
  }

  bool fill(const std::string& unit, unsigned matrices, unsigned ports, unsigned associations) {
    for (unsigned matrix = 0; matrix < matrices; ++matrix) {
      for (unsigned i = 0; i < ports; ++i)
        if (!publishPorts(unit, matrix, i, std::to_string(i))) return false;
      for (unsigned i = 0; i < associations; ++i)
        if (!publishAssociations(unit, matrix, i, std::to_string(i)) || !route(unit, matrix, i, i)) return false;
    }
    return true;
  }

  bool route(const std::string& unit, unsigned matrix, unsigned destination, unsigned source) {
    return services_.routingService()->valueNode().writeSample(
        Helper::createRoute(address(unit), static_cast<MatrixIndex>(matrix), source, destination), true);
  }

  AssociationRouteChangeReply* beginProgress(const AssociationRouteChangeRequest* request, int count, int period) {
    const DDSPtr progress(Helper::createReply(request, IN_PROGRESS, nullptr));
    const DDSPtr done(Helper::createReply(request, COMPLETE, nullptr));
    progress_ = std::jthread([=, this](const std::stop_token& stop) {
      for (int i = 0; i <= count && !stop.stop_requested(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(period));
        services_.routingService()->replyNode().writeSample(i < count ? progress : done);
      }
    });
    return Helper::createReply(request, PENDING, nullptr);
  }

  RoutingServices services_;
  Answer answer_;
  std::jthread progress_;
};

}  // namespace

std::unique_ptr<Role> make_router(DDSDomain* domain) {
  return std::make_unique<RouterDevice>(domain);
}

}  // namespace tessivar::testing
