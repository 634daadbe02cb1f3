// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/logging/internal/logging_tables.h"
#include "tests/types/any_type/make.h"

namespace types_test {

using namespace Tessivar_Logging;

void add_log_messages(std::vector<AnyType>& types) {
  add<Enumeration<MaskType>, Enumeration<MaskReplyResult>, Structure<LogMessage>, Structure<LogMessage2>,
      Structure<LogMessage2Request>, Structure<LogMessage2Reply>, Structure<LatchedErrorInfo>, Structure<LogMessageEx>,
      Structure<MaskInfo>, Structure<LogMessageEx2>, Structure<LogMessageEx2Request>, Structure<LogMessageEx2Reply>>(
      types, "logging");
}

}  // namespace types_test
