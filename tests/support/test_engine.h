// SPDX-License-Identifier: Apache-2.0

// An engine that refuses, loses, repeats, delays and reorders calls, as a script says.
#pragma once

#include "tessivar/platform/engine/engine.h"
#include "tests/support/script.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tessivar::testing {

/// Wraps the default engine, and replaces it during its lifetime. Without rules it changes nothing. Objects that were
/// made through it must be destroyed before it, and must not be destroyed during release().
class TestEngine final : public platform::Engine {
 public:
  TestEngine() { platform::set_engine(this); }
  ~TestEngine() override { platform::set_engine(nullptr); }

  Script script;

  /// Lets all calls happen that are held back, on this thread; with `reversed` the last one first. Ends the wait of
  /// blocked writes.
  void release(bool reversed = false) {
    std::vector<std::function<void()>> calls = script.take_held();
    if (reversed) std::reverse(calls.begin(), calls.end());
    for (const auto& call : calls) call();
    const std::lock_guard lock(mutex_);
    ++releases_;
    released_.notify_all();
  }
  /// Returns the number of writes that wait for release().
  int blocked() const { return blocked_; }
  /// Returns the number of participants, readers and writers that exist.
  int entities() const { return entities_; }
  struct Refusal {
    Call call;
    std::string topic;
  };
  /// Returns the creation that was refused last.
  Refusal refused() const {
    const std::lock_guard lock(mutex_);
    return refused_;
  }

  DDS_ReturnCode_t create_participant(const platform::EngineParticipantConfig& config,
                                      platform::EngineParticipantEvents* events,
                                      std::unique_ptr<platform::EngineParticipant>& participant,
                                      std::string& error) override {
    auto made = std::make_unique<Participant>(*this);
    const DDS_ReturnCode_t result = platform::default_engine().create_participant(config, events, made->real, error);
    if (result == DDS_RETCODE_OK) participant = std::move(made);
    return result;
  }

 private:
  class Part {
   protected:
    Part(TestEngine& engine, std::string topic) : engine_(engine), name_(std::move(topic)) { ++engine_.entities_; }
    ~Part() { --engine_.entities_; }
    /// To be called by each destructor. Callbacks may use `real` until the real object is destroyed;
    /// unique_ptr::reset() would set it to null before that.
    template <class Real>
    void end(std::unique_ptr<Real>& real) {
      delete real.get();
      (void)real.release();
      engine_.script.forget(this);
    }
    /// Lets `happen` happen as often as the script says. `later`: at release().
    void pass_on(Call call, const std::function<void()>& happen, const std::function<void()>& later) {
      switch (engine_.script.apply(call, name_).effect) {
        case Effect::repeat:
          happen();
          [[fallthrough]];
        case Effect::pass:
          return happen();
        case Effect::hold:
          return engine_.script.hold(this, later);
        default:
          return;
      }
    }
    void pass_on(Call call, const std::function<void()>& happen) { pass_on(call, happen, happen); }

    TestEngine& engine_;
    const std::string name_;
  };

  class Writer final : public platform::EngineWriter, platform::EngineWriterEvents, Part {
   public:
    Writer(TestEngine& engine, const platform::EngineWriterConfig& config, platform::EngineWriterEvents* to)
        : Part(engine, config.topic),
          patience_(platform::to_nanoseconds(config.qos.reliability.max_blocking_time)),
          to_(to) {}
    ~Writer() override { end(real); }
    platform::EngineWriterEvents* events() { return to_ ? this : nullptr; }

