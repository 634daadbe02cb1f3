// SPDX-License-Identifier: Apache-2.0

// Sending and serving of requests by a request/reply node. dds_request_reply_node_inl.h includes this file.
#pragma once

#include "tessivar/framework/requestreply/dds_request_reply_node.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <optional>

namespace TessivarDDS {

namespace detail {

constexpr int match_poll_milliseconds = 50;
/// With so many pending tickets, the application probably does not end its tickets; the node logs a warning.
constexpr std::size_t many_pending_tickets = 1000;

/// Returns the unit that a request changes, or null if the type of the request has no unit.
template <class Req>
const char* unitOf(const Req& request) {
  if constexpr (requires { static_cast<const char*>(request.newValue.unitId); }) {
    return request.newValue.unitId;
  } else {
    return nullptr;
  }
}

constexpr RequestFailure failureOf(DDS_ReturnCode_t code) {
  switch (code) {
    case DDS_RETCODE_OK:
      return RequestFailure::None;
    case DDS_RETCODE_TIMEOUT:
      return RequestFailure::Congested;
    case DDS_RETCODE_BAD_PARAMETER:
      return RequestFailure::NotEncodable;
    default:
      return RequestFailure::Refused;
  }
}

}  // namespace detail

// --- the client side

template <class Req, class Rep>
DDSPtr<Req> DDSRequestReplyNode<Req, Rep>::createRequest() {
  RequestFailure failure;
  return createRequest(failure);
}

template <class Req, class Rep>
DDSPtr<Req> DDSRequestReplyNode<Req, Rep>::createRequest(RequestFailure& failure) {
  const auto fail = [&failure](RequestFailure why, const std::string& text) {
    logError() << signature(("class TessivarDDS::DDSPtr<class " + std::string(TypeOf<Req>::name()) + "> ").c_str(),
                            "createRequest(void)")
               << text;
    failure = why;
    return DDSPtr<Req>();
  };
  if (!clientSide()) return fail(RequestFailure::InvalidArgument, "Invalid function call for a replier.");
  DDSPtr<Req> request(TypeOf<Req>::TypeSupport::create_data());
  if (!request || !request->changeguid.copy(guid_)) {
    return fail(RequestFailure::Refused, "Failed to create change request sample");
  }
  const std::optional<unsigned short> number = pendingTickets_.nextNumber();
  if (!number) {
    return fail(RequestFailure::TooManyPending, "All " + std::to_string(PendingTickets<Rep>::numbers) +
                                                    " ticket numbers are pending. Call " + ticketCompletion_ +
                                                    " for each ticket that is done with.");
  }
  request->ticketId = *number;
  failure = RequestFailure::None;
  return request;
}

template <class Req, class Rep>
typename DDSRequestReplyNode<Req, Rep>::Ticket DDSRequestReplyNode<Req, Rep>::makeRequest(DDSPtr<Req>& request) {
  RequestFailure failure;
  return makeRequest(request, failure);
}

template <class Req, class Rep>
typename DDSRequestReplyNode<Req, Rep>::Ticket DDSRequestReplyNode<Req, Rep>::makeRequest(DDSPtr<Req>& request,
                                                                                          RequestFailure& failure) {
  const UseGate::Use use(gate_);
  Ticket ticket = send(request, failure, use.open());
  (ticket ? counters_.requestsSent : counters_.requestsNotSent).add();
  return ticket;
}

template <class Req, class Rep>
typename DDSRequestReplyNode<Req, Rep>::Ticket DDSRequestReplyNode<Req, Rep>::send(DDSPtr<Req>& request,
                                                                                   RequestFailure& failure, bool open) {
  const auto where = [] {
    return signature(("class TessivarDDS::DDSPtr<class TessivarDDS::RequestReplyTicket<class " +
                      std::string(TypeOf<Rep>::name()) + "> > ")
                         .c_str(),
                     "makeRequest(class TessivarDDS::DDSPtr<class " + std::string(TypeOf<Req>::name()) + "> &)");
  };
  const auto fail = [&](RequestFailure why, const char* text) {
    logError() << where() << text;
    failure = why;
    return Ticket();
  };
  if (!clientSide()) return fail(RequestFailure::InvalidArgument, "Invalid function call for a replier.");
  if (!request) return fail(RequestFailure::InvalidArgument, " Request is invalid");
  if (!open || calculateMatchCount() <= 0) {
    if (open) requestNode_.warnIfAlone(where().c_str());
    return fail(RequestFailure::NobodyThere, " No current connection to send the request.");
  }
  Ticket ticket(new (std::nothrow) RequestReplyTicket<Rep>(request->ticketId));
  // The ticket is pending before the request is sent, because the reply may arrive before the write returns.
  if (!ticket || !ticket->reply.get() || !keepTicket(ticket, *request)) {
    return fail(RequestFailure::Refused, " Failed to create the ticket");
  }
  const DDS_ReturnCode_t code = requestNode_.tryWriteSample(request.get());
  if (code != DDS_RETCODE_OK) {
    pendingTickets_.remove(ticket);
    return fail(detail::failureOf(code), " Failed to write sample");
  }
  failure = RequestFailure::None;
  return ticket;
}

/// Makes `ticket` pending. Returns false if memory is short.
template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::keepTicket(const Ticket& ticket, const Req& request) {
  const auto where = [] {
    return signature("bool ",
                     "keepTicket(const class TessivarDDS::DDSPtr<class TessivarDDS::RequestReplyTicket<class " +
                         std::string(TypeOf<Rep>::name()) + "> > &,const class " + TypeOf<Req>::name() + " &)");
  };
  Ticket evicted;
  if (!pendingTickets_.append(ticket, maxPendingTickets_, evicted)) return false;
  recentUnits_.remember(guid_, request.ticketId, detail::unitOf(request));
  if (evicted) {
    counters_.ticketsEvicted.add();
    logDebug() << where() << "Evicted ticket " << evicted->ticketId << " for unit "
               << recentUnits_.find(guid_, evicted->ticketId) << ", last answered by "
               << requestPeerText(evicted->sampleInfo->publication_handle) << ": " << maxPendingTickets_
               << " tickets are pending.";
  }
  if (pendingTickets_.size() >= detail::many_pending_tickets && !warnedOfPending_.exchange(true)) {
    logWarning() << where() << detail::many_pending_tickets << " tickets of topic " << requestNode_.topicName()
                 << " are pending. Call " << ticketCompletion_
                 << " for each ticket that is done with: it keeps its number and its memory until then.";
  }
  return true;
}

template <class Req, class Rep>
int DDSRequestReplyNode<Req, Rep>::calculateMatchCount() {
  if (!clientSide()) {
    logWarning() << signature("int ", "calculateMatchCount(void)")
                 << "Server called matchCount() which is not valid for the server side.";
    return -1;
  }
  return std::min<int>(requestWriterListener_.count, replyReaderListener_.count);
}

template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::waitForMatch(int timeoutMs) {
  const auto where = [] { return signature("bool ", "waitForMatch(int)"); };
  if (!clientSide()) {
    logWarning() << where() << "Server called waitForMatch() which is not valid for the server side.";
    return false;
  }
  const UseGate::Use use(gate_);
  const bool endless = timeoutMs == -1;
  while (calculateMatchCount() == 0) {
    if (tessivar::platform::in_callback()) {
      logError() << where() << " Cannot wait within a callback of the bus.";
      return false;
    }
    TessivarThread::sleep(detail::match_poll_milliseconds);
    if (use.closing()) return false;
    if (endless) continue;
    timeoutMs -= detail::match_poll_milliseconds;
    if (timeoutMs > 0) continue;
    if (calculateMatchCount() != 0) return true;
    logInfo() << where() << " timed out waiting for reader/writers to match.";
    requestNode_.warnIfAlone(where().c_str());
    return false;
  }
  return true;
}

template <class Req, class Rep>
void DDSRequestReplyNode<Req, Rep>::notifyMatchCount() {
  const int count = calculateMatchCount();
  clientListeners_.notify([] { return signature("void ", "notifyMatchCount(void)"); },
                          [count](auto& listener) { listener.matchCountChanged(count); });
}

template <class Req, class Rep>
void DDSRequestReplyNode<Req, Rep>::dispatch(const Rep& reply, const DDS_SampleInfo& info) {
  if (!clientSide()) return;
  const auto where = [] {
    return signature("void ",
                     "dispatch(const class " + std::string(TypeOf<Rep>::name()) + " &,const struct DDS_SampleInfo &)");
  };
  counters_.repliesReceived.add();
  const Ticket ticket = pendingTickets_.find(reply.ticketId);
  if (!ticket) {
    counters_.repliesWithoutTicket.add();
    logDebug() << where() << "Dropped a reply to ticket " << reply.ticketId << " for unit "
               << recentUnits_.find(guid_, reply.ticketId) << " from " << requestPeerText(info.publication_handle)
               << ": the ticket is not pending.";
    return;
  }
  DDSPtr<Rep> copy(TypeOf<Rep>::TypeSupport::create_data());
  if (!copy || TypeOf<Rep>::TypeSupport::copy_data(copy.get(), &reply) != DDS_RETCODE_OK) {
    logError() << where() << " Failed to copy the reply of ticket " << reply.ticketId;
    return;
  }
  ticket->complete(std::move(copy), info);
  clientListeners_.notify(where, [&](auto& listener) { listener.ticketChanged(reply.ticketId); });
  ticket->wake();
}

// --- the server side

template <class Req, class Rep>
void DDSRequestReplyNode<Req, Rep>::dispatch(const Req& request, const DDS_SampleInfo& info) {
  if (!serverSide()) return;
  if (role_ == RequestReplyRole::Both && ignoreOwnRequests_ && requestGuidsEqual(request.changeguid, guid_)) return;
  counters_.requestsReceived.add();
  if (expired(request, info)) return;
  recentUnits_.remember(request.changeguid, request.ticketId, detail::unitOf(request));
  Rep* reply = nullptr;
  serverListener_.call([&](auto& listener) { reply = listener.processRequest(&request, info); });
  if (reply) sendReply(reply, request);
}

/// Returns true if the request is older than the lifespan of its topic.
template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::expired(const Req& request, const DDS_SampleInfo& info) {
  if (requestLifespan_ == tessivar::platform::never) return false;
  const std::int64_t now = std::chrono::system_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
  const std::int64_t age = now - tessivar::platform::to_nanoseconds(info.source_timestamp);
  if (age <= requestLifespan_) return false;
  counters_.requestsExpired.add();
  logDebug() << signature("bool ", "expired(const class " + std::string(TypeOf<Req>::name()) +
                                       " &,const struct DDS_SampleInfo &)")
             << "Dropped the request of ticket " << request.ticketId << " for unit " << detail::unitOf(request)
             << " from " << requestGuidToText(request.changeguid) << ": it is " << age / 1000000
             << " ms old and exceeds its lifespan.";
  return true;
}

template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::sendReply(Rep* reply, const Req& request) {
  if (reply) {
    reply->changeguid.copy(request.changeguid);
    reply->ticketId = request.ticketId;
  }
  return sendReply(DDSPtr<Rep>(reply));
}

template <class Req, class Rep>
bool DDSRequestReplyNode<Req, Rep>::sendReply(const DDSPtr<Rep>& reply) {
  const UseGate::Use use(gate_);
  const bool open = use.open();
  if (!open) {
    logError() << signature("bool ", "sendReply(const class TessivarDDS::DDSPtr<class " +
                                         std::string(TypeOf<Rep>::name()) + "> &)")
               << "Could not get writer in writeSample!";
  }
  const DDS_ReturnCode_t code = open ? replyNode_.tryWriteSample(reply.get()) : DDS_RETCODE_PRECONDITION_NOT_MET;
  if (code != DDS_RETCODE_OK) {
    counters_.repliesNotSent.add();
    if (!reply) return false;
    logDebug() << signature("bool ", "sendReply(const class TessivarDDS::DDSPtr<class " +
                                         std::string(TypeOf<Rep>::name()) + "> &)")
               << "Could not send the reply to ticket " << reply->ticketId << " for unit "
               << recentUnits_.find(reply->changeguid, reply->ticketId) << " to "
               << requestGuidToText(reply->changeguid) << ": return code " << code << '.';
    return false;
  }
  counters_.repliesSent.add();
  // Each client that received a reply is an instance of the reply writer. The writer keeps the replies of an instance
  // until the instance is unregistered.
  const std::string forgotten = recentClients_.answered(requestGuidToText(reply->changeguid));
  if (forgotten.empty()) return true;
  counters_.clientsForgotten.add();
  logDebug() << signature("bool ", "sendReply(const class TessivarDDS::DDSPtr<class " +
                                       std::string(TypeOf<Rep>::name()) + "> &)")
             << "Replies to " << forgotten << " are no longer kept: " << detail::remembered_clients
             << " other clients were answered since, the last with ticket " << reply->ticketId << " for unit "
             << recentUnits_.find(reply->changeguid, reply->ticketId) << '.';
  const DDSPtr<Rep> key(TypeOf<Rep>::TypeSupport::create_data());
  if (key && requestGuidFromText(forgotten, key->changeguid)) {
    replyNode_.dataWriter()->unregister_instance(*key, DDS_HANDLE_NIL);
  }
  return true;
}

}  // namespace TessivarDDS
