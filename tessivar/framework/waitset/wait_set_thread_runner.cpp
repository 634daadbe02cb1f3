// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/waitset/wait_set_thread_runner.h"

namespace TessivarDDS {

WaitSetThreadRunnerBase::~WaitSetThreadRunnerBase() = default;

void WaitSetThreadRunnerBase::deleteConditions(DDSDataReader* reader, const std::string& signature) {
  readCondition_ = nullptr;
  if (!reader) return;
  const DDS_ReturnCode_t code = reader->delete_contained_entities();
  if (code != DDS_RETCODE_OK) {
    logWarning() << signature << "Error returned from delete_contained_entities:  " << code;
  }
}

}  // namespace TessivarDDS
