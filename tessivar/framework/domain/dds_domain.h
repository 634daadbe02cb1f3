// SPDX-License-Identifier: Apache-2.0

// One participant of a DDS domain, configured the way all applications of a facility configure theirs.
#pragma once

#include "tessivar/framework/domain/detail/owned_participant.h"
#include "tessivar/framework/report/report.h"
#include "tessivar/framework/sync/sync.h"
#include "tessivar/platform/participant.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace TessivarDDS {

class PeerList;
class ReportBook;

/// Owns a participant and what configures it: interfaces, peers, the announced type, content filters, and who is
/// admitted. Applications mostly get one from the DomainManager.
///
/// Settings (setType(), enableMulticast(), setAllowedInterfaces()) and addPeerAddress() come first, then
/// createDomainParticipant(); cleanUp() leads back to the start with the settings kept. Create, clean up and change
/// settings from one thread; peers, filters, profiles and the getters may be used from any. Creation takes some
/// milliseconds; nothing else blocks. A failure logs one line and gives false.
///
/// The environment fills in what the application leaves open, however it creates the participant:
/// "DDS_ALLOWED_INTERFACES" (as setAllowedInterfaces(), separated by commas) unless setAllowedInterfaces() was called,
/// "TESSIVAR_MULTICAST" (0 or 1) unless enableMulticast() was called, and "TESSIVAR_PEERS" (as addPeerAddress(),
/// separated by commas or blanks) after the application's own peers. A value that cannot be used is left out with a
/// line in the log.
///
/// A domain carries several clients, nodes, services and topic nodes, also of the same kind: they share their topics.
/// As its participant ignores itself, those on one domain do not communicate with each other: a client and the node
/// that it controls need a domain each.
///
/// Clean up what uses the domain, then the domain. In the other order, and also by destructors, cleanUp() logs a
/// warning and the participant lives on until the last user is cleaned up. What is made directly on participant() does
/// not count as a user: it is deleted with the participant.
///
/// A process forked from one that has domains may destroy inherited objects of this library, clean them up, and call
/// exec() or _exit(). Destroying and cleaning up only abandon them: the parent's participant and threads are not
/// affected. Every other use of inherited objects, and any new domain in the child if the parent had one, is undefined,
/// as the engine's threads and locks are not inherited. The library's sockets are closed by exec().
class TESSIVAR_API DDSDomain {
 public:
  DDSDomain();
  /// As cleanUp().
  ~DDSDomain();
  DDSDomain(const DDSDomain&) = delete;
  DDSDomain& operator=(const DDSDomain&) = delete;

  // --- before creation

  /// Discovery by multicast; false when neither this call nor the environment says otherwise. Refused with a line in
  /// the log once the participant exists.
  void enableMulticast(bool enable);
  /// The type that remote participants see and admit or ignore this one by. Refused once the participant exists.
  void setType(unsigned short type);
  /// Interfaces to use, each a name, an address or a pattern such as "10.1.*"; none: the engine's choice of one. With
  /// more than one, up to four, everything is sent through all of them, so that each of them is enough. When none of
  /// the machine's fits, creation fails. Refused once the participant exists.
  void setAllowedInterfaces(std::vector<std::string> interfaces);

  // --- creation

