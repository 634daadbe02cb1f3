// SPDX-License-Identifier: Apache-2.0

// Requests and replies over two topics.
#pragma once

#include "tessivar/framework/nodes/dds_filtered_node.h"
#include "tessivar/framework/requestreply/detail/client_listeners.h"
#include "tessivar/framework/requestreply/detail/guid_content_filter.h"
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
#include "tessivar/platform/detail/listener_slot.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace TessivarDDS {

namespace detail {

/// The number of clients whose last replies the writer of a server keeps.
constexpr std::size_t remembered_clients = 128;

}  // namespace detail

/// A client, a server, or both. A client sends requests on the topic NAME.Requests and receives replies on the topic
/// NAME.Reply. A server receives requests and sends replies.
///
/// Each node has an identity of 16 octets. A request carries the identity and a ticket number. The reply returns both.
/// A content filter drops replies to other clients. Req and Rep have the members `changeguid` (octets, key) and
/// `ticketId`.
///
/// Order of calls: settings and listeners, create(), requests, cleanUp(). The destructor also calls cleanUp(). After
/// cleanUp(), create() may be called again; listeners must be attached again. Settings, create() and cleanUp() belong
/// to one thread. cleanUp() is refused within a callback of the node or of the bus. Any thread may call all other
/// functions, also from callbacks. While another thread is in create() or cleanUp(), makeRequest() returns null, and
/// sendReply() and waitForMatch() return false. Only these functions block: waitForMatch(); makeRequest(), if servers
/// do not acknowledge requests (see there); setListener(), while the old listener is being called; cleanUp(). A failure
/// logs one line and returns false or null.
///
/// A request is not withdrawn if no reply arrives in time. After a network interruption, the server may still receive
/// the request and execute it. The LIFESPAN of the profile "requestNodeQos" limits the age of requests. An older
/// request is not sent any more. A server with a LIFESPAN in its own profile does not pass older requests to its
/// listener. The age counts from the source timestamp, so the clocks of the hosts must agree.
///
/// A derived class that overrides a function must call cleanUp() in its own destructor, because the threads of the node
/// call the overrides.
template <class Req, class Rep>
class TESSIVAR_API DDSRequestReplyNode {
 public:
  typedef DDSPtr<RequestReplyTicket<Rep>> Ticket;

  explicit DDSRequestReplyNode(bool isClient);
  virtual ~DDSRequestReplyNode();
  DDSRequestReplyNode(const DDSRequestReplyNode&) = delete;
  DDSRequestReplyNode& operator=(const DDSRequestReplyNode&) = delete;

  /// Creates topics, readers, writers and the thread on `domain`. `domain` must outlive them. A second call returns
  /// true and does nothing until cleanUp(), also if the first call failed.
  virtual bool create(const std::string& name, DDSDomain* domain);
  /// Deletes everything that create() made and detaches all listeners. Pending tickets remain, but receive no more
  /// replies.
  virtual void cleanUp();

  // --- settings, before create()

  void setRole(RequestReplyRole role);
  /// The silence in milliseconds after which a server counts as lost. -1, the default, means never.
  void setLiveliness(int milliseconds);
  /// Takes QoS from the profiles "requestNodeQos", "replyNodeQos" and "valueNodeQos" of the library "requestReplyLib".
  /// The default is the built-in QoS.
  void setUseQosProfiles(bool use);
  /// If true, create() starts the thread. The default is true.
  void setAutoStartThread(bool start);
  /// Serves this node on `thread`; WaitSetThread::create() must have been called on it. `thread` is not owned and must
  /// live until cleanUp(), after which the node does not use it. Null: the node creates its own thread.
  void setWaitSetThread(WaitSetThread* thread);

  // --- settings, at any time

  /// Limits the number of pending tickets. If there are more, the oldest ticket is dropped. -1, the default, means no
  /// limit.
  void setMaxPendingTickets(int most) { maxPendingTickets_ = most; }
  /// If true, a node that is both client and server does not serve its own requests. The default is true.
  void setIgnoreOwnRequests(bool ignore) { ignoreOwnRequests_ = ignore; }
  /// For the client side. The listener is not owned and must live until cleanUp(). Does nothing if it is attached
  /// already.
  void attachListener(RequestReplyNodeClientListener* listener);
  /// For the server side. The listener is not owned. Null detaches the listener. When this returns, the old listener is
  /// not called any more.
  void setListener(RequestReplyServerListener<Req, Rep>* listener);

