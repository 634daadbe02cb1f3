// SPDX-License-Identifier: Apache-2.0

// Building the samples that routers and their controllers exchange.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/routing/routing.h"

#include <string>
#include <vector>

namespace TessivarDDS {

/// Makes samples with their identifying members filled and the bounds of their strings and sequences checked.
///
/// The caller owns what is returned: give it to a DDSPtr or to a node's writeSample(), or delete it with the type
/// support's delete_data. A failure logs one line and returns null. Indexes count from 0. Names have at most 32
/// characters; more are refused. Thread-safe; never blocks.
class TESSIVAR_API RoutingMessageHelper {
 public:
  /// A router without matrices: see addMatrix().
  static Tessivar_Routing::Router* createRouter(const AddressEx& address, const std::string& name);
  /// The router's next matrix, without levels; a router has at most 16. Owned by the router, and valid until the next
  /// one is added.
  static Tessivar_Routing::Matrix* addMatrix(Tessivar_Routing::Router* router, const std::string& name,
                                             unsigned sourceAssociations, unsigned destAssociations);
  /// The matrix's next level; a matrix has at most 32. Owned by the matrix, and valid until the next one is added.
  static Tessivar_Routing::Level* addLevel(Tessivar_Routing::Matrix* matrix, const std::string& name,
                                           unsigned short sources, unsigned short dests);

  static Tessivar_Routing::Source* createSource(const AddressEx& address, unsigned short matrix, unsigned short level,
                                                unsigned index, const std::string& name);
  static Tessivar_Routing::Destination* createDestination(const AddressEx& address, unsigned short matrix,
                                                          unsigned short level, unsigned index, const std::string& name,
                                                          bool protect);
  /// `ports`: of each level the index of its port, at most 32.
  static Tessivar_Routing::Association* createAssociation(const AddressEx& address, unsigned short matrix,
                                                          unsigned index, const std::vector<unsigned>& ports,
                                                          const std::string& name);
  static Tessivar_Routing::AssociationRoute* createRoute(const AddressEx& address, unsigned short matrix,
                                                         unsigned source, unsigned dest);

  /// The answer to `request`, which must not be null. `text` says why (null: nothing to say); more than 255 characters
  /// are cut, with a warning.
  static Tessivar_Routing::AssociationRouteChangeReply* createReply(
      const Tessivar_Routing::AssociationRouteChangeRequest* request, Tessivar_Routing::RequestResult result,
      const char* text);
  /// This one has no room for a reason.
  static Tessivar_Routing::DestinationChangeReply* createReply(
      const Tessivar_Routing::DestinationChangeRequest* request, Tessivar_Routing::RequestResult result);
};

}  // namespace TessivarDDS
