// SPDX-License-Identifier: Apache-2.0

// The tables of the core types. Each table states the name, the members and the bounds of one type.
#pragma once

#include "tessivar/types/core/core.h"
#include "tessivar/types/family/kinds.h"

namespace tessivar::types {

using GuidKind = Typedef<"Tessivar::Guid", String<64>>;
using ReqReplyGuidKind = Typedef<"Tessivar::ReqReplyGuid", Sequence<Octet, 16, DDS_OctetSeq>>;

template <>
struct Table<Tessivar::Address>
    : Final<"Tessivar::Address",                             //
            Member<"net", &Tessivar::Address::net, UShort>,  //
            Member<"unit", &Tessivar::Address::unit, Octet>, Member<"port", &Tessivar::Address::port, Octet>> {};

template <>
struct Table<Tessivar::Range>
    : Final<"Tessivar::Range",                           //
            Member<"min", &Tessivar::Range::min, Long>,  //
            Member<"max", &Tessivar::Range::max, Long>, Member<"minInclusive", &Tessivar::Range::minInclusive, Boolean>,
            Member<"maxInclusive", &Tessivar::Range::maxInclusive, Boolean>> {};

template <>
struct Table<Tessivar::ULRange> : Final<"Tessivar::ULRange",                            //
                                        Member<"min", &Tessivar::ULRange::min, ULong>,  //
                                        Member<"max", &Tessivar::ULRange::max, ULong>> {};

template <>
struct Table<Tessivar::PtpTime> : Final<"Tessivar::PtpTime",  //
                                        Member<"seconds", &Tessivar::PtpTime::seconds, ULongLong>,
                                        Member<"nanoSeconds", &Tessivar::PtpTime::nanoSeconds, ULong>> {};

}  // namespace tessivar::types
