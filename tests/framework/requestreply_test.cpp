// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/requestreply/detail/instances.h"
#include "tessivar/framework/requestreply/detail/request_guid.h"
#include "tests/framework/support/samples.h"
#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"
#include "tests/support/test_engine.h"

#include <future>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace TessivarDDS;
using namespace tessivar::testing;
using namespace testing;

constexpr int domain_id = 70;
typedef Tessivar::CommandChangeRequest Request;
typedef Tessivar::CommandChangeReply Reply;
typedef DDSRequestReply<Tessivar::Command, Request, Reply> Exchange;
typedef RequestReplyTicket<Reply> Ticket;

class Server : public RequestReplyServerListener<Request, Reply> {
 public:
  Reply* processRequest(const Request* request) override {
    ++requests;
    return answer(*request);
  }
  std::function<Reply*(const Request&)> answer = [](const Request&) { return reply(Tessivar::COMPLETE); };
  std::atomic<int> requests{0};
};

class Client : public RequestReplyClientListener<Tessivar::Command> {
 public:
  void ticketChanged(unsigned short ticketId) override {
    during();
    events.add("ticket " + std::to_string(ticketId));
  }
  void valueChanged(const Tessivar::Command*) override {}
  std::function<void()> during = [] {};
  Events events;
};

bool received(const DDSPtr<Ticket>& ticket) {
  return ticket && eventually([&] { return ticket->received.load(); });
}

TEST(RequestGuidTest, HasSixteenOctetsAndNoneIs255) {
  std::set<std::string> seen;
  for (int i = 0; i < 500; ++i) {
    DDS_OctetSeq guid;
    std::srand(1);  // the application's use of the generator has no effect
    generateRequestGuid(guid);
    ASSERT_EQ(guid.length(), 16);
    for (DDS_Long octet = 0; octet < guid.length(); ++octet) EXPECT_NE(guid[octet], 255);
    seen.insert(requestGuidToText(guid));
  }
  EXPECT_EQ(seen.size(), 500u);
}

TEST(RequestGuidTest, DiffersInAForkedProcess) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  DDS_OctetSeq guid;
  generateRequestGuid(guid);  // seeds the generator
  const pid_t child = fork();
  generateRequestGuid(guid);
  const std::string own = requestGuidToText(guid);
  if (child == 0) _exit(write(ends[1], own.data(), 32) != 32);
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  std::string other(32, ' ');
  ASSERT_EQ(read(ends[0], other.data(), 32), 32);
  EXPECT_NE(own, other);
  for (const int end : ends) close(end);
}

TEST(RequestGuidTest, ConvertsToAndFromHexadecimalText) {
  const std::string hex = "00010f107f80abfe0102030405060708";
  const DDS_Octet octets[] = {0x00, 0x01, 0x0f, 0x10, 0x7f, 0x80, 0xab, 0xfe, 1, 2, 3, 4, 5, 6, 7, 8};
  DDS_OctetSeq guid, parsed;
  guid.from_array(octets, 16);
  EXPECT_EQ(requestGuidToText(guid), hex);
  for (const std::string& same : {hex, std::string("00010F107F80ABFE0102030405060708"), "zz" + hex.substr(2)}) {
    ASSERT_TRUE(requestGuidFromText(same, parsed)) << same;
    EXPECT_TRUE(requestGuidsEqual(parsed, guid)) << same;
  }
  for (const std::string& wrong : {std::string(), hex.substr(1), hex + "0"}) {
    EXPECT_FALSE(requestGuidFromText(wrong, parsed)) << wrong;
  }
}

TEST(RecentClientsTest, ForgetsTheClientAnsweredLongestAgo) {
  RecentClients clients(2);
  const std::pair<const char*, const char*> cases[] = {{"a", ""}, {"b", ""}, {"a", ""}, {"c", "b"}, {"a", ""}};
  for (const auto& [answered, forgotten] : cases) EXPECT_EQ(clients.answered(answered), forgotten);
}

