// SPDX-License-Identifier: Apache-2.0

// An engine that can refuse one call.
#pragma once

#include "tessivar/platform/engine/engine.h"

#include <atomic>
#include <memory>
#include <string>
#include <utility>

namespace tessivar::testing {

/// Wraps the real engine during its lifetime. Objects that were made through it must be destroyed before it.
class FailingEngine final : public platform::Engine {
 public:
  FailingEngine() { platform::set_engine(this); }
  ~FailingEngine() override { platform::set_engine(nullptr); }

  /// Refuses the creation after the next `others` creations. A negative number refuses none.
  void fail_after(int others) { left_ = others; }
  /// Refuses every later write with this code. OK refuses none.
  void fail_writes(DDS_ReturnCode_t code) { write_result_ = code; }
  /// Returns true if a creation was refused since fail_after().
  bool failed() const { return left_ == -1; }

  DDS_ReturnCode_t create_participant(const platform::EngineParticipantConfig& config,
                                      platform::EngineParticipantEvents* events,
                                      std::unique_ptr<platform::EngineParticipant>& participant,
                                      std::string& error) override {
    if (refuses(&error)) return DDS_RETCODE_OUT_OF_RESOURCES;
    auto made = std::make_unique<Participant>(*this);
    const DDS_ReturnCode_t result = platform::default_engine().create_participant(config, events, made->real, error);
    if (result == DDS_RETCODE_OK) participant = std::move(made);
    return result;
  }
  std::unique_ptr<platform::EngineGuardCondition> create_guard_condition() override {
    return refuses() ? nullptr : platform::default_engine().create_guard_condition();
  }
  std::unique_ptr<platform::EngineWaitSet> create_wait_set() override {
    return refuses() ? nullptr : platform::default_engine().create_wait_set();
  }

 private:
  struct Writer final : platform::EngineWriter {
    explicit Writer(FailingEngine& its_engine) : engine(its_engine) {}
    platform::EncodedSample* allocate(std::uint32_t size, bool key_only) override {
      return real->allocate(size, key_only);
    }
    DDS_ReturnCode_t write(platform::SampleRef sample, platform::WriteKind kind, std::int64_t time) override {
      const DDS_ReturnCode_t refusal = engine.write_result_;
      return refusal == DDS_RETCODE_OK ? real->write(std::move(sample), kind, time) : refusal;
    }
    DDS_ReturnCode_t flush() override { return real->flush(); }
    DDS_ReturnCode_t wait_for_acknowledgments(std::int64_t timeout) override {
      return real->wait_for_acknowledgments(timeout);
    }
    DDS_ReturnCode_t assert_liveliness() override { return real->assert_liveliness(); }
    DDS_InstanceHandle_t guid() const override { return real->guid(); }
    std::vector<DDS_InstanceHandle_t> matched_subscriptions() override { return real->matched_subscriptions(); }

    FailingEngine& engine;
    std::unique_ptr<platform::EngineWriter> real;
  };

  struct Participant final : platform::EngineParticipant {
    explicit Participant(FailingEngine& its_engine) : engine(its_engine) {}
    DDS_InstanceHandle_t guid() const override { return real->guid(); }
    int participant_index() const override { return real->participant_index(); }
    std::vector<std::string> interfaces() const override { return real->interfaces(); }
    DDS_ReturnCode_t create_writer(const platform::EngineWriterConfig& config, platform::EngineWriterEvents* events,
                                   std::unique_ptr<platform::EngineWriter>& writer, std::string& error) override {
      if (engine.refuses(&error)) return DDS_RETCODE_OUT_OF_RESOURCES;
      auto made = std::make_unique<Writer>(engine);
      const DDS_ReturnCode_t result = real->create_writer(config, events, made->real, error);
      if (result == DDS_RETCODE_OK) writer = std::move(made);
      return result;
    }
    DDS_ReturnCode_t create_reader(const platform::EngineReaderConfig& config, platform::EngineReaderEvents* events,
                                   std::unique_ptr<platform::EngineReader>& reader, std::string& error) override {
      return engine.refuses(&error) ? DDS_RETCODE_OUT_OF_RESOURCES : real->create_reader(config, events, reader, error);
    }
    DDS_ReturnCode_t ignore(const DDS_InstanceHandle_t& remote) override { return real->ignore(remote); }
    DDS_ReturnCode_t add_peer(const std::string& address) override { return real->add_peer(address); }
    DDS_ReturnCode_t remove_peer(const std::string& address) override { return real->remove_peer(address); }

    FailingEngine& engine;
    std::unique_ptr<platform::EngineParticipant> real;
  };

  bool refuses(std::string* error = nullptr) {
    if (left_ < 0 || left_-- != 0) return false;
    if (error) *error = "refused by the test";
    return true;
  }

  std::atomic<int> left_{-2};
  std::atomic<DDS_ReturnCode_t> write_result_{DDS_RETCODE_OK};
};

}  // namespace tessivar::testing
