#include "tessivar/framework/waitset/wait_set_thread_runner.h"

#include "tessivar/framework/sync/thread.h"

#include <algorithm>

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

void WaitSetThreadRunnerBase::restAfterRead(std::chrono::nanoseconds spent, DDS_Long found) {
  constexpr std::chrono::microseconds noticeable(300);
  constexpr std::chrono::milliseconds longest(10);
  if (found == settings_.maxSamples || spent < noticeable) return;
  const auto rest = std::min(std::chrono::ceil<std::chrono::milliseconds>(spent), longest);
  TessivarThread::sleep(static_cast<int>(rest.count()));
}

}  // namespace TessivarDDS