TEST(ClientListenersTest, CallsAllIfOneAttachesAnother) {
  ClientListeners listeners;
  Client first, second, third;
  first.during = [&] { listeners.attach(&third); };
  for (Client* each : {&first, &second}) listeners.attach(each);
  for (int round = 0; round < 2; ++round) {
    listeners.notify("", [](RequestReplyNodeClientListener& listener) { listener.ticketChanged(1); });
  }
  EXPECT_THAT(first.events.take(2), SizeIs(2));
  EXPECT_THAT(second.events.take(2), SizeIs(2));
  EXPECT_THAT(third.events.take(1), SizeIs(1)) << "from the second round on";
}

TEST(UnconnectedRequestReplyTest, NumbersTicketsOfAllThreads) {
  Exchange client(true);
  std::vector<std::vector<unsigned short>> numbers(5);
  std::vector<std::thread> threads;
  for (auto& own : numbers) {
    threads.emplace_back([&] {
      for (int i = 0; i < 13107; ++i) own.push_back(client.createRequest()->ticketId);
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<unsigned short> all;
  for (const auto& own : numbers) all.insert(own.begin(), own.end());
  EXPECT_EQ(all.size(), 65535u);
  EXPECT_EQ(*all.rbegin(), 65534);
  EXPECT_EQ(client.createRequest()->ticketId, 1);
}

TEST(UnconnectedRequestReplyTest, RefusesCallsForWhichItIsNotReady) {
  LogRecorder log;
  Exchange client(true), server(false);
  Server serverListener;
  Client clientListener;
  DDSDomain domain;
  DDSPtr<Request> request = client.createRequest(), none;
  RequestFailure failure = RequestFailure::None;
  EXPECT_TRUE(!client.makeRequest(none, failure) && failure == RequestFailure::InvalidArgument);
  EXPECT_TRUE(!client.makeRequest(request, failure) && failure == RequestFailure::NobodyThere);
  log.lines();
  const std::pair<std::function<bool()>, const char*> cases[] = {
      {[&] { return client.setListener(&serverListener), false; }, "to an instance running as a client"},
      {[&] { return server.attachListener(&clientListener), false; }, "to an instance running as a server"},
      {[&] { return server.waitForMatch(-1); }, "which is not valid for the server side."},
      {[&] { return bool(client.makeRequest(none)); }, "Request is invalid"},
      {[&] { return bool(client.makeRequest(request)); }, "No current connection to send the request."},
      {[&] { return client.create("RR.Test", &domain); }, "No domain is attached."},
  };
  for (const auto& [operation, message] : cases) {
    EXPECT_FALSE(operation()) << message;
    EXPECT_THAT(log.lines(), ElementsAre(EndsWith(message)));
  }
  EXPECT_FALSE(client.waitForMatch(20));
}

class RequestReplyTest : public Test {
 protected:
  bool start() {
    server.setListener(&serving);
    client.attachListener(&listening);
    return server.create("RR.Test", &here) && client.create("RR.Test", &there) && client.waitForMatch(20000);
  }
  DDSPtr<Ticket> request() {
    DDSPtr<Request> sample = client.createRequest(command("u", 1).get());
    return client.makeRequest(sample);
  }
  /// A reply that the server sends later.
  void send(const DDS_OctetSeq& guid, unsigned short ticketId, Tessivar::CommandChangeReplyResult result,
            bool succeeds = true) {
    DDSPtr<Reply> sample(reply(result));
    sample->changeguid.copy(guid);
    sample->ticketId = ticketId;
    EXPECT_EQ(server.sendReply(sample), succeeds);
  }

  LogRecorder log{LogDebug};
  TestEngine engine;
  LoopbackDomain here{domain_id}, there{domain_id};
  Server serving;
  Client listening;
  Exchange server{false}, client{true};
};

TEST_F(RequestReplyTest, TicketReceivesSeveralReplies) {
  serving.answer = [](const Request& request) {
    EXPECT_EQ(text(request.newValue), "u/1=0");
    return reply(Tessivar::IN_PROGRESS);
  };
  ASSERT_TRUE(start());
  const DDSPtr<Ticket> ticket = request();
  ASSERT_TRUE(received(ticket));
  const DDSPtr<Reply> interim = ticket->reply;
  ticket->received = false;
  send(server.guid(), ticket->ticketId, Tessivar::FAILED);
  send(client.guid(), 4711, Tessivar::FAILED);
  send(client.guid(), ticket->ticketId, Tessivar::COMPLETE);
  ASSERT_TRUE(received(ticket));
  EXPECT_EQ(interim->result, Tessivar::IN_PROGRESS);
  EXPECT_EQ(ticket->reply->result, Tessivar::COMPLETE);
  EXPECT_THAT(listening.events.take(2), ElementsAre("ticket 1", "ticket 1"));
  EXPECT_TRUE(client.removeTicket(ticket));
  EXPECT_THAT(log.lines(), Each(StartsWith("1 ")));
}

TEST_F(RequestReplyTest, CountsAndLogsLostRequestsAndReplies) {
  client.setMaxPendingTickets(2);
  serving.answer = [](const Request&) { return nullptr; };
  ASSERT_TRUE(start());
  std::vector<DDSPtr<Ticket>> tickets;
  for (int i = 0; i < 3; ++i) tickets.push_back(request());
  EXPECT_EQ(client.findTicket(1), nullptr);
  ASSERT_TRUE(eventually([&] { return serving.requests == 3; }));
  log.lines();
  send(client.guid(), 1, Tessivar::COMPLETE);
  send(client.guid(), 2, Tessivar::FAILED);
  send(client.guid(), 3, Tessivar::COMPLETE);
  ASSERT_TRUE(received(tickets[1]) && received(tickets[2]));
  EXPECT_EQ(tickets[1]->reply->result, Tessivar::FAILED);
  EXPECT_FALSE(tickets[0]->received);
  DDS_OctetSeq other;
  for (int i = 0; i < 128; ++i) {
    generateRequestGuid(other);
    send(other, 1, Tessivar::COMPLETE);
  }
  server.cleanUp();
  send(client.guid(), 2, Tessivar::COMPLETE, false);
  const std::string self = requestGuidToText(client.guid());
  EXPECT_THAT(log.lines(),
              AllOf(Contains(ContainsRegex("^1 .*Dropped a reply to ticket 1 for unit u from [0-9a-f]{32}:")),
                    Contains(ContainsRegex("^1 .*Replies to " + self + " are no longer kept: .* ticket 1 for unit ")),
                    Contains(ContainsRegex("^1 .*not send the reply to ticket 2 for unit u to " + self + ": .* 4."))));
  // Of the client: requests sent, not sent, replies, without ticket, tickets evicted, pending. Then those of the
  // server: requests, expired, replies sent, not sent, clients forgotten.
  EXPECT_THAT(client.counts(), FieldsAre(3, 0, 3, 1, 1, 2, 0, 0, 0, 0, 0));
  EXPECT_THAT(server.counts(), FieldsAre(0, 0, 0, 0, 0, 0, 3, 0, 131, 1, 1));
}

TEST_F(RequestReplyTest, ReportsWhyARequestIsNotSent) {
  ASSERT_TRUE(start());
  const auto failure = [&](DDS_ReturnCode_t code, int discriminator) {
    engine.script.clear();
    if (code != DDS_RETCODE_OK) engine.script.add({.call = Call::write, .effect = Effect::refuse, .code = code});
    DDSPtr<Request> sample = client.createRequest(command("u", 1).get());
    sample->newValue.value._d = static_cast<Tessivar::CommandType>(discriminator);
    RequestFailure why = RequestFailure::None;
    EXPECT_EQ(client.makeRequest(sample, why), nullptr);
    return why;
  };
  EXPECT_EQ(failure(DDS_RETCODE_TIMEOUT, Tessivar::Int), RequestFailure::Congested);
  EXPECT_EQ(failure(DDS_RETCODE_OUT_OF_RESOURCES, Tessivar::Int), RequestFailure::Refused);
  EXPECT_EQ(failure(DDS_RETCODE_OK, 99), RequestFailure::NotEncodable);
  EXPECT_EQ(client.counts().requestsNotSent, 3u);
  EXPECT_EQ(client.pendingTickets(), 0u);
  EXPECT_TRUE(received(request()));
}

TEST_F(RequestReplyTest, DoesNotReuseNumbersOfPendingTickets) {
  std::atomic<bool> answering{false};
  serving.answer = [&](const Request&) { return answering ? reply(Tessivar::COMPLETE) : nullptr; };
  ASSERT_TRUE(start());
  std::vector<DDSPtr<Ticket>> tickets;
  while (tickets.size() < 65535) {
    tickets.push_back(request());
    ASSERT_TRUE(tickets.back()) << tickets.size();
  }
  RequestFailure failure = RequestFailure::None;
  EXPECT_EQ(client.createRequest(failure), nullptr);
  EXPECT_EQ(failure, RequestFailure::TooManyPending);
  std::vector<std::string> lines = log.lines();
  std::erase_if(lines, [](const std::string& line) { return line.starts_with("1 "); });
  EXPECT_THAT(lines, ElementsAre(ContainsRegex("^4 .*1000 tickets of topic RR.Test.Requests .*Call removeTicket for"),
                                 ContainsRegex("^8 .*All 65535 ticket numbers .*Call removeTicket for")));
  answering = true;
  EXPECT_TRUE(client.removeTicket(tickets[4711]));
  const DDSPtr<Ticket> last = request();
  EXPECT_TRUE(received(last));
  EXPECT_EQ(last->ticketId, tickets[4711]->ticketId);
}

TEST_F(RequestReplyTest, LosesNoReplyIfTheListenerIsSlow) {
  server.setUseQosProfiles(true);
  client.setUseQosProfiles(true);
  listening.during = [] { std::this_thread::sleep_for(std::chrono::microseconds(200)); };
  ASSERT_TRUE(start());
  std::vector<DDSPtr<Ticket>> tickets;
  while (tickets.size() < 5000) tickets.push_back(request());
  EXPECT_THAT(tickets, Each(Truly(received)));
}

TEST_F(RequestReplyTest, RunsOnAThreadOfTheApplication) {
  auto lent = std::make_unique<WaitSetThread>("Lent");
  WaitSetThread& thread = *lent;
  ASSERT_TRUE(thread.create());
  client.setWaitSetThread(&thread);
  client.setAutoStartThread(false);
  ASSERT_TRUE(start());
  const DDSPtr<Ticket> ticket = request();
  ASSERT_TRUE(eventually([&] { return serving.requests == 1; }));
  EXPECT_FALSE(ticket->received);
  thread.start();
  EXPECT_TRUE(received(ticket));
  client.cleanUp();
  lent.reset();
  client.setAutoStartThread(true);
  ASSERT_TRUE(client.create("RR.Test", &there) && client.waitForMatch(20000));
  EXPECT_TRUE(received(request()));
  client.cleanUp();
}

TEST_F(RequestReplyTest, CallsMayRunDuringCreateAndCleanUp) {
  server.setListener(&serving);
  ASSERT_TRUE(server.create("RR.Test", &here));
  setLogThreshold(0);
  std::atomic<bool> more{true};
  std::atomic<int> sent{0};
  std::vector<std::jthread> callers;
  for (int i = 0; i < 2; ++i) {
    callers.emplace_back([&] {
      while (more) {
        client.waitForMatch(50);
        const DDSPtr<Ticket> ticket = request();
        sent += ticket != nullptr;
        client.removeTicket(ticket);
      }
    });
  }
  for (int round = 0; round < 20; ++round) {
    const int before = sent;
    ASSERT_TRUE(client.create("RR.Test", &there));
    EXPECT_TRUE(eventually([&] { return sent > before; }));
    client.cleanUp();
  }
  more = false;
  callers.clear();
  setLogThreshold(15);
}

TEST_F(RequestReplyTest, CleanUpEndsAWaitForAMatch) {
  ASSERT_TRUE(client.create("RR.Test", &there));
  auto matched = std::async(std::launch::async, [&] { return client.waitForMatch(-1); });
  EXPECT_EQ(matched.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
  client.cleanUp();
  EXPECT_FALSE(matched.get());
}

}  // namespace
