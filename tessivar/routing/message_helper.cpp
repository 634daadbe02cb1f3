// SPDX-License-Identifier: Apache-2.0

#include "tessivar/routing/message_helper.h"

#include "tessivar/framework/domain/detail/signature.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/pointers/dds_ptr.h"

#include <cstring>
#include <memory>

#define ROUTING "class Tessivar_Routing::"
#define ADDRESS "const class TessivarDDS::AddressEx &"
#define STRING "const " TESSIVAR_SIGNATURE_STRING " &"
#define SIGNATURE(result, function) ROUTING result " *__cdecl TessivarDDS::RoutingMessageHelper::" function

namespace TessivarDDS {

using namespace Tessivar_Routing;

namespace {

constexpr std::size_t max_name = 32;
constexpr std::size_t max_address = 64;
constexpr std::size_t max_reply_text = 255;

template <class Sample>
using Owned = std::unique_ptr<Sample, tessivar::framework::Release<Sample>>;

std::nullptr_t fail(const char* signature, const char* message) {
  logError() << signature << message;
  return nullptr;
}

/// Sets a name. Returns false after one log line if the name is too long or memory is short.
bool setName(const char* signature, char*& member, const std::string& name) {
  const char* const failure = name.size() > max_name                       ? "Name string too long"
                              : !DDS_String_replace(&member, name.c_str()) ? "Failed to create data"
                                                                           : nullptr;
  if (failure) fail(signature, failure);
  return !failure;
}

/// Returns a new sample with its address and, if the type has a name, its name. Returns null after one log line if that
/// fails.
template <class Sample>
Owned<Sample> create(const char* signature, const AddressEx& address, const std::string& name = {}) {
  Owned<Sample> sample(Sample::TypeSupport::create_data());
  if (!sample) return Owned<Sample>(fail(signature, "Failed to create data"));
  if (std::strlen(address.guid()) > max_address) return Owned<Sample>(fail(signature, "Address string too long"));
  address.copyTo(sample->unitId);
  if constexpr (requires { sample->name; }) {
    if (!setName(signature, sample->name, name)) sample.reset();
  }
  return sample;
}

/// Makes a source or destination.
template <class Port>
Owned<Port> createPort(const char* signature, const AddressEx& address, unsigned short matrix, unsigned short level,
                       unsigned index, const std::string& name) {
  Owned<Port> port = create<Port>(signature, address, name);
  if (!port) return port;
  port->matrix = matrix;
  port->level = level;
  port->index = index;
  return port;
}

/// Adds an element with its name at the end of `parent`'s sequence and returns it. Returns null after one log line if
/// that fails.
template <class Parent, class Sequence>
auto addTo(const char* signature, Parent* parent, Sequence Parent::*parts, const char* full, const std::string& name)
    -> decltype(&(parent->*parts)[0]) {
  if (!parent) return fail(signature, "Invalid argument");
  Sequence& sequence = parent->*parts;
  const DDS_Long last = sequence.length();
  if (!sequence.length(last + 1)) return fail(signature, full);
  if (setName(signature, sequence[last].name, name)) return &sequence[last];
  sequence.length(last);
  return nullptr;
}

template <class Reply, class Request>
Owned<Reply> createReplyTo(const char* signature, const Request* request, RequestResult result) {
  if (!request) return Owned<Reply>(fail(signature, "Invalid argument"));
  Owned<Reply> reply(Reply::TypeSupport::create_data());
  if (!reply || !reply->changeguid.copy(request->changeguid)) {
    return Owned<Reply>(fail(signature, "Failed to create data"));
  }
  reply->ticketId = request->ticketId;
  reply->result = result;
  return reply;
}

}  // namespace

Router* RoutingMessageHelper::createRouter(const AddressEx& address, const std::string& name) {
  return create<Router>(SIGNATURE("Router", "createRouter(" ADDRESS "," STRING ")"), address, name).release();
}

Matrix* RoutingMessageHelper::addMatrix(Router* router, const std::string& name, unsigned sourceAssociations,
                                        unsigned destAssociations) {
  constexpr const char* signature =
      SIGNATURE("Matrix", "addMatrix(" ROUTING "Router *," STRING ",unsigned int,unsigned int)");
  Matrix* const matrix = addTo(signature, router, &Router::matrices, "The router has 16 matrices already", name);
  if (!matrix) return nullptr;
  matrix->numberOfSourceAssociations = sourceAssociations;
  matrix->numberOfDestAssociations = destAssociations;
  return matrix;
}

Level* RoutingMessageHelper::addLevel(Matrix* matrix, const std::string& name, unsigned short sources,
                                      unsigned short dests) {
  constexpr const char* signature =
      SIGNATURE("Level", "addLevel(" ROUTING "Matrix *," STRING ",unsigned short,unsigned short)");
  Level* const level = addTo(signature, matrix, &Matrix::levels, "The matrix has 32 levels already", name);
  if (!level) return nullptr;
  level->index = static_cast<LevelIndex>(matrix->levels.length() - 1);
  level->numberOfSources = sources;
  level->numberOfDests = dests;
  return level;
}

Source* RoutingMessageHelper::createSource(const AddressEx& address, unsigned short matrix, unsigned short level,
                                           unsigned index, const std::string& name) {
  constexpr const char* signature =
      SIGNATURE("Source", "createSource(" ADDRESS ",unsigned short,unsigned short,unsigned int," STRING ")");
  return createPort<Source>(signature, address, matrix, level, index, name).release();
}

Destination* RoutingMessageHelper::createDestination(const AddressEx& address, unsigned short matrix,
                                                     unsigned short level, unsigned index, const std::string& name,
                                                     bool protect) {
  constexpr const char* signature = SIGNATURE(
      "Destination", "createDestination(" ADDRESS ",unsigned short,unsigned short,unsigned int," STRING ",bool)");
  auto destination = createPort<Destination>(signature, address, matrix, level, index, name);
  if (destination) destination->protect = protect;
  return destination.release();
}

Association* RoutingMessageHelper::createAssociation(const AddressEx& address, unsigned short matrix, unsigned index,
                                                     const std::vector<unsigned>& ports, const std::string& name) {
  constexpr const char* signature =
      SIGNATURE("Association", "createAssociation(" ADDRESS
                               ",unsigned short,unsigned int,const class std::vector<unsigned int,"
                               "class std::allocator<unsigned int> > &," STRING ")");
  auto association = create<Association>(signature, address, name);
  if (!association) return nullptr;
  association->matrix = matrix;
  association->index = index;
  const auto count = static_cast<DDS_Long>(ports.size());
  if (ports.size() > 32 || !association->port_indexes.ensure_length(count, count)) {
    return fail(signature, "An association has at most 32 ports");
  }
  for (DDS_Long i = 0; i < count; ++i) association->port_indexes[i] = ports[static_cast<std::size_t>(i)];
  return association.release();
}

AssociationRoute* RoutingMessageHelper::createRoute(const AddressEx& address, unsigned short matrix, unsigned source,
                                                    unsigned dest) {
  constexpr const char* signature =
      SIGNATURE("AssociationRoute", "createRoute(" ADDRESS ",unsigned short,unsigned int,unsigned int)");
  auto route = create<AssociationRoute>(signature, address);
  if (!route) return nullptr;
  route->matrix_index = matrix;
  route->source_index = source;
  route->dest_index = dest;
  return route.release();
}

AssociationRouteChangeReply* RoutingMessageHelper::createReply(const AssociationRouteChangeRequest* request,
                                                               RequestResult result, const char* text) {
  constexpr const char* signature =
      SIGNATURE("AssociationRouteChangeReply", "createReply(const " ROUTING
                                               "AssociationRouteChangeRequest *,"
                                               "enum Tessivar_Routing::RequestResult,const char *)");
  auto reply = createReplyTo<AssociationRouteChangeReply>(signature, request, result);
  if (!reply || !text) return reply.release();
  std::string reason = text;
  if (reason.size() > max_reply_text) {
    logWarning() << signature << "Exception info string length exceeded.";
    reason.resize(max_reply_text);
  }
  reply->ex = AssociationRouteChangeExceptionInfoPluginSupport_create_data();
  if (!reply->ex || !DDS_String_replace(&reply->ex->message, reason.c_str())) {
    return fail(signature, "Failed to create data");
  }
  return reply.release();
}

DestinationChangeReply* RoutingMessageHelper::createReply(const DestinationChangeRequest* request,
                                                          RequestResult result) {
  constexpr const char* signature = SIGNATURE("DestinationChangeReply", "createReply(const " ROUTING
                                                                        "DestinationChangeRequest *,"
                                                                        "enum Tessivar_Routing::RequestResult)");
  return createReplyTo<DestinationChangeReply>(signature, request, result).release();
}

}  // namespace TessivarDDS
