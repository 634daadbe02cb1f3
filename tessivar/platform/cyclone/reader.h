// SPDX-License-Identifier: Apache-2.0

// The engine's data reader.
#pragma once

#include "tessivar/platform/cyclone/matches.h"
#include "tessivar/platform/cyclone/participant.h"
#include "tessivar/platform/cyclone/topic.h"

namespace tessivar::platform::cyclone {

class Reader final : public EngineReader {
 public:
  static DDS_ReturnCode_t create(Participant& participant, const EngineReaderConfig& config, EngineReaderEvents* events,
                                 std::unique_ptr<EngineReader>& result, std::string& error);
  ~Reader() override;

  DDS_ReturnCode_t take(std::vector<EngineSlot>& slots) override;
  DDS_ReturnCode_t wait_for_historical_data(std::int64_t timeout) override;
  DDS_InstanceHandle_t guid() const override;
  std::vector<DDS_InstanceHandle_t> matched_publications() override;

 private:
  Reader(Participant& participant, EngineReaderEvents* events) : participant_(participant), events_(events) {}
  DDS_ReturnCode_t start(const EngineReaderConfig& config, std::string& error);

  DDS_SubscriptionMatchedStatus to_platform(dds_entity_t reader, const dds_subscription_matched_status_t& status);
  DDS_LivelinessChangedStatus to_platform(dds_entity_t reader, const dds_liveliness_changed_status_t& status);
  static void on_data_available(dds_entity_t, void* self);
  static void on_subscription_matched(dds_entity_t, dds_subscription_matched_status_t, void* self);
  static void on_liveliness_changed(dds_entity_t, dds_liveliness_changed_status_t, void* self);
  static void on_requested_deadline_missed(dds_entity_t, dds_requested_deadline_missed_status_t, void* self);
  static void on_requested_incompatible_qos(dds_entity_t, dds_requested_incompatible_qos_status_t, void* self);
  static void on_sample_lost(dds_entity_t, dds_sample_lost_status_t, void* self);
  static void on_sample_rejected(dds_entity_t, dds_sample_rejected_status_t, void* self);

  Participant& participant_;
  EngineReaderEvents* const events_;
  Matches matches_{Matches::Side::writers};
  Topic topic_;
  dds_entity_t entity_ = 0;
};

}  // namespace tessivar::platform::cyclone
