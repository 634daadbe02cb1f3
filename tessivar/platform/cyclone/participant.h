// SPDX-License-Identifier: Apache-2.0

// The engine's participant. Each participant has its own engine domain, and so its own peers, interfaces, timing and
// ignored participants.
#pragma once

#include "tessivar/platform/cyclone/batching.h"
#include "tessivar/platform/cyclone/discovery.h"
#include "tessivar/platform/cyclone/engine_api.h"
#include "tessivar/platform/cyclone/mismatches.h"

#include <memory>
#include <string>

namespace tessivar::platform::cyclone {

class Participant final : public EngineParticipant {
 public:
  static DDS_ReturnCode_t create(const EngineParticipantConfig& config, EngineParticipantEvents* events,
                                 std::unique_ptr<EngineParticipant>& result, std::string& error);
  ~Participant() override;

  DDS_InstanceHandle_t guid() const override;
  int participant_index() const override;
  std::vector<std::string> interfaces() const override;
  DDS_ReturnCode_t create_writer(const EngineWriterConfig& config, EngineWriterEvents* events,
                                 std::unique_ptr<EngineWriter>& result, std::string& error) override;
  DDS_ReturnCode_t create_reader(const EngineReaderConfig& config, EngineReaderEvents* events,
                                 std::unique_ptr<EngineReader>& result, std::string& error) override;
  DDS_ReturnCode_t ignore(const DDS_InstanceHandle_t& remote_participant) override;
  DDS_ReturnCode_t add_peer(const std::string& address) override;
  DDS_ReturnCode_t remove_peer(const std::string& address) override;

  // For its readers and writers.
  dds_entity_t entity() const { return entity_; }
  ddsi_domaingv* internals() const { return gv_; }  // null if they are not available
  Discovery& discovery() { return *discovery_; }
  Mismatches& mismatches() { return *mismatches_; }
  BatchingSetting& batching() { return *batching_; }

 private:
  Participant() = default;
  DDS_ReturnCode_t start(const EngineParticipantConfig& config, EngineParticipantEvents* events, std::string& error);
  DDS_ReturnCode_t change_peer(const std::string& address, bool (*change)(ddsi_domaingv*, const char*));

  dds_entity_t domain_ = 0;
  dds_entity_t entity_ = 0;
  ddsi_domaingv* gv_ = nullptr;
  struct RedundancyDeleter {
    void operator()(cyclone_redundancy* redundancy) const { cyclone_free_redundancy(redundancy); }
  };
  std::unique_ptr<cyclone_redundancy, RedundancyDeleter> redundancy_;
  std::unique_ptr<Discovery> discovery_;
  std::unique_ptr<Mismatches> mismatches_;
  std::unique_ptr<BatchingSetting> batching_;
};

}  // namespace tessivar::platform::cyclone
