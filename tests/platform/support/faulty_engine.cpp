#include "support/faulty_engine.h"

namespace face_test {

using namespace tessivar::platform;

namespace {

DDS_ReturnCode_t run(const FaultyEngine::Hook& hook) {
  return hook ? hook() : DDS_RETCODE_OK;
}

class FaultyReader final : public EngineReader {
 public:
  FaultyReader(FaultyEngine& faults, std::unique_ptr<EngineReader> real) : faults_(faults), real_(std::move(real)) {}
  DDS_ReturnCode_t access(const EngineSelection& selection, DDS_Long max, std::vector<EngineSlot>& slots) override {
    const DDS_ReturnCode_t result = real_->access(selection, max, slots);
    if (result == DDS_RETCODE_OK && faults_.accessed_hook) faults_.accessed_hook(slots);
    return result;
  }
  std::unique_ptr<EngineCondition> create_condition(DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
                                                    DDS_InstanceStateMask instance_states) override {
    return real_->create_condition(sample_states, view_states, instance_states);
  }
  DDS_ReturnCode_t wait_for_historical_data(std::int64_t timeout) override {
    return real_->wait_for_historical_data(timeout);
  }
  DDS_InstanceHandle_t guid() const override { return real_->guid(); }
  DDS_SubscriptionMatchedStatus subscription_matched_status() override { return real_->subscription_matched_status(); }
  DDS_LivelinessChangedStatus liveliness_changed_status() override { return real_->liveliness_changed_status(); }
  std::vector<DDS_InstanceHandle_t> matched_publications() override { return real_->matched_publications(); }

 private:
  FaultyEngine& faults_;
  std::unique_ptr<EngineReader> real_;
};

class FaultyWriter final : public EngineWriter {
 public:
  FaultyWriter(FaultyEngine& faults, std::unique_ptr<EngineWriter> real) : faults_(faults), real_(std::move(real)) {}
  EncodedSample* allocate(std::uint32_t size, bool key_only) override {
    if (faults_.allocate_hook && !faults_.allocate_hook()) return nullptr;
    return real_->allocate(size, key_only);
  }
  DDS_ReturnCode_t write(SampleRef sample, WriteKind kind, std::int64_t source_timestamp) override {
    const DDS_ReturnCode_t result = run(faults_.write_hook);
    return result == DDS_RETCODE_OK ? real_->write(std::move(sample), kind, source_timestamp) : result;
  }
  DDS_ReturnCode_t flush() override {
    ++faults_.flushes;
    const DDS_ReturnCode_t result = run(faults_.flush_hook);
    return result == DDS_RETCODE_OK ? real_->flush() : result;
  }
  DDS_ReturnCode_t wait_for_acknowledgments(std::int64_t timeout) override {
    return real_->wait_for_acknowledgments(timeout);
  }
  DDS_ReturnCode_t assert_liveliness() override { return real_->assert_liveliness(); }
  DDS_InstanceHandle_t guid() const override { return real_->guid(); }
  DDS_PublicationMatchedStatus publication_matched_status() override { return real_->publication_matched_status(); }
  std::vector<DDS_InstanceHandle_t> matched_subscriptions() override { return real_->matched_subscriptions(); }

 private:
  FaultyEngine& faults_;
  std::unique_ptr<EngineWriter> real_;
};

class FaultyParticipant final : public EngineParticipant {
 public:
  explicit FaultyParticipant(FaultyEngine& faults) : faults_(faults) {}
  std::unique_ptr<EngineParticipant> real;

  DDS_InstanceHandle_t guid() const override { return real->guid(); }
  int participant_index() const override { return real->participant_index(); }
  DDS_ReturnCode_t create_writer(const EngineWriterConfig& config, EngineWriterEvents* events,
                                 std::unique_ptr<EngineWriter>& writer, std::string& error) override {
    {
      const std::lock_guard lock(faults_.mutex);
      faults_.writer_config = config;
      faults_.writer_events = events;
    }
    error = "a fault of the test";
    DDS_ReturnCode_t result = run(faults_.create_writer_hook);
    std::unique_ptr<EngineWriter> inner;
    if (result == DDS_RETCODE_OK) result = real->create_writer(config, events, inner, error);
    if (result == DDS_RETCODE_OK) writer = std::make_unique<FaultyWriter>(faults_, std::move(inner));
    return result;
  }
  DDS_ReturnCode_t create_reader(const EngineReaderConfig& config, EngineReaderEvents* events,
                                 std::unique_ptr<EngineReader>& reader, std::string& error) override {
    {
      const std::lock_guard lock(faults_.mutex);
      faults_.reader_config = config;
      faults_.reader_events = events;
    }
    error = "a fault of the test";
    DDS_ReturnCode_t result = run(faults_.create_reader_hook);
    std::unique_ptr<EngineReader> inner;
    if (result == DDS_RETCODE_OK) result = real->create_reader(config, events, inner, error);
    if (result == DDS_RETCODE_OK) reader = std::make_unique<FaultyReader>(faults_, std::move(inner));
    return result;
  }
  DDS_ReturnCode_t ignore(const DDS_InstanceHandle_t& remote_participant) override {
    return real->ignore(remote_participant);
  }
  DDS_ReturnCode_t add_peer(const std::string& address) override {
    faults_.peers.push_back(address);
    return real->add_peer(address);
  }
  DDS_ReturnCode_t remove_peer(const std::string& address) override { return real->remove_peer(address); }

 private:
  FaultyEngine& faults_;
};

}  // namespace

DDS_ReturnCode_t FaultyEngine::create_participant(const EngineParticipantConfig& config,
                                                  EngineParticipantEvents* events,
                                                  std::unique_ptr<EngineParticipant>& participant, std::string& error) {
  participant_events = events;
  error = "a fault of the test";
  DDS_ReturnCode_t result = run(create_participant_hook);
  if (result != DDS_RETCODE_OK) return result;
  auto faulty = std::make_unique<FaultyParticipant>(*this);
  result = cyclone_engine().create_participant(config, events, faulty->real, error);
  if (result == DDS_RETCODE_OK) participant = std::move(faulty);
  return result;
}

}  // namespace face_test
