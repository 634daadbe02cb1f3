// SPDX-License-Identifier: Apache-2.0

// One participant of a DDS domain, configured as all applications of a facility configure it.
#pragma once

#include "tessivar/framework/domain/detail/owned_participant.h"
#include "tessivar/framework/report/report.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/participant.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace TessivarDDS {

class PeerList;
class ReportBook;

/// Owns a participant and its configuration: interfaces, peers, announced type, content filters, and the admission of
/// remote participants. Most applications get a domain from the DomainManager.
///
/// Order of calls: settings (setType(), enableMulticast(), setAllowedInterfaces()) and addPeerAddress(), then
/// createDomainParticipant(). cleanUp() returns to the state before creation and keeps the settings. One thread
/// creates, cleans up and changes settings. Any thread may use peers, filters, profiles and getters. Creation takes
/// some milliseconds; no other function blocks. A failure logs one line and returns false.
///
/// Environment variables set the values that the application did not set, for every way of creating the participant:
/// "DDS_ALLOWED_INTERFACES" (as setAllowedInterfaces(), separated by commas) if setAllowedInterfaces() was not called;
/// "TESSIVAR_MULTICAST" (0 or 1) if enableMulticast() was not called. The peers in "TESSIVAR_PEERS" (as
/// addPeerAddress(), separated by commas or blanks) are added after the peers of the application. An invalid value is
/// logged and ignored.
///
/// Several clients, nodes, services and topic nodes can use one domain, also several of the same kind. They share their
/// topics. The participant ignores itself, so the users of one domain do not communicate with each other: a client and
/// the node that it controls need two domains.
///
/// Clean up the users of the domain first, then the domain. In the other order, cleanUp() and the destructor log a
/// warning, and the participant lives until the last user is cleaned up. Entities that the application creates directly
/// on participant() are not users: they are deleted with the participant.
///
/// A forked child process may destroy or clean up inherited objects of this library, and call exec() or _exit().
/// Destroying and cleaning up only abandon the objects: the participant and the threads of the parent are not affected.
/// Every other use of inherited objects is undefined, because the threads and locks of the engine are not inherited. If
/// the parent had a domain, a new domain in the child is undefined, too. exec() closes the sockets of the library.
class TESSIVAR_API DDSDomain {
 public:
  DDSDomain();
  /// Does the same as cleanUp().
  ~DDSDomain();
  DDSDomain(const DDSDomain&) = delete;
  DDSDomain& operator=(const DDSDomain&) = delete;

  // --- before creation

  /// Switches discovery by multicast on or off. It is off, unless this call or the environment switches it on. After
  /// the participant is created, the call is refused with one log line.
  void enableMulticast(bool enable);
  /// Sets the type that this participant announces; remote participants admit or ignore it by this type. Refused after
  /// the participant is created.
  void setType(unsigned short type);
  /// Sets the network interfaces: names, addresses or patterns such as "10.1.*". If the list is empty, the engine
  /// selects one interface. With two to four interfaces, everything is sent on all of them, so that one working
  /// interface is enough. If no interface of the machine fits, creation fails. Refused after the participant is
  /// created.
  void setAllowedInterfaces(std::vector<std::string> interfaces);

  // --- creation

