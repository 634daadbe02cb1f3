// SPDX-License-Identifier: Apache-2.0

// Who may talk to a participant: remote participants are admitted or ignored by the type that they announce.
#pragma once

#include "tessivar/platform/builtin.h"
#include "tessivar/platform/participant.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace TessivarDDS {

class PeerList;

/// The type of a remote participant that announces none that can be read.
constexpr unsigned short unknownParticipantType = 0xFFFF;

/// Listens to a participant's built-in participant reader and ignores every remote participant whose announced type is
/// not an allowed one, before anything of it is matched.
///
/// The allowed types are set before the listener is installed. The callback runs on the engine's discovery thread; the
/// counts may be read by any thread.
class TESSIVAR_API BuiltinParticipantListener : public DDSDataReaderListener {
 public:
  /// The participant that ignores. Not owned.
  void setParticipant(DDSDomainParticipant* participant) {
    participant_ = participant;
    seen_ = 0;
  }
  /// Where remote participants are noted; before it is installed.
  void setPeerList(std::shared_ptr<PeerList> peers) { peers_ = std::move(peers); }
  /// Admits the types of a comma-separated list of numbers. An empty list admits every participant; a list in which no
  /// number can be read admits none, with an error line that names the list.
  void setAllowedTypes(const std::string& list);
  const std::vector<unsigned short>& allowedTypes() const { return allowed_; }
  /// Announcements that were admitted since the listener was made.
  unsigned admitted() const { return admitted_.load(std::memory_order_relaxed); }
  /// Remote participants discovered since setParticipant(), admitted or not, gone or not.
  unsigned seen() const { return seen_.load(std::memory_order_relaxed); }

  void on_data_available(DDSDataReader* reader) override;

  /// The numbers of a comma-separated list, each 0 to 65535; one that is no such number is logged and left out.
  static std::vector<unsigned short> parseTypes(const std::string& list);
  /// The number in "type=NUMBER"; unknownParticipantType when there is none. `text` need not end with a zero.
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
