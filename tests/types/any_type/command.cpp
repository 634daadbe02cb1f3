// SPDX-License-Identifier: Apache-2.0

#include "tessivar/types/command/internal/command_tables.h"
#include "tests/types/any_type/make.h"

namespace types_test {

using namespace Tessivar;

void add_core_and_command(std::vector<AnyType>& types) {
  add<Structure<Address>, GuidKind, ReqReplyGuidKind, Structure<Range>, Structure<ULRange>, Structure<PtpTime>>(types,
                                                                                                                "core");
  add<Enumeration<CommandType>, Enumeration<CommandChangeReplyResult>, Union<CommandValue>,
      Structure<CommandChangeExceptionInfo>, Structure<Unit>, Structure<Command>, Structure<CommandMetadata>,
      Structure<CommandInterest>, Structure<CommandChangeRequest>, Structure<CommandChangeReply>>(types, "command");
}

}  // namespace types_test