  /// With the default participant QoS. `domainId`: 0 to 232.
  bool createDomainParticipant(int domainId);
  /// With `qos`, completed by configureQos(). Without `enable` the participant is quiet until
  /// participant()->enable(), and would then match itself unless applyIgnoreSelf() follows.
  ///
  /// From the first call on, the process's participant factory makes participants disabled.
  bool createDomainParticipant(int domainId, const DDS_DomainParticipantQos& qos, bool enable);
  /// With a profile of these QoS files, which every profile of the process is looked up in from now on. When the
  /// profile cannot be read from them, the process keeps the files it had.
  bool createDomainParticipant(int domainId, std::vector<std::string> qosFiles, const std::string& library,
                               const std::string& profile);
  /// Lays this domain's settings and those of the environment over `qos`: transports, peers, the announced type,
  /// interfaces. Without multicast the `initial_peers` of `qos` have no effect, with a warning.
  bool configureQos(DDS_DomainParticipantQos& qos);
  bool setParticipantQosAllowedInterfaces(DDS_DomainParticipantQos& qos, const std::vector<std::string>& interfaces);
  void applyIgnoreSelf();
  void disableAutoCreateParticipantEntities();
  /// Admits remote participants by the property "tessivarddscore.allowed_participant_types": type numbers separated by
  /// commas. Absent or empty admits all; a list in which no number can be read admits none.
  bool installBuiltInParticipantListener();
  /// Deletes the participant with everything on it, or leaves it to those that still use it. Nothing when there is
  /// none. Refused within a callback of the bus.
  void cleanUp();

  // --- peers

  /// Where to look for other participants: a host name, an address or "[N@]builtin.udpv4://ADDRESS". Also while
  /// running.
  bool addPeerAddress(const std::string& address);
  /// Who is known already stays known.
  bool removePeerAddress(const std::string& address);
  std::vector<std::string> initialPeerList() const;

  // --- content filters

  /// Makes `filter` available to filtered topics under `name`. Not owned: it must outlive the participant or be
  /// unregistered. True also when this very filter has that name already; false for a name in use.
  bool registerContentFilter(const std::string& name, const DDSContentFilter* filter);
  /// Under all its names. False for a filter that is not registered, or that filtered topics use.
  bool unregisterContentFilter(const DDSContentFilter* filter);
  bool unregisterContentFilters();
  /// The filter registered under `name`; null when there is none.
  const DDSContentFilter* contentFilter(const std::string& name) const;

  // --- QoS profiles

  bool participantQosProfile(const std::string& library, const std::string& profile, DDS_DomainParticipantQos& qos);
  bool topicQosProfile(const std::string& library, const std::string& profile, DDS_TopicQos& qos);
  bool dataReaderQosProfile(const std::string& library, const std::string& profile, DDS_DataReaderQos& qos);
  bool dataWriterQosProfile(const std::string& library, const std::string& profile, DDS_DataWriterQos& qos);

  // --- state

  /// Null until created. Owned by the domain.
  DDSDomainParticipant* participant() const { return participant_; }
  bool created() const { return created_; }
  /// The participant as a node holds it while it has entities on it. Not for applications.
  std::shared_ptr<OwnedParticipant> ownedParticipant() const { return owned_; }
  const BuiltinParticipantListener& participantListener() const { return owned_->admission; }
  /// What has passed through the participant's readers and writers, and which participants were discovered. Empty
  /// before creation and after cleanUp(). Any thread and callback; never blocks.
  Report report() const;
  /// The remote participants, for the reports of services; may be kept for longer than the domain lives.
  std::shared_ptr<const PeerList> peers() const { return peers_; }
  /// How this participant looks for others and how many it has found, in one line: domain, interfaces, peers,
  /// multicast, participants.
  std::string describeDiscovery() const { return owned_->describeDiscovery(); }

 private:
  bool refusedBecauseCreated(const char* signature) const;
  void deleteParticipant();

  std::vector<std::string> initialPeers_;
  DDSDomainParticipant* participant_ = nullptr;
  bool created_ = false;
  std::optional<bool> multicast_;
  unsigned short type_ = 0;
  std::vector<std::string> allowedInterfaces_;
  std::vector<std::pair<std::string, const DDSContentFilter*>> filters_;
  mutable TessivarMutex filtersLock_;
  std::shared_ptr<PeerList> peers_;
  const std::shared_ptr<ReportBook> book_;
  std::shared_ptr<OwnedParticipant> owned_ = std::make_shared<OwnedParticipant>();  // also held by each node
  std::vector<std::string> peersBeforeCreation_;                                    // what cleanUp() goes back to
};

}  // namespace TessivarDDS
