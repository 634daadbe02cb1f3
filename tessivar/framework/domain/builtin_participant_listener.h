// SPDX-License-Identifier: Apache-2.0

// The listener that admits or ignores remote participants by the type that they announce.
#pragma once

#include "tessivar/platform/builtin.h"
#include "tessivar/platform/participant.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace TessivarDDS {

class PeerList;

/// The type of a remote participant that announces no readable type.
constexpr unsigned short unknownParticipantType = 0xFFFF;

/// Listens to the built-in participant reader of a participant. It ignores every remote participant whose announced
/// type is not allowed, before any of its endpoints match.
///
/// Set the allowed types before the listener is installed. The callback runs on the discovery thread of the engine. Any
/// thread may read the counts.
class TESSIVAR_API BuiltinParticipantListener : public DDSDataReaderListener {
 public:
  /// The participant that ignores remote participants. Not owned.
  void setParticipant(DDSDomainParticipant* participant) {
    participant_ = participant;
    seen_ = 0;
  }
  /// The list that records remote participants. Set it before the listener is installed.
  void setPeerList(std::shared_ptr<PeerList> peers) { peers_ = std::move(peers); }
  /// Allows the types in a comma-separated list of numbers. An empty list admits every participant. A list without any
  /// readable number admits none, and an error line names the list.
  void setAllowedTypes(const std::string& list);
  const std::vector<unsigned short>& allowedTypes() const { return allowed_; }
  /// Returns the number of announcements that were admitted since the construction of the listener.
  unsigned admitted() const { return admitted_.load(std::memory_order_relaxed); }
  /// Returns the number of remote participants that were discovered since setParticipant(), including those that were
  /// ignored or have left.
  unsigned seen() const { return seen_.load(std::memory_order_relaxed); }

  void on_data_available(DDSDataReader* reader) override;

  /// Returns the numbers of a comma-separated list. Each must be 0 to 65535; any other entry is logged and omitted.
  static std::vector<unsigned short> parseTypes(const std::string& list);
  /// Returns the number in "type=NUMBER", or unknownParticipantType if there is none. `text` needs no terminating zero.
  static unsigned short parseType(const DDS_Octet* text, DDS_Long length);

 private:
  void judge(const DDS_ParticipantBuiltinTopicData& data, const DDS_InstanceHandle_t& handle);

  DDSDomainParticipant* participant_ = nullptr;
  std::shared_ptr<PeerList> peers_;
  bool admitsAll_ = true;
  std::vector<unsigned short> allowed_;
  std::atomic<unsigned> admitted_{0};
  std::atomic<unsigned> seen_{0};
};

}  // namespace TessivarDDS
