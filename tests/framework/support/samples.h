// SPDX-License-Identifier: Apache-2.0

// Functions that make samples for tests.
#pragma once

#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/types/command/command.h"

#include <cstring>
#include <string>

namespace tessivar::testing {

inline TessivarDDS::DDSPtr<Tessivar::Command> command(const char* unit, unsigned number, int value = 0) {
  TessivarDDS::DDSPtr<Tessivar::Command> sample(Tessivar::CommandTypeSupport::create_data());
  std::strcpy(sample->unitId, unit);
  sample->commandNumber = number;
  sample->value._d = Tessivar::Int;
  sample->value._u.intValue = value;
  return sample;
}

/// Returns "UNIT/NUMBER=VALUE".
inline std::string text(const Tessivar::Command& sample) {
  return std::string(sample.unitId) + '/' + std::to_string(sample.commandNumber) + '=' +
         std::to_string(sample.value._u.intValue);
}

inline Tessivar::CommandChangeReply* reply(Tessivar::CommandChangeReplyResult result) {
  Tessivar::CommandChangeReply* sample = Tessivar::CommandChangeReplyTypeSupport::create_data();
  sample->result = result;
  return sample;
}

}  // namespace tessivar::testing