  // --- the client side

  /// Returns a new request with the identity of this node and the next ticket number. Numbers are 1 to 65534, then
  /// continue from 0. Numbers of pending tickets are skipped. Returns null if all numbers are pending or memory is
  /// short.
  DDSPtr<Req> createRequest();
  /// The same. `failure` gives the reason if the result is null; otherwise it is None.
  DDSPtr<Req> createRequest(RequestFailure& failure);
  /// Sends a request. The returned ticket receives the replies. Pass the ticket to removeTicket() if you want no more
  /// replies; until then it keeps its number and its memory. Returns null if no server is connected or the write fails.
  ///
  /// Blocks while servers have not acknowledged requests of several megabytes. Blocks no longer than the
  /// max_blocking_time of the request writer: 5 seconds, unless the profile has another value.
  Ticket makeRequest(DDSPtr<Req>& request);
  /// The same. `failure` gives the reason if the result is null; otherwise it is None.
  Ticket makeRequest(DDSPtr<Req>& request, RequestFailure& failure);
  /// Waits until a server is connected, by polling every 50 ms. `timeoutMs` limits the wait, in whole steps of 50 ms;
  /// -1 means no limit. Returns false if the time is over or if the node is cleaned up. In a callback of the bus, for
  /// example in matchCountChanged(), it does not wait.
  bool waitForMatch(int timeoutMs);
  /// Ends waitForMatch() on other threads and refuses new requests and replies. Call it before cleanUp(); cleanUp()
  /// does the same. Does not block.
  void endCalls() { gate_.shut(); }
  /// Returns the number of connected servers, or -1 on a server.
  virtual int calculateMatchCount();
  /// Returns the oldest pending ticket with this number, or null if there is none.
  Ticket findTicket(unsigned short ticketId) const { return pendingTickets_.find(ticketId); }
  /// Ends a ticket: it receives no more replies. Returns false if it is not pending.
  bool removeTicket(const Ticket& ticket) { return pendingTickets_.remove(ticket); }
  std::size_t pendingTickets() const { return pendingTickets_.size(); }

  // --- the server side

  /// Sends an additional reply to a request, before or after the reply that the listener returns: a page, or a progress
  /// report. The type support of Rep creates `reply`; the node owns it from now on and sets its identity and ticket
  /// number. Returns false if it cannot be written.
  bool sendReply(Rep* reply, const Req& request);
  /// The same for a reply whose identity and ticket number are set. The caller keeps `reply`.
  bool sendReply(const DDSPtr<Rep>& reply);

  // --- state

  RequestReplyCounts counts() const { return counters_.read(pendingTickets_.size()); }
  RequestReplyRole role() const { return role_; }
  bool created() const { return created_; }
  const DDS_OctetSeq& guid() const { return guid_; }
  DDSFilteredNode<Req>& requestNode() { return requestNode_; }
  DDSFilteredNode<Rep>& replyNode() { return replyNode_; }
  /// The thread that serves this node. Null until create().
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
  /// The library of the QoS profiles. Empty if no profiles are used.
  std::string profileLibrary() const { return useQosProfiles_ ? qosLibrary_ : std::string(); }
  /// Returns true on a thread that is inside a callback of the bus or of this node.
  bool inCallback() const;
  ClientListeners& clientListeners() { return clientListeners_; }
  /// Reads the default topic QoS of the participant.
  static bool defaultTopicQos(DDSDomain* domain, DDS_TopicQos& qos);

  const std::string qosLibrary_ = "requestReplyLib";
  /// For messages: the name of the function that an application calls to end a ticket. A string literal.
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
  UseGate gate_;  // counts the calls that use readers and writers
  DDS_OctetSeq guid_;
  tessivar::platform::ListenerSlot<RequestReplyServerListener<Req, Rep>> serverListener_;
  int livelinessMs_ = -1;
  std::int64_t requestLifespan_ = tessivar::platform::never;  // nanoseconds; only a server uses it
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