    platform::EncodedSample* allocate(std::uint32_t size, bool key_only) override {
      return real->allocate(size, key_only);
    }
    DDS_ReturnCode_t write(platform::SampleRef sample, platform::WriteKind kind, std::int64_t time) override {
      const Call call = kind == platform::WriteKind::data      ? Call::write
                        : kind == platform::WriteKind::dispose ? Call::dispose
                                                               : Call::unregister;
      const Rule rule = engine_.script.apply(call, name_);
      switch (rule.effect) {
        case Effect::refuse:
          return rule.code;
        case Effect::lose:
          return DDS_RETCODE_OK;
        case Effect::hold:
          engine_.script.hold(this, [this, sample, kind, time] { real->write(sample, kind, time); });
          return DDS_RETCODE_OK;
        case Effect::repeat:
          real->write(copy(sample), kind, time);
          break;
        case Effect::block:
          if (!engine_.await_release(patience_)) return DDS_RETCODE_TIMEOUT;
          break;
        case Effect::pass:
          break;
      }
      return real->write(std::move(sample), kind, time);
    }
    DDS_ReturnCode_t flush() override { return real->flush(); }
    DDS_ReturnCode_t wait_for_acknowledgments(std::int64_t timeout) override {
      return real->wait_for_acknowledgments(timeout);
    }
    DDS_ReturnCode_t assert_liveliness() override { return real->assert_liveliness(); }
    DDS_InstanceHandle_t guid() const override { return real->guid(); }
    std::vector<DDS_InstanceHandle_t> matched_subscriptions() override { return real->matched_subscriptions(); }

    std::unique_ptr<platform::EngineWriter> real;

   private:
    platform::SampleRef copy(const platform::SampleRef& sample) {
      platform::SampleRef result(real->allocate(sample->size, sample->key_only));
      std::memcpy(result->bytes, sample->bytes, sample->size);
      std::memcpy(result->key_hash, sample->key_hash, sizeof sample->key_hash);
      return result;
    }
    void publication_matched(const DDS_PublicationMatchedStatus& status) override {
      pass_on(Call::match, [this, status] { to_->publication_matched(status); });
    }
    void liveliness_lost(const DDS_LivelinessLostStatus& status) override { to_->liveliness_lost(status); }
    void offered_deadline_missed(const DDS_OfferedDeadlineMissedStatus& status) override {
      to_->offered_deadline_missed(status);
    }
    void offered_incompatible_qos(const DDS_OfferedIncompatibleQosStatus& status) override {
      to_->offered_incompatible_qos(status);
    }

    const std::int64_t patience_;
    platform::EngineWriterEvents* const to_;
  };

  class Reader final : public platform::EngineReader, platform::EngineReaderEvents, Part {
   public:
    Reader(TestEngine& engine, const platform::EngineReaderConfig& config, platform::EngineReaderEvents* to)
        : Part(engine, config.topic), to_(to) {}
    ~Reader() override { end(real); }
    platform::EngineReaderEvents* events() { return to_ ? this : nullptr; }

    DDS_ReturnCode_t take(std::vector<platform::EngineSlot>& slots) override {
      slots.clear();
      if (slots.capacity() == 0) return DDS_RETCODE_OUT_OF_RESOURCES;
      const std::lock_guard taking(taking_);
      std::vector<platform::EngineSlot> some;
      some.reserve(64);
      DDS_ReturnCode_t result;
      while ((result = real->take(some)) == DDS_RETCODE_OK) {
        for (const platform::EngineSlot& slot : some) deliver(slot);
      }
      const std::lock_guard lock(mutex_);
      while (!ready_.empty() && slots.size() < slots.capacity()) {
        slots.push_back(std::move(ready_.front()));
        ready_.pop_front();
      }
      return slots.empty() ? result : DDS_RETCODE_OK;
    }
    DDS_ReturnCode_t wait_for_historical_data(std::int64_t timeout) override {
      const Rule rule = engine_.script.apply(Call::wait_for_history, name_);
      return rule.effect == Effect::refuse ? rule.code : real->wait_for_historical_data(timeout);
    }
    DDS_InstanceHandle_t guid() const override { return real->guid(); }
    std::vector<DDS_InstanceHandle_t> matched_publications() override { return real->matched_publications(); }

    std::unique_ptr<platform::EngineReader> real;

