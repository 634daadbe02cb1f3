// SPDX-License-Identifier: Apache-2.0

// The tables of the routing types. Each table states the name, the members and the bounds of one type.
#pragma once

#include "tessivar/types/core/detail/core_tables.h"
#include "tessivar/types/routing/routing.h"

namespace tessivar::types {

using MatrixIndexKind = Typedef<"Tessivar_Routing::MatrixIndex", UShort>;
using LevelIndexKind = Typedef<"Tessivar_Routing::LevelIndex", UShort>;
using PortIndexKind = Typedef<"Tessivar_Routing::PortIndex", ULong>;
using AssociationIndexKind = Typedef<"Tessivar_Routing::AssociationIndex", ULong>;

template <>
struct Table<Tessivar_Routing::RequestResult>
    : EnumerationTable<"Tessivar_Routing::RequestResult", "PENDING", "COMPLETE", "IN_PROGRESS", "FAILED"> {};

template <>
struct Table<Tessivar_Routing::Level>
    : Final<"Tessivar_Routing::Level",  //
            Member<"index", &Tessivar_Routing::Level::index, LevelIndexKind>,
            Member<"numberOfSources", &Tessivar_Routing::Level::numberOfSources, UShort>,
            Member<"numberOfDests", &Tessivar_Routing::Level::numberOfDests, UShort>,
            Member<"name", &Tessivar_Routing::Level::name, String<32>>> {};

template <>
struct Table<Tessivar_Routing::Matrix>
    : Final<"Tessivar_Routing::Matrix",  //
            Member<"levels", &Tessivar_Routing::Matrix::levels,
                   Sequence<Structure<Tessivar_Routing::Level>, 32, Tessivar_Routing::LevelSeq>>,
            Member<"numberOfSourceAssociations", &Tessivar_Routing::Matrix::numberOfSourceAssociations, ULong>,
            Member<"numberOfDestAssociations", &Tessivar_Routing::Matrix::numberOfDestAssociations, ULong>,
            Member<"name", &Tessivar_Routing::Matrix::name, String<32>>> {};

template <>
struct Table<Tessivar_Routing::Router>
    : Final<"Tessivar_Routing::Router",  //
            Key<"unitId", &Tessivar_Routing::Router::unitId, GuidKind>,
            Member<"name", &Tessivar_Routing::Router::name, String<32>>,
            Member<"matrices", &Tessivar_Routing::Router::matrices,
                   Sequence<Structure<Tessivar_Routing::Matrix>, 16, Tessivar_Routing::MatrixSeq>>> {};

template <>
struct Table<Tessivar_Routing::Source> : Final<"Tessivar_Routing::Source",  //
                                               Key<"unitId", &Tessivar_Routing::Source::unitId, GuidKind>,
                                               Key<"matrix", &Tessivar_Routing::Source::matrix, MatrixIndexKind>,
                                               Key<"level", &Tessivar_Routing::Source::level, LevelIndexKind>,
                                               Key<"index", &Tessivar_Routing::Source::index, PortIndexKind>,
                                               Member<"name", &Tessivar_Routing::Source::name, String<32>>> {};

template <>
struct Table<Tessivar_Routing::Destination>
    : Final<"Tessivar_Routing::Destination",  //
            Key<"unitId", &Tessivar_Routing::Destination::unitId, GuidKind>,
            Key<"matrix", &Tessivar_Routing::Destination::matrix, MatrixIndexKind>,
            Key<"level", &Tessivar_Routing::Destination::level, LevelIndexKind>,
            Key<"index", &Tessivar_Routing::Destination::index, PortIndexKind>,
            Member<"name", &Tessivar_Routing::Destination::name, String<32>>,
            Member<"protect", &Tessivar_Routing::Destination::protect, Boolean>> {};

template <>
struct Table<Tessivar_Routing::Association>
    : Final<"Tessivar_Routing::Association",  //
            Key<"unitId", &Tessivar_Routing::Association::unitId, GuidKind>,
            Key<"matrix", &Tessivar_Routing::Association::matrix, MatrixIndexKind>,
            Key<"index", &Tessivar_Routing::Association::index, AssociationIndexKind>,
            Member<"port_indexes", &Tessivar_Routing::Association::port_indexes,
                   Sequence<PortIndexKind, 32, Tessivar_Routing::PortIndexSeq>>,
            Member<"name", &Tessivar_Routing::Association::name, String<32>>> {};

template <>
struct Table<Tessivar_Routing::AssociationRoute>
    : Final<"Tessivar_Routing::AssociationRoute",  //
            Key<"unitId", &Tessivar_Routing::AssociationRoute::unitId, GuidKind>,
            Key<"matrix_index", &Tessivar_Routing::AssociationRoute::matrix_index, MatrixIndexKind>,
            Member<"source_index", &Tessivar_Routing::AssociationRoute::source_index, AssociationIndexKind>,
            Key<"dest_index", &Tessivar_Routing::AssociationRoute::dest_index, AssociationIndexKind>> {};

template <>
struct Table<Tessivar_Routing::AssociationRouteChangeRequest>
    : Final<"Tessivar_Routing::AssociationRouteChangeRequest",  //
            Key<"changeguid", &Tessivar_Routing::AssociationRouteChangeRequest::changeguid, ReqReplyGuidKind>,
            Member<"ticketId", &Tessivar_Routing::AssociationRouteChangeRequest::ticketId, UShort>,
            Member<"newValue", &Tessivar_Routing::AssociationRouteChangeRequest::newValue,
                   Structure<Tessivar_Routing::AssociationRoute>>> {};

template <>
struct Table<Tessivar_Routing::AssociationRouteChangeExceptionInfo>
    : Final<"Tessivar_Routing::AssociationRouteChangeExceptionInfo",  //
            Member<"message", &Tessivar_Routing::AssociationRouteChangeExceptionInfo::message, String<255>>> {};

template <>
struct Table<Tessivar_Routing::AssociationRouteChangeReply>
    : Final<"Tessivar_Routing::AssociationRouteChangeReply",  //
            Key<"changeguid", &Tessivar_Routing::AssociationRouteChangeReply::changeguid, ReqReplyGuidKind>,
            Member<"ticketId", &Tessivar_Routing::AssociationRouteChangeReply::ticketId, UShort>,
            Member<"result", &Tessivar_Routing::AssociationRouteChangeReply::result,
                   Enumeration<Tessivar_Routing::RequestResult>>,
            Member<"ex", &Tessivar_Routing::AssociationRouteChangeReply::ex,
                   Optional<Structure<Tessivar_Routing::AssociationRouteChangeExceptionInfo>>>> {};

template <>
struct Table<Tessivar_Routing::DestinationChangeRequest>
    : Final<"Tessivar_Routing::DestinationChangeRequest",  //
            Key<"changeguid", &Tessivar_Routing::DestinationChangeRequest::changeguid, ReqReplyGuidKind>,
            Member<"ticketId", &Tessivar_Routing::DestinationChangeRequest::ticketId, UShort>,
            Member<"newValue", &Tessivar_Routing::DestinationChangeRequest::newValue,
                   Structure<Tessivar_Routing::Destination>>,
            Member<"level_mask", &Tessivar_Routing::DestinationChangeRequest::level_mask,
                   Sequence<Boolean, 32, DDS_BooleanSeq>>> {};

template <>
struct Table<Tessivar_Routing::DestinationChangeReply>
    : Final<"Tessivar_Routing::DestinationChangeReply",  //
            Key<"changeguid", &Tessivar_Routing::DestinationChangeReply::changeguid, ReqReplyGuidKind>,
            Member<"ticketId", &Tessivar_Routing::DestinationChangeReply::ticketId, UShort>,
            Member<"result", &Tessivar_Routing::DestinationChangeReply::result,
                   Enumeration<Tessivar_Routing::RequestResult>>> {};

}  // namespace tessivar::types
