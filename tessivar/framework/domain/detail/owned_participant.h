// SPDX-License-Identifier: Apache-2.0

// A domain's participant, as its domain and the nodes on it share it.
#pragma once

#include "tessivar/framework/domain/builtin_participant_listener.h"
#include "tessivar/framework/domain/domain_listener.h"
#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/participant.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace TessivarDDS {

/// Of `peers` those that are not peers of every participant.
std::vector<std::string> withoutDefaultPeers(std::vector<std::string> peers);

/// Owns a participant, its listeners, and the topics that several nodes use together. The domain and each node with a
/// topic hold it by a shared pointer, so that the participant outlives all of them in whatever order they go.
///
/// Thread-safe, except for adopt() and close(). A failure logs one line.
class TESSIVAR_API OwnedParticipant {
 public:
  OwnedParticipant() = default;
  /// As close().
  ~OwnedParticipant();
  OwnedParticipant(const OwnedParticipant&) = delete;
  OwnedParticipant& operator=(const OwnedParticipant&) = delete;

  /// Takes over a participant of the factory.
  void adopt(DDSDomainParticipant* participant) {
    participant_ = participant;
    madeHere_ = {};
  }
  /// Returns true in a process that inherited it by fork(), where entities are abandoned instead of deleted.
  bool inherited() const { return madeHere_.inherited(); }
  /// Null until one is adopted.
  DDSDomainParticipant* get() const { return participant_; }
  /// Deletes the participant with everything on it. Returns true if there is none any more. In a process that inherited
  /// it by fork() the participant is abandoned.
  bool close();

  /// The topic of that name, made with `qos` by the first caller; each success is paid back with releaseTopic(). Null
  /// when it cannot be made or is of another type.
  DDSTopic* acquireTopic(const std::string& name, const char* typeName, const DDS_TopicQos& qos);
  /// The last holder's release deletes the topic. PRECONDITION_NOT_MET while entities of its last holder use it.
  DDS_ReturnCode_t releaseTopic(DDSTopic* topic);
  /// `name`, or with a number appended when other nodes use it already. Paid back with releaseFilteredName().
  std::string reserveFilteredName(const std::string& name);
  void releaseFilteredName(const std::string& name);
  /// The names of the topics in use, with commas between them.
  std::string topicNames() const;

  // Peers that are looked for beside the initial ones of the QoS.
  void peerAdded(const std::string& address);
  void peerRemoved(const std::string& address);
  /// How the participant looks for others and how many it has found, in one line: domain, interfaces, peers, multicast,
  /// participants.
  std::string describeDiscovery() const;
  /// Warns with that line, after `signature`, when no other participant has been discovered up to now. For waits that
  /// ended without an answer.
  void warnIfAlone(const char* signature) const;

  DDSDomainListener listener;
  BuiltinParticipantListener admission;

 private:
  struct Topic {
    DDSTopic* topic;
    int holders;
  };

  DDSDomainParticipant* participant_ = nullptr;
  tessivar::platform::MadeHere madeHere_;
  mutable tessivar::platform::Mutex mutex_;  // guards what follows
  std::map<std::string, Topic> topics_;
  std::set<std::string> filteredNames_;
  std::vector<std::string> addedPeers_;
};

}  // namespace TessivarDDS
