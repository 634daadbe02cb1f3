// SPDX-License-Identifier: Apache-2.0

// The engine's data writer.
#pragma once

#include "tessivar/platform/cyclone/matches.h"
#include "tessivar/platform/cyclone/participant.h"
#include "tessivar/platform/cyclone/topic.h"

namespace tessivar::platform::cyclone {

class Writer final : public EngineWriter {
 public:
  static DDS_ReturnCode_t create(Participant& participant, const EngineWriterConfig& config, EngineWriterEvents* events,
                                 std::unique_ptr<EngineWriter>& result, std::string& error);
  ~Writer() override;

  EncodedSample* allocate(std::uint32_t size, bool key_only) override;
  DDS_ReturnCode_t write(SampleRef sample, WriteKind kind, std::int64_t source_timestamp) override;
  DDS_ReturnCode_t flush() override;
  DDS_ReturnCode_t wait_for_acknowledgments(std::int64_t timeout) override;
  DDS_ReturnCode_t assert_liveliness() override;
  DDS_InstanceHandle_t guid() const override;
  std::vector<DDS_InstanceHandle_t> matched_subscriptions() override;

 private:
  Writer(const EngineWriterConfig& config, EngineWriterEvents* events);
  DDS_ReturnCode_t start(Participant& participant, const EngineWriterConfig& config, std::string& error);

  DDS_PublicationMatchedStatus to_platform(dds_entity_t writer, const dds_publication_matched_status_t& status);
  static void on_publication_matched(dds_entity_t, dds_publication_matched_status_t, void* self);
  static void on_liveliness_lost(dds_entity_t, dds_liveliness_lost_status_t, void* self);
  static void on_offered_deadline_missed(dds_entity_t, dds_offered_deadline_missed_status_t, void* self);
  static void on_offered_incompatible_qos(dds_entity_t, dds_offered_incompatible_qos_status_t, void* self);

  Mismatches* mismatches_ = nullptr;
  EngineWriterEvents* const events_;
  const PRESTypePlugin& plugin_;
  const bool matches_itself_;  // with readers of its own participant
  const bool dispose_with_unregister_;
  const bool reliable_;
  bool collects_ = false;    // samples wait for flush()
  bool flush_each_ = false;  // the engine may collect samples although batching was not requested
  Matches matches_{Matches::Side::readers};
  Topic topic_;
  dds_entity_t entity_ = 0;
};

}  // namespace tessivar::platform::cyclone
