// SPDX-License-Identifier: Apache-2.0

// The participant that a domain shares with its nodes.
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

/// Returns `peers` without the default peers of every participant.
std::vector<std::string> withoutDefaultPeers(std::vector<std::string> peers);

/// Owns a participant, its listeners, and the topics that several nodes share. The domain, and each node with a topic,
/// hold it by a shared pointer. Therefore the participant outlives all of them, in any order of destruction.
///
/// Thread-safe, except for adopt() and close(). A failure logs one line.
class TESSIVAR_API OwnedParticipant {
 public:
  OwnedParticipant() = default;
  /// Does the same as close().
  ~OwnedParticipant();
  OwnedParticipant(const OwnedParticipant&) = delete;
  OwnedParticipant& operator=(const OwnedParticipant&) = delete;

  /// Takes ownership of a participant of the factory.
  void adopt(DDSDomainParticipant* participant) {
    participant_ = participant;
    madeHere_ = {};
  }
  /// Returns true in a process that inherited this object by fork(). There entities are abandoned instead of deleted.
  bool inherited() const { return madeHere_.inherited(); }
  /// Returns null until adopt().
  DDSDomainParticipant* get() const { return participant_; }
  /// Deletes the participant and everything on it. Returns true if there is no participant any more. In a process that
  /// inherited it by fork(), the participant is abandoned.
  bool close();

  /// Returns the topic with this name. The first caller creates it with `qos`. For each success, call releaseTopic()
  /// once. Returns null if the topic cannot be created or has another type.
  DDSTopic* acquireTopic(const std::string& name, const char* typeName, const DDS_TopicQos& qos);
  /// Releases a topic. The last release deletes it. Returns PRECONDITION_NOT_MET if it is the last release and entities
  /// still use the topic.
  DDS_ReturnCode_t releaseTopic(DDSTopic* topic);
  /// Returns `name`, with a number appended if another node uses it. Call releaseFilteredName() with the result.
  std::string reserveFilteredName(const std::string& name);
  void releaseFilteredName(const std::string& name);
  /// Returns the names of the topics in use, separated by commas.
  std::string topicNames() const;

  // Peers in addition to the initial peers of the QoS.
  void peerAdded(const std::string& address);
  void peerRemoved(const std::string& address);
  /// Returns the discovery settings and results in one line: domain, interfaces, peers, multicast, participants.
  std::string describeDiscovery() const;
  /// If no other participant has been discovered yet, logs a warning with this line after `signature`. Used when a wait
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
  mutable tessivar::platform::Mutex mutex_;
  std::map<std::string, Topic> topics_ TESSIVAR_GUARDED_BY(mutex_);
  std::set<std::string> filteredNames_ TESSIVAR_GUARDED_BY(mutex_);
  std::vector<std::string> addedPeers_ TESSIVAR_GUARDED_BY(mutex_);
};

}  // namespace TessivarDDS
