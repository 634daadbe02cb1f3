// The real engine behind a wall with holes: a test makes a step fail or happen again.
#pragma once

#include "tessivar/platform/engine.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <vector>

namespace face_test {

namespace platform = tessivar::platform;

/// In use from its construction to its destruction, which comes after that of all entities. A hook that is set runs
/// before the step; what it returns other than OK is the step's result.
class FaultyEngine final : public platform::Engine {
 public:
  typedef std::function<DDS_ReturnCode_t()> Hook;

  FaultyEngine() { platform::set_engine(this); }
  ~FaultyEngine() override { platform::set_engine(nullptr); }

  Hook create_participant_hook;
  Hook create_writer_hook;
  Hook create_reader_hook;
  Hook write_hook;
  Hook flush_hook;
  std::function<bool()> allocate_hook;  // false: no memory
  /// May change what a read or take yielded.
  std::function<void(std::vector<platform::EngineSlot>&)> accessed_hook;
  std::atomic<int> flushes = 0;

  std::mutex mutex;  // entities may be made by several threads
  /// Of the reader and the writer that were made last, for a test that plays the engine.
  platform::EngineReaderEvents* reader_events = nullptr;
  platform::EngineWriterEvents* writer_events = nullptr;
  platform::EngineParticipantEvents* participant_events = nullptr;
  std::vector<std::string> peers;
  platform::EngineReaderConfig reader_config;
  platform::EngineWriterConfig writer_config;

  DDS_ReturnCode_t create_participant(const platform::EngineParticipantConfig&, platform::EngineParticipantEvents*,
                                      std::unique_ptr<platform::EngineParticipant>&, std::string& error) override;
  std::unique_ptr<platform::EngineGuardCondition> create_guard_condition() override {
    return platform::cyclone_engine().create_guard_condition();
  }
  std::unique_ptr<platform::EngineWaitSet> create_wait_set() override {
    return platform::cyclone_engine().create_wait_set();
  }
};

}  // namespace face_test
