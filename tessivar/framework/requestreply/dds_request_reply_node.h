// SPDX-License-Identifier: Apache-2.0

// Requests that are answered, over two topics.
#pragma once

#include "tessivar/framework/nodes/dds_filtered_node.h"
#include "tessivar/framework/requestreply/detail/client_listeners.h"
#include "tessivar/framework/requestreply/detail/guid_content_filter.h"
#include "tessivar/framework/requestreply/detail/listener_slot.h"
#include "tessivar/framework/requestreply/detail/match_listeners.h"
#include "tessivar/framework/requestreply/detail/pending_tickets.h"
#include "tessivar/framework/requestreply/detail/recent_clients.h"
#include "tessivar/framework/requestreply/detail/recent_units.h"
#include "tessivar/framework/requestreply/detail/request_reply_counts.h"
#include "tessivar/framework/requestreply/detail/request_reply_role.h"
#include "tessivar/framework/requestreply/detail/request_reply_runners.h"
#include "tessivar/framework/requestreply/request_failure.h"
#include "tessivar/framework/requestreply/request_reply_listeners.h"
#include "tessivar/framework/sync/detail/use_gate.h"
#include "tessivar/framework/waitset/wait_set_thread.h"
#include "tessivar/platform/detail/callback.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace TessivarDDS {

namespace detail {

/// Clients whose last replies a server's writer keeps.
constexpr std::size_t remembered_clients = 128;

}  // namespace detail

/// A client, which sends requests on the topic NAME.Requests and gets the replies to them from NAME.Reply, or a server,
/// which answers, or both.
///
/// Each node has an identity of 16 octets. A request carries it with a ticket number, the reply brings both back, and a
/// content filter keeps replies to others away. Req has the members `changeguid` (octets, key) and `ticketId`; Rep has
/// them too.
///
/// Settings and listeners first, then create(), then requests, then cleanUp(), which the destructor does as well; after
/// it create() may begin anew, with listeners attached again. Settings, create() and cleanUp() belong to one thread.
/// cleanUp() is refused within a callback of the node or of the bus. Everything else may be called by any thread, also
/// from callbacks, and also while another thread is in create() or cleanUp(): makeRequest() then returns null,
/// sendReply() and waitForMatch() return false. Only waitForMatch(),
/// makeRequest() (while the bus does not keep up, see there), setListener() (while the old listener is being called)
/// and cleanUp() block. A failure logs one line and gives false or null.
///
/// A request whose replies do not come in time is not withdrawn: after an interruption of the network the server may
/// still get it and carry it out. The LIFESPAN of the profile "requestNodeQos" limits the age of requests: an older
/// request is not sent any more, and a server whose own profile has it does not pass it to its listener. The age counts
/// from the source timestamp, so that the clocks of the hosts must agree.
///
/// A derived class that overrides anything calls cleanUp() in its own destructor: the node's threads call the
/// overrides.
template <class Req, class Rep>
class TESSIVAR_API DDSRequestReplyNode {
 public:
  typedef DDSPtr<RequestReplyTicket<Rep>> Ticket;

  explicit DDSRequestReplyNode(bool isClient);
  virtual ~DDSRequestReplyNode();
  DDSRequestReplyNode(const DDSRequestReplyNode&) = delete;
  DDSRequestReplyNode& operator=(const DDSRequestReplyNode&) = delete;

  /// Makes topics, readers, writers and the thread on `domain`, which must outlive them. Once called it gives true
  /// without doing anything, also after a failure, until cleanUp().
  virtual bool create(const std::string& name, DDSDomain* domain);
  /// Pending tickets stay; they get no more replies. The client listeners are forgotten.
  virtual void cleanUp();

  // --- settings, before create()

  void setRole(RequestReplyRole role);
  /// After how many milliseconds of silence a server counts as gone; -1 (initially): never.
  void setLiveliness(int milliseconds);
  /// QoS from the library "requestReplyLib" ("requestNodeQos", "replyNodeQos", "valueNodeQos"); initially built-in.
  void setUseQosProfiles(bool use);
  /// Whether create() starts the thread; initially true.
  void setAutoStartThread(bool start);
  /// Serves this node on `thread`, which has a wait set, is not owned and lives until cleanUp(), which forgets it;
  /// null: one of its own.
  void setWaitSetThread(WaitSetThread* thread);

  // --- settings, at any time

  /// The oldest pending ticket is forgotten when there would be more than so many; -1 (initially): no limit.
  void setMaxPendingTickets(int most) { maxPendingTickets_ = most; }
  /// Whether a node that is both does not serve its own requests; initially true.
  void setIgnoreOwnRequests(bool ignore) { ignoreOwnRequests_ = ignore; }
  /// Client side. Not owned; must outlive cleanUp(). Nothing when it is attached already.
  void attachListener(RequestReplyNodeClientListener* listener);
  /// Server side. Not owned; null detaches. The listener before is not called any more once this returns.
  void setListener(RequestReplyServerListener<Req, Rep>* listener);

  // --- the client side

