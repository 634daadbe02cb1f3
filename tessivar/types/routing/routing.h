// SPDX-License-Identifier: Apache-2.0

// The routing types of module Tessivar_Routing: routers, their ports, associations and routes.
//
// A number in the comment of a string or a sequence is its bound.
#pragma once

#include "tessivar/types/core/core.h"

namespace Tessivar_Routing {

// The index types of matrices, levels, ports and associations.
typedef DDS_UnsignedShort MatrixIndex;
TESSIVAR_TYPEDEF(MatrixIndex)
typedef DDS_UnsignedShort LevelIndex;
TESSIVAR_TYPEDEF(LevelIndex)
typedef DDS_UnsignedLong PortIndex;
TESSIVAR_TYPEDEF(PortIndex)
typedef DDS_UnsignedLong AssociationIndex;
TESSIVAR_TYPEDEF(AssociationIndex)

enum RequestResult : DDS_Enum { PENDING = 0, COMPLETE = 1, IN_PROGRESS = 2, FAILED = 3 };
TESSIVAR_ENUMERATION(RequestResult)

/// One level of a matrix.
struct TESSIVAR_API Level {
  LevelIndex index = 0;
  DDS_UnsignedShort numberOfSources = 0;
  DDS_UnsignedShort numberOfDests = 0;
  char* name = nullptr;  // 32
};
TESSIVAR_NESTED_TYPE(Level)

/// One matrix of a router.
struct TESSIVAR_API Matrix {
  LevelSeq levels;  // 32
  DDS_UnsignedLong numberOfSourceAssociations = 0;
  DDS_UnsignedLong numberOfDestAssociations = 0;
  char* name = nullptr;  // 32
};
TESSIVAR_NESTED_TYPE(Matrix)

/// A router and its layout.
struct TESSIVAR_API Router {
  Tessivar::Guid unitId = nullptr;  // key
  char* name = nullptr;             // 32
  MatrixSeq matrices;               // 16
  TESSIVAR_TOPIC_CLASSES(Router)
};
TESSIVAR_TOPIC_TYPE(Router)

/// One input port of one level.
struct TESSIVAR_API Source {
  Tessivar::Guid unitId = nullptr;  // key
  MatrixIndex matrix = 0;           // key
  LevelIndex level = 0;             // key
  PortIndex index = 0;              // key
  char* name = nullptr;             // 32
  TESSIVAR_TOPIC_CLASSES(Source)
};
TESSIVAR_TOPIC_TYPE(Source)

/// One output port of one level.
struct TESSIVAR_API Destination {
  Tessivar::Guid unitId = nullptr;  // key
  MatrixIndex matrix = 0;           // key
  LevelIndex level = 0;             // key
  PortIndex index = 0;              // key
  char* name = nullptr;             // 32
  DDS_Boolean protect = DDS_BOOLEAN_FALSE;
  TESSIVAR_TOPIC_CLASSES(Destination)
};
TESSIVAR_TOPIC_TYPE(Destination)

/// A named group of ports across levels: a source or a destination association of a matrix.
struct TESSIVAR_API Association {
  Tessivar::Guid unitId = nullptr;  // key
  MatrixIndex matrix = 0;           // key
  AssociationIndex index = 0;       // key
  PortIndexSeq port_indexes;        // 32
  char* name = nullptr;             // 32
  TESSIVAR_TOPIC_CLASSES(Association)
};
TESSIVAR_TOPIC_TYPE(Association)

/// The source association that feeds a destination association. The source is not a part of the key: a destination has
/// one route, and a new source replaces the old one.
struct TESSIVAR_API AssociationRoute {
  Tessivar::Guid unitId = nullptr;  // key
  MatrixIndex matrix_index = 0;     // key
  AssociationIndex source_index = 0;
  AssociationIndex dest_index = 0;  // key
  TESSIVAR_TOPIC_CLASSES(AssociationRoute)
};
TESSIVAR_TOPIC_TYPE(AssociationRoute)

/// Requests that a router changes a route.
struct TESSIVAR_API AssociationRouteChangeRequest {
  Tessivar::ReqReplyGuid changeguid;  // key
  DDS_UnsignedShort ticketId = 0;
  AssociationRoute newValue;
  TESSIVAR_TOPIC_CLASSES(AssociationRouteChangeRequest)
};
TESSIVAR_TOPIC_TYPE(AssociationRouteChangeRequest)

/// The reason why a route was refused.
struct TESSIVAR_API AssociationRouteChangeExceptionInfo {
  char* message = nullptr;  // 255
};
TESSIVAR_NESTED_TYPE(AssociationRouteChangeExceptionInfo)

/// The reply to one request.
struct TESSIVAR_API AssociationRouteChangeReply {
  Tessivar::ReqReplyGuid changeguid;  // key
  DDS_UnsignedShort ticketId = 0;
  RequestResult result = PENDING;
  AssociationRouteChangeExceptionInfo* ex = nullptr;  // optional
  TESSIVAR_TOPIC_CLASSES(AssociationRouteChangeReply)
};
TESSIVAR_TOPIC_TYPE(AssociationRouteChangeReply)

/// Requests that a router changes destinations on the levels that a mask selects.
struct TESSIVAR_API DestinationChangeRequest {
  Tessivar::ReqReplyGuid changeguid;  // key
  DDS_UnsignedShort ticketId = 0;
  Destination newValue;
  DDS_BooleanSeq level_mask;  // 32
  TESSIVAR_TOPIC_CLASSES(DestinationChangeRequest)
};
TESSIVAR_TOPIC_TYPE(DestinationChangeRequest)

/// The reply to one request.
struct TESSIVAR_API DestinationChangeReply {
  Tessivar::ReqReplyGuid changeguid;  // key
  DDS_UnsignedShort ticketId = 0;
  RequestResult result = PENDING;
  TESSIVAR_TOPIC_CLASSES(DestinationChangeReply)
};
TESSIVAR_TOPIC_TYPE(DestinationChangeReply)

}  // namespace Tessivar_Routing
