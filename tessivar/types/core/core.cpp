// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/core/detail/core_tables.h"
#include "tessivar/types/family/type_support_impl.h"

namespace Tessivar {

TESSIVAR_DEFINE_NESTED_TYPE(Address)
TESSIVAR_DEFINE_TYPEDEF(Guid, tessivar::types::GuidKind)
TESSIVAR_DEFINE_TYPEDEF(ReqReplyGuid, tessivar::types::ReqReplyGuidKind)
TESSIVAR_DEFINE_NESTED_TYPE(Range)
TESSIVAR_DEFINE_NESTED_TYPE(ULRange)
TESSIVAR_DEFINE_NESTED_TYPE(PtpTime)

}  // namespace Tessivar
