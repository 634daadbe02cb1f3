// SPDX-License-Identifier: Apache-2.0

// Functions that make the samples of routers and their controllers.
#pragma once

#include "tessivar/framework/address/address_ex.h"
#include "tessivar/platform/export.h"
#include "tessivar/types/routing/routing.h"

#include <string>
#include <vector>

namespace TessivarDDS {

/// Makes samples. Sets the key members, and checks the bounds of strings and sequences.
///
/// The caller owns the result: give it to a DDSPtr or to a node's writeSample(), or delete it with the type support's
/// delete_data. A failure logs one line and returns null. Indexes count from 0. Names have at most 32 characters;
/// longer names are refused. Thread-safe; never blocks.
class TESSIVAR_API RoutingMessageHelper {
 public:
  /// A router without matrices: see addMatrix().
  static Tessivar_Routing::Router* createRouter(const AddressEx& address, const std::string& name);
  /// Adds a matrix without levels to the router. A router has at most 16 matrices. The router owns the result, which is
  /// valid until the next matrix is added.
  static Tessivar_Routing::Matrix* addMatrix(Tessivar_Routing::Router* router, const std::string& name,
                                             unsigned sourceAssociations, unsigned destAssociations);
  /// Adds a level to the matrix. A matrix has at most 32 levels. The matrix owns the result, which is valid until the
  /// next level is added.
  static Tessivar_Routing::Level* addLevel(Tessivar_Routing::Matrix* matrix, const std::string& name,
                                           unsigned short sources, unsigned short dests);

  static Tessivar_Routing::Source* createSource(const AddressEx& address, unsigned short matrix, unsigned short level,
                                                unsigned index, const std::string& name);
  static Tessivar_Routing::Destination* createDestination(const AddressEx& address, unsigned short matrix,
                                                          unsigned short level, unsigned index, const std::string& name,
                                                          bool protect);
  /// `ports[i]` is the index of the port on level i; at most 32 levels.
  static Tessivar_Routing::Association* createAssociation(const AddressEx& address, unsigned short matrix,
                                                          unsigned index, const std::vector<unsigned>& ports,
                                                          const std::string& name);
  static Tessivar_Routing::AssociationRoute* createRoute(const AddressEx& address, unsigned short matrix,
                                                         unsigned source, unsigned dest);

  /// The reply to `request`, which must not be null. `text` is the reason, or null. A text of more than 255 characters
  /// is cut, with a warning.
  static Tessivar_Routing::AssociationRouteChangeReply* createReply(
      const Tessivar_Routing::AssociationRouteChangeRequest* request, Tessivar_Routing::RequestResult result,
      const char* text);
  /// The reply to `request`, which must not be null. This type of reply has no reason.
  static Tessivar_Routing::DestinationChangeReply* createReply(
      const Tessivar_Routing::DestinationChangeRequest* request, Tessivar_Routing::RequestResult result);
};

}  // namespace TessivarDDS