  /// Creates the participant with the default QoS. `domainId` is 0 to 232.
  bool createDomainParticipant(int domainId);
  /// Creates the participant with `qos`, completed by configureQos(). If `enable` is false, the participant does not
  /// communicate until participant()->enable(); call applyIgnoreSelf() after that, otherwise it matches itself.
  ///
  /// After the first call, the participant factory of the process creates participants disabled.
  bool createDomainParticipant(int domainId, const DDS_DomainParticipantQos& qos, bool enable);
  /// Creates the participant with a profile of these QoS files. From now on, the process looks up all profiles in these
  /// files. If the profile cannot be read from them, the process keeps its previous files.
  bool createDomainParticipant(int domainId, std::vector<std::string> qosFiles, const std::string& library,
                               const std::string& profile);
  /// Writes the settings of this domain and of the environment into `qos`: transports, peers, announced type,
  /// interfaces. Without multicast the `initial_peers` of `qos` have no effect; this is logged as a warning.
  bool configureQos(DDS_DomainParticipantQos& qos);
  bool setParticipantQosAllowedInterfaces(DDS_DomainParticipantQos& qos, const std::vector<std::string>& interfaces);
  void applyIgnoreSelf();
  void disableAutoCreateParticipantEntities();
  /// Admits remote participants by the property "tessivarddscore.allowed_participant_types": type numbers, separated by
  /// commas. If the property is absent or empty, all are admitted. If no number in the list can be read, none is
  /// admitted.
  bool installBuiltInParticipantListener();
  /// Deletes the participant and everything on it. If users of the domain remain, their last clean-up deletes the
  /// participant. Does nothing if there is no participant. Refused within a callback of the bus.
  void cleanUp();

  // --- peers

  /// Adds a peer, where discovery looks for other participants: a host name, an address or
  /// "[N@]builtin.udpv4://ADDRESS". May be called before and after creation.
  bool addPeerAddress(const std::string& address);
  /// Participants that were already discovered through this peer stay known.
  bool removePeerAddress(const std::string& address);
  std::vector<std::string> initialPeerList() const;

  // --- content filters

  /// Registers `filter` under `name` for filtered topics. The filter is not owned: it must outlive the participant or
  /// be unregistered. Returns true also if the same filter is already registered under `name`. Returns false if another
  /// filter uses `name`.
  bool registerContentFilter(const std::string& name, const DDSContentFilter* filter);
  /// Unregisters the filter under all its names. Returns false if it is not registered or if filtered topics use it.
  bool unregisterContentFilter(const DDSContentFilter* filter);
  bool unregisterContentFilters();
  /// Returns the filter that is registered under `name`, or null if there is none.
  const DDSContentFilter* contentFilter(const std::string& name) const;

  // --- QoS profiles

  bool participantQosProfile(const std::string& library, const std::string& profile, DDS_DomainParticipantQos& qos);
  bool topicQosProfile(const std::string& library, const std::string& profile, DDS_TopicQos& qos);
  bool dataReaderQosProfile(const std::string& library, const std::string& profile, DDS_DataReaderQos& qos);
  bool dataWriterQosProfile(const std::string& library, const std::string& profile, DDS_DataWriterQos& qos);

  // --- state

  /// Null until created. The domain owns it.
  DDSDomainParticipant* participant() const { return participant_; }
  bool created() const { return created_; }
  /// The participant, for nodes: a node holds this pointer while it has entities. Not for applications.
  std::shared_ptr<OwnedParticipant> ownedParticipant() const { return owned_; }
  const BuiltinParticipantListener& participantListener() const { return owned_->admission; }
  /// Returns the counters of all readers and writers of the participant, and the discovered participants. Empty before
  /// creation and after cleanUp(). Any thread and any callback may call this. Never blocks.
  Report report() const;
  /// The remote participants, for reports of services. The pointer may outlive the domain.
  std::shared_ptr<const PeerList> peers() const { return peers_; }
  /// Returns the discovery settings and results in one line: domain, interfaces, peers, multicast, participants.
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
  mutable tessivar::platform::Mutex filtersLock_;
  std::vector<std::pair<std::string, const DDSContentFilter*>> filters_ TESSIVAR_GUARDED_BY(filtersLock_);
  std::shared_ptr<PeerList> peers_;
  const std::shared_ptr<ReportBook> book_;
  std::shared_ptr<OwnedParticipant> owned_ = std::make_shared<OwnedParticipant>();  // each node holds it, too
  std::vector<std::string> peersBeforeCreation_;                                    // cleanUp() restores it
};

}  // namespace TessivarDDS
