#include "tessivar/framework/requestreply/instances.h"
#include "tessivar/framework/requestreply/request_guid.h"
#include "tests/framework/support/samples.h"
#include "tests/support/log_recorder.h"
#include "tests/support/loopback.h"

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
  void ticketChanged(unsigned short ticketId) override { events.add("ticket " + std::to_string(ticketId)); }
  void valueChanged(const Tessivar::Command*) override {}
  Events events;
};

bool received(const DDSPtr<Ticket>& ticket) {
  return ticket && eventually([&] { return ticket->received.load(); });
}

TEST(RequestGuid, is_sixteen_octets_none_of_which_is_255) {
  std::set<std::string> seen;
  for (int i = 0; i < 500; ++i) {
    DDS_OctetSeq guid;
    std::srand(1);  // what else the application does with the generator makes no difference
    generateRequestGuid(guid);
    ASSERT_EQ(guid.length(), 16);
    for (DDS_Long octet = 0; octet < guid.length(); ++octet) EXPECT_NE(guid[octet], 255);
    seen.insert(requestGuidToText(guid));
  }
  EXPECT_EQ(seen.size(), 500u);
}

TEST(RequestGuid, differs_between_processes_that_are_forked) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  DDS_OctetSeq guid;
  generateRequestGuid(guid);  // the generator is seeded before
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

TEST(RequestGuid, is_written_as_hexadecimal_digits) {
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

TEST(RecentClients, are_those_answered_last) {
  RecentClients clients(2);
  const std::pair<const char*, const char*> cases[] = {{"a", ""}, {"b", ""}, {"a", ""}, {"c", "b"}, {"a", ""}};
  for (const auto& [answered, forgotten] : cases) EXPECT_EQ(clients.answered(answered), forgotten);
}

TEST(RequestReplyAlone, numbers_tickets_of_several_threads_apart_and_never_65535) {
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

TEST(RequestReplyAlone, refuses_what_it_is_not_ready_for) {
  LogRecorder log;
  Exchange client(true), server(false);
  Server serverListener;
  Client clientListener;
  DDSDomain domain;
  DDSPtr<Request> request = client.createRequest(), none;
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

class RequestReply : public Test {
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
  /// A reply that the server sends on its own.
  void send(const DDS_OctetSeq& guid, unsigned short ticketId, Tessivar::CommandChangeReplyResult result) {
    DDSPtr<Reply> sample(reply(result));
    sample->changeguid.copy(guid);
    sample->ticketId = ticketId;
    EXPECT_TRUE(server.sendReply(sample));
  }

  LogRecorder log;
  LoopbackDomain here{domain_id}, there{domain_id};
  Server serving;
  Client listening;
  Exchange server{false}, client{true};
};

TEST_F(RequestReply, lets_several_replies_fill_the_ticket_that_waits_for_them) {
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
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(RequestReply, keeps_the_latest_pending_tickets_apart) {
  client.setMaxPendingTickets(2);
  std::promise<void> go;
  serving.answer = [gone = go.get_future().share()](const Request& request) {
    gone.wait();
    return reply(request.ticketId == 2 ? Tessivar::FAILED : Tessivar::COMPLETE);
  };
  ASSERT_TRUE(start());
  std::vector<DDSPtr<Ticket>> tickets;
  for (int i = 0; i < 3; ++i) tickets.push_back(request());
  EXPECT_EQ(client.pendingTickets(), 2u);
  go.set_value();
  ASSERT_TRUE(received(tickets[1]) && received(tickets[2]));
  EXPECT_EQ(tickets[1]->reply->result, Tessivar::FAILED);
  EXPECT_EQ(tickets[2]->reply->result, Tessivar::COMPLETE);
  EXPECT_FALSE(tickets[0]->received);
  EXPECT_EQ(client.findTicket(1), nullptr);
}

TEST_F(RequestReply, runs_on_a_thread_that_is_lent) {
  WaitSetThread thread("Lent");
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
  ASSERT_TRUE(client.create("RR.Test", &there) && client.waitForMatch(20000));
  EXPECT_TRUE(received(request()));
  client.cleanUp();
}

}  // namespace