  /// A new request with this node's identity and the next ticket number: 1 to 65534, then from 0 again. Numbers of
  /// pending tickets are skipped. Null when all are pending or memory is short.
  DDSPtr<Req> createRequest();
  /// The same; `failure` says why the result is null, and is None otherwise.
  DDSPtr<Req> createRequest(RequestFailure& failure);
  /// Sends a request; the ticket gets the replies. Give it to removeTicket() when no more replies are wanted: until
  /// then it keeps its number and its memory. Null when no server is connected or the write fails.
  ///
  /// Blocks while requests of some megabytes are not acknowledged by the servers, at most for the max_blocking_time of
  /// the request writer: 5 seconds, unless the profile says otherwise.
  Ticket makeRequest(DDSPtr<Req>& request);
  /// The same; `failure` says why the result is null, and is None otherwise.
  Ticket makeRequest(DDSPtr<Req>& request, RequestFailure& failure);
  /// Polls until a server is connected; at most so many milliseconds, in whole steps of 50; -1: without limit. Ends
  /// with false when the node is cleaned up. Within a callback of the bus, as matchCountChanged() is one, it does not
  /// wait.
  bool waitForMatch(int timeoutMs);
  /// Before cleanUp(), which does it as well: ends waitForMatch() on other threads, and sends no more requests and
  /// replies. Does not block.
  void endCalls() { gate_.shut(); }
  /// Servers that can be reached; -1 on a server.
  virtual int calculateMatchCount();
  /// The oldest pending ticket of that number; null when there is none.
  Ticket findTicket(unsigned short ticketId) const { return pendingTickets_.find(ticketId); }
  /// Done with a ticket: no more replies are wanted. False when it is not pending.
  bool removeTicket(const Ticket& ticket) { return pendingTickets_.remove(ticket); }
  std::size_t pendingTickets() const { return pendingTickets_.size(); }

  // --- the server side

  /// One more reply to a request, before or after the one that the listener returns: pages, or news of its progress.
  /// `reply`, made by its type support, is the node's from now on, which fills in identity and ticket number. False
  /// when it cannot be written.
  bool sendReply(Rep* reply, const Req& request);
  /// The same for a reply in which they are filled in already, and which stays the caller's.
  bool sendReply(const DDSPtr<Rep>& reply);

  // --- state

  RequestReplyCounts counts() const { return counters_.read(pendingTickets_.size()); }
  RequestReplyRole role() const { return role_; }
  bool created() const { return created_; }
  const DDS_OctetSeq& guid() const { return guid_; }
  DDSFilteredNode<Req>& requestNode() { return requestNode_; }
  DDSFilteredNode<Rep>& replyNode() { return replyNode_; }
  /// The thread that serves this node; null until created.
  WaitSetThread* waitSetThread() const { return waitSetThread_; }

 protected:
  virtual bool createTopics(const std::string& name, DDSDomain* domain);
  virtual bool createRequestTopic(const std::string& name, DDSDomain* domain);
  virtual bool createReplyTopic(const std::string& name, DDSDomain* domain);
  virtual bool createWriters();
  virtual bool createReaders();
  virtual bool createWaitSet();

  bool clientSide() const { return isClientSide(role_); }
  bool serverSide() const { return isServerSide(role_); }
  bool usesQosProfiles() const { return useQosProfiles_; }
  /// The library of the QoS profiles; empty without them.
  std::string profileLibrary() const { return useQosProfiles_ ? qosLibrary_ : std::string(); }
  /// Returns true on a thread that is inside a callback of the bus or of this node.
  bool inCallback() const;
  ClientListeners& clientListeners() { return clientListeners_; }
  /// The participant's default topic QoS.
  static bool defaultTopicQos(DDSDomain* domain, DDS_TopicQos& qos);

  const std::string qosLibrary_ = "requestReplyLib";
  /// What an application calls when it is done with a ticket, for messages. A literal.
  const char* ticketCompletion_ = "removeTicket";
  bool autoStartThread_ = true;
  bool ownsThread_ = true;

 private:
  friend class DataWriterCoreListener<Req, Rep>;
  friend class DataReaderCoreListener<Req, Rep>;
  friend class RequestReplyCoreWaitsetThreadRunner<Req, Req, Rep>;
  friend class RequestReplyCoreWaitsetThreadRunner<Rep, Req, Rep>;

  static std::string signature(const char* result, const std::string& function);
  bool refusedBecauseCreated(const char* function) const;
  void notifyMatchCount();
  void dispatch(const Rep& reply, const DDS_SampleInfo& info);
  void dispatch(const Req& request, const DDS_SampleInfo& info);
  Ticket send(DDSPtr<Req>& request, RequestFailure& failure, bool open);
  void setLentThread(WaitSetThread* thread);
  bool keepTicket(const Ticket& ticket, const Req& request);
  bool expired(const Req& request, const DDS_SampleInfo& info);

  RequestReplyRole role_;
  WaitSetThread* waitSetThread_ = nullptr;
  bool created_ = false;
  UseGate gate_;  // of the calls that use readers and writers
  DDS_OctetSeq guid_;
  ListenerSlot<RequestReplyServerListener<Req, Rep>> serverListener_;
  int livelinessMs_ = -1;
  std::int64_t requestLifespan_ = tessivar::platform::never;  // nanoseconds; of a server's own topic
  bool useQosProfiles_ = false;
  std::atomic<int> maxPendingTickets_{-1};
  std::atomic<bool> ignoreOwnRequests_{true};
  RequestReplyCounters counters_;
  std::atomic<bool> warnedOfPending_{false};
  RecentUnits recentUnits_;
  RecentClients recentClients_{detail::remembered_clients};
  PendingTickets<Rep> pendingTickets_;
  ClientListeners clientListeners_;
  DDSFilteredNode<Req> requestNode_;
  DDSFilteredNode<Rep> replyNode_;
  DataWriterCoreListener<Req, Rep> requestWriterListener_{*this};
  DataReaderCoreListener<Req, Rep> replyReaderListener_{*this};
  const std::string requestProfile_ = "requestNodeQos";
  const std::string replyProfile_ = "replyNodeQos";
};

}  // namespace TessivarDDS

#include "tessivar/framework/requestreply/detail/dds_request_reply_node_inl.h"
