// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/participant.h"

#include "tessivar/platform/cyclone/configuration.h"
#include "tessivar/platform/cyclone/engine_log.h"
#include "tessivar/platform/cyclone/network/network.h"
#include "tessivar/platform/cyclone/qos.h"
#include "tessivar/platform/cyclone/reader.h"
#include "tessivar/platform/cyclone/translate.h"
#include "tessivar/platform/cyclone/writer.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/system/guarded.h"

#include <algorithm>
#include <atomic>
#include <mutex>

#include <dds/version.h>

namespace tessivar::platform::cyclone {
namespace {

// The engine's numbers for its domains. They begin at a high number, so that they differ from the domains of an
// application that also uses the engine directly.
dds_domainid_t next_internal_id() {
  static std::atomic<dds_domainid_t> next{0x54450000};
  return next++;
}

void report_missing_internals() {
  static std::once_flag once;
  std::call_once(once, [] {
    log(LogLevel::warning, "engine",
        "the library was built with Cyclone DDS " DDS_VERSION
        ", but another version is installed, or its internal structures are not known. These features are missing: "
        "reports of participants, ignoring participants, changes of peers at run time, waiting for history, batches, "
        "redundant networks. Build the library with the installed version");
  });
}

}  // namespace

DDS_ReturnCode_t Participant::create(const EngineParticipantConfig& config, EngineParticipantEvents* events,
                                     std::unique_ptr<EngineParticipant>& result, std::string& error) {
  return guarded(error, DDS_RETCODE_OUT_OF_RESOURCES, [&] {
    std::unique_ptr<Participant> participant(new Participant);
    const DDS_ReturnCode_t code = participant->start(config, events, error);
    if (code == DDS_RETCODE_OK) result = std::move(participant);
    return code;
  });
}

DDS_ReturnCode_t Participant::start(const EngineParticipantConfig& config, EngineParticipantEvents* events,
                                    std::string& error) {
  const std::optional<std::string> configuration = engine_configuration(config, error);
  if (!configuration) return DDS_RETCODE_BAD_PARAMETER;
  // The engine also detects this, but then does not free all of its resources.
  if (!has_free_participant_ports(config.domain_id, config.max_participant_index + 1)) {
    error = "domain " + std::to_string(config.domain_id) + ": no ports are free: this machine already has " +
            std::to_string(config.max_participant_index + 1) +
            " participants in the domain, or other programs use their ports";
    return DDS_RETCODE_OUT_OF_RESOURCES;
  }
  const dds_domainid_t internal_id = next_internal_id();
  const EngineLogCapture log;
  domain_ = dds_create_domain(internal_id, configuration->c_str());
  if (domain_ < 0) {
    error = "domain " + std::to_string(config.domain_id) + ": " + describe(domain_) + log.text();
    return to_return_code(domain_);
  }
  gv_ = cyclone_internals_of(internal_id, static_cast<std::uint32_t>(config.domain_id), config.lease_duration,
                             config.announcement_period);
  if (gv_) {
    cyclone_close_sockets_on_exec(gv_);
  } else {
    report_missing_internals();
  }
  batching_ = std::make_unique<BatchingSetting>(gv_);
  redundancy_.reset(cyclone_start_redundancy(gv_));
  discovery_ = std::make_unique<Discovery>(gv_, redundancy_.get(), events);
  const EngineQos qos = to_engine_qos(config);
  entity_ = dds_create_participant(internal_id, qos.get(), nullptr);
  if (entity_ < 0) {
    error = "participant in domain " + std::to_string(config.domain_id) + ": " + describe(entity_) + log.text();
    return to_return_code(entity_);
  }
  mismatches_ = std::make_unique<Mismatches>(*discovery_, entity_);
  discovery_->report_known(entity_);
  return DDS_RETCODE_OK;
}

Participant::~Participant() {
  if (discovery_) discovery_->stop();
  if (entity_ > 0) dds_delete(entity_);
  if (domain_ > 0) dds_delete(domain_);
}

DDS_InstanceHandle_t Participant::guid() const {
  return guid_of(entity_);
}

int Participant::participant_index() const {
  return gv_ ? cyclone_participant_index(gv_) : -1;
}

std::vector<std::string> Participant::interfaces() const {
  std::vector<std::string> result;
  cyclone_interface used[CYCLONE_INTERFACES_MAX];
  const std::uint32_t count = gv_ ? cyclone_interfaces(gv_, used) : 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    std::string address;
    for (const std::uint8_t octet : used[i].address) {
      if (!address.empty()) address += '.';
      address += std::to_string(octet);
    }
    result.push_back(std::string(used[i].name) + " (" + address + ")");
  }
  return result;
}

DDS_ReturnCode_t Participant::create_writer(const EngineWriterConfig& config, EngineWriterEvents* events,
                                            std::unique_ptr<EngineWriter>& result, std::string& error) {
  return guarded(error, DDS_RETCODE_OUT_OF_RESOURCES,
                 [&] { return Writer::create(*this, config, events, result, error); });
}

DDS_ReturnCode_t Participant::create_reader(const EngineReaderConfig& config, EngineReaderEvents* events,
                                            std::unique_ptr<EngineReader>& result, std::string& error) {
  return guarded(error, DDS_RETCODE_OUT_OF_RESOURCES,
                 [&] { return Reader::create(*this, config, events, result, error); });
}

DDS_ReturnCode_t Participant::ignore(const DDS_InstanceHandle_t& remote_participant) {
  if (!remote_participant.isValid) return DDS_RETCODE_BAD_PARAMETER;
  if (!discovery_->active()) return DDS_RETCODE_UNSUPPORTED;
  Guid guid;
  std::copy(std::begin(remote_participant.keyHash.value), std::end(remote_participant.keyHash.value), guid.begin());
  return guarded("EngineParticipant::ignore", DDS_RETCODE_OUT_OF_RESOURCES, [&] {
    discovery_->ignore(guid);
    return DDS_RETCODE_OK;
  });
}

DDS_ReturnCode_t Participant::change_peer(const std::string& address, bool (*change)(ddsi_domaingv*, const char*)) {
  if (!gv_) return DDS_RETCODE_UNSUPPORTED;
  return guarded("EngineParticipant::change_peer", DDS_RETCODE_OUT_OF_RESOURCES, [&] {
    const std::optional<std::string> resolved = resolve_peer(address);
    if (!resolved || !change(gv_, resolved->c_str())) return DDS_RETCODE_BAD_PARAMETER;
    return DDS_RETCODE_OK;
  });
}

DDS_ReturnCode_t Participant::add_peer(const std::string& address) {
  const DDS_ReturnCode_t code = change_peer(address, cyclone_add_peer);
  if (code != DDS_RETCODE_OK) return code;
  return guarded("EngineParticipant::add_peer", DDS_RETCODE_OUT_OF_RESOURCES, [&] {
    discovery_->announce();
    return DDS_RETCODE_OK;
  });
}

DDS_ReturnCode_t Participant::remove_peer(const std::string& address) {
  return change_peer(address, cyclone_remove_peer);
}

}  // namespace tessivar::platform::cyclone
