// SPDX-License-Identifier: Apache-2.0

#include "peer/roles.h"
#include "tessivar/routing/services.h"

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

namespace tessivar::testing {
namespace {

using namespace TessivarDDS;
using namespace Tessivar_Routing;

template <class Sample>
DDSPtr<Sample> make(const std::string& unit) {
  DDSPtr<Sample> sample(TypeOf<Sample>::TypeSupport::create_data());
  DDS_String_replace(&sample->unitId, unit.c_str());
  return sample;
}

/// Publishes a source, destination or association.
template <class Sample>
bool publish(DDSRouterNode<Sample>* node, const std::string& unit, unsigned matrix, unsigned index,
             const std::string& name) {
  const auto sample = make<Sample>(unit);
  sample->matrix = static_cast<MatrixIndex>(matrix);
  sample->index = index;
  DDS_String_replace(&sample->name, name.c_str());
  if constexpr (requires { sample->port_indexes; }) {
    sample->port_indexes.length(1);
    sample->port_indexes[0] = index;
  }
  return node->writeSample(sample);
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
    stream_ = {};
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
    if (verb == "protect") return protect(words.at(1), number(words.at(2)));
    if (verb == "stream") return stream(words);
    if (verb == "readers") return readers();
    if (verb == "answer") return answer_.set(words);
    return false;
  }

  AssociationRouteChangeReply* processRequest(const AssociationRouteChangeRequest* request) override {
    const AssociationRoute& wanted = request->newValue;
    event("request", wanted.unitId, wanted.dest_index, wanted.source_index);
    const Words answer = answer_.get();
    const std::string& kind = answer.at(0);
    if (kind == "none") return nullptr;
    if (kind == "refuse") return reply(FAILED, answer.at(1).c_str());
    if (kind == "echo") return reply(COMPLETE, std::to_string(wanted.dest_index).c_str());
    if (kind == "progress") return beginProgress(*request, std::stoi(answer.at(1)), std::stoi(answer.at(2)));
    route(wanted.unitId, wanted.matrix_index, wanted.dest_index, wanted.source_index);
    return reply(COMPLETE, nullptr);
  }

 private:
  static AssociationRouteChangeReply* reply(RequestResult result, const char* reason) {
    AssociationRouteChangeReply* reply = AssociationRouteChangeReplyTypeSupport::create_data();
    reply->result = result;
    if (reason) {
      reply->ex = AssociationRouteChangeExceptionInfoPluginSupport_create_data();
      DDS_String_replace(&reply->ex->message, reason);
    }
    return reply;
  }

  bool announce(const std::string& unit, const std::string& name) {
    const auto router = make<Router>(unit);
    DDS_String_replace(&router->name, name.c_str());
    router->matrices.length(1);
    router->matrices[0].levels.length(1);
    return services_.routerNode()->writeSample(router);
  }

  bool withdraw(const std::string& unit) {
    RouterDataWriter* writer = services_.routerNode()->dataWriter();
    const auto key = make<Router>(unit);
    return writer->dispose(*key, writer->lookup_instance(*key)) == DDS_RETCODE_OK;
  }

  bool publishPorts(const std::string& unit, unsigned matrix, unsigned index, const std::string& name) {
    return publish(services_.sourcesNode(), unit, matrix, index, name) &&
           publish(services_.destinationsNode(), unit, matrix, index, name);
  }
  bool publishAssociations(const std::string& unit, unsigned matrix, unsigned index, const std::string& name) {
    return publish(services_.sourceAssociations(), unit, matrix, index, name) &&
           publish(services_.destinationAssociations(), unit, matrix, index, name);
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
    const auto route = make<AssociationRoute>(unit);
    route->matrix_index = static_cast<MatrixIndex>(matrix);
    route->dest_index = destination;
    route->source_index = source;
    return services_.routingService()->valueNode().writeSample(route);
  }

  bool protect(const std::string& unit, unsigned index) {
    const auto destination = make<Destination>(unit);
    destination->index = index;
    destination->protect = DDS_BOOLEAN_TRUE;
    return services_.destinationsNode()->writeSample(destination);
  }

  bool stream(const Words& words) {
    stream_ = {};
    if (words.size() < 2) return true;
    stream_ = std::jthread([this, words](const std::stop_token& stop) {
      for (unsigned value = 0; !stop.stop_requested(); ++value) {
        for (std::size_t i = 2; i < words.size(); ++i) {
          route(words[i], 0, 0, value);
          publish(services_.sourcesNode(), words[i], 0, 0, std::to_string(value));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(words[1])));
      }
    });
    return true;
  }

  bool readers() {
    DDS_PublicationMatchedStatus status;
    if (services_.sourcesNode()->dataWriter()->get_publication_matched_status(status) != DDS_RETCODE_OK) return false;
    event("readers", status.current_count);
    return true;
  }

  /// A reply that is sent later.
  static DDSPtr<AssociationRouteChangeReply> addressed(const AssociationRouteChangeRequest& request,
                                                       AssociationRouteChangeReply* reply) {
    DDSPtr made(reply);
    made->changeguid.copy(request.changeguid);
    made->ticketId = request.ticketId;
    return made;
  }

  AssociationRouteChangeReply* beginProgress(const AssociationRouteChangeRequest& request, int count, int period) {
    progress_ = std::jthread([this, count, period, progress = addressed(request, reply(IN_PROGRESS, nullptr)),
                              done = addressed(request, reply(COMPLETE, nullptr))](const std::stop_token& stop) {
      for (int i = 0; i <= count && !stop.stop_requested(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(period));
        services_.routingService()->replyNode().writeSample(i < count ? progress : done);
      }
    });
    return reply(PENDING, nullptr);
  }

  RoutingServices services_;
  Answer answer_;
  std::jthread stream_;
  std::jthread progress_;
};

}  // namespace

std::unique_ptr<Role> make_router(DDSDomain* domain) {
  return std::make_unique<RouterDevice>(domain);
}

}  // namespace tessivar::testing