   private:
    void deliver(const platform::EngineSlot& slot) {
      const auto store = [this, slot] {
        const std::lock_guard lock(mutex_);
        ready_.push_back(slot);
      };
      pass_on(slot.info.valid_data ? Call::deliver : Call::deliver_end, store, [this, store] {
        store();
        if (to_) to_->data_available();
      });
    }
    void data_available() override {
      pass_on(Call::data_available, [this] { to_->data_available(); });
    }
    void subscription_matched(const DDS_SubscriptionMatchedStatus& status) override {
      pass_on(Call::match, [this, status] { to_->subscription_matched(status); });
    }
    void liveliness_changed(const DDS_LivelinessChangedStatus& status) override {
      pass_on(Call::liveliness, [this, status] { to_->liveliness_changed(status); });
    }
    void requested_deadline_missed(const DDS_RequestedDeadlineMissedStatus& status) override {
      to_->requested_deadline_missed(status);
    }
    void requested_incompatible_qos(const DDS_RequestedIncompatibleQosStatus& status) override {
      to_->requested_incompatible_qos(status);
    }
    void sample_lost(const DDS_SampleLostStatus& status) override { to_->sample_lost(status); }
    void sample_rejected(const DDS_SampleRejectedStatus& status) override { to_->sample_rejected(status); }

    platform::EngineReaderEvents* const to_;
    std::mutex taking_;
    std::mutex mutex_;
    std::deque<platform::EngineSlot> ready_;
  };

  class Participant final : public platform::EngineParticipant, Part {
   public:
    explicit Participant(TestEngine& engine) : Part(engine, "") {}
    ~Participant() override { end(real); }

    DDS_InstanceHandle_t guid() const override { return real->guid(); }
    int participant_index() const override { return real->participant_index(); }
    std::vector<std::string> interfaces() const override { return real->interfaces(); }
    DDS_ReturnCode_t create_writer(const platform::EngineWriterConfig& config, platform::EngineWriterEvents* to,
                                   std::unique_ptr<platform::EngineWriter>& writer, std::string& error) override {
      const DDS_ReturnCode_t refusal = engine_.refuse(Call::create_writer, config.topic, error);
      if (refusal != DDS_RETCODE_OK) return refusal;
      auto made = std::make_unique<Writer>(engine_, config, to);
      const DDS_ReturnCode_t result = real->create_writer(config, made->events(), made->real, error);
      if (result == DDS_RETCODE_OK) writer = std::move(made);
      return result;
    }
    DDS_ReturnCode_t create_reader(const platform::EngineReaderConfig& config, platform::EngineReaderEvents* to,
                                   std::unique_ptr<platform::EngineReader>& reader, std::string& error) override {
      const DDS_ReturnCode_t refusal = engine_.refuse(Call::create_reader, config.topic, error);
      if (refusal != DDS_RETCODE_OK) return refusal;
      auto made = std::make_unique<Reader>(engine_, config, to);
      const DDS_ReturnCode_t result = real->create_reader(config, made->events(), made->real, error);
      if (result == DDS_RETCODE_OK) reader = std::move(made);
      return result;
    }
    DDS_ReturnCode_t ignore(const DDS_InstanceHandle_t& remote) override { return real->ignore(remote); }
    DDS_ReturnCode_t add_peer(const std::string& address) override { return real->add_peer(address); }
    DDS_ReturnCode_t remove_peer(const std::string& address) override { return real->remove_peer(address); }

    std::unique_ptr<platform::EngineParticipant> real;
  };

  DDS_ReturnCode_t refuse(Call call, const std::string& topic, std::string& error) {
    const Rule rule = script.apply(call, topic);
    if (rule.effect == Effect::pass) return DDS_RETCODE_OK;
    error = "refused by the test";
    const std::lock_guard lock(mutex_);
    refused_ = {call, topic};
    return rule.code;
  }
  /// Returns false after `limit` nanoseconds.
  bool await_release(std::int64_t limit) {
    std::unique_lock lock(mutex_);
    const int before = releases_;
    const auto released = [&] { return releases_ != before; };
    ++blocked_;
    const bool in_time = limit == platform::never ? (released_.wait(lock, released), true)
                                                  : released_.wait_for(lock, std::chrono::nanoseconds(limit), released);
    --blocked_;
    return in_time;
  }

  mutable std::mutex mutex_;
  std::condition_variable released_;
  int releases_ = 0;
  Refusal refused_ = {};
  std::atomic<int> blocked_{0};
  std::atomic<int> entities_{0};
};

}  // namespace tessivar::testing
