#include "tessivar/framework/filters/address_content_filter.h"
#include "tessivar/framework/requestreply/tessivar_request_reply_service.h"
#include "tessivar/types/logging/logging.h"
#include "tests/control/support/log_recorder.h"
#include "tests/framework/support/bus.h"
#include "tests/framework/support/samples.h"

#include <future>
#include <optional>
#include <set>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace TessivarDDS;
using namespace tessivar::testing;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr int domain_id = 70;
typedef Tessivar::CommandChangeRequest Request;
typedef Tessivar::CommandChangeReply Reply;
typedef DDSRequestReply<Tessivar::Command, Request, Reply> Exchange;
typedef RequestReplyTicket<Reply> Ticket;

const std::string node_class =
    "TessivarDDS::DDSRequestReplyNode<class Tessivar::CommandChangeRequest,class Tessivar::CommandChangeReply>::";

class Server : public RequestReplyServerListener<Request, Reply> {
 public:
  Reply* processRequest(const Request* request) override {
    ++requests;
    if (answer) return answer(*request);
    return reply(Tessivar::COMPLETE);
  }
  std::function<Reply*(const Request&)> answer;
  std::atomic<int> requests{0};
};

class Client : public RequestReplyClientListener<Tessivar::Command> {
 public:
  void matchCountChanged(int count) override { matches = count; }
  void ticketChanged(unsigned short ticketId) override { events.add("ticket " + std::to_string(ticketId)); }
  void valueChanged(const Tessivar::Command* value) override { events.add(text(*value)); }
  void valueRemoved(const Tessivar::Command* value) override {
    events.add(std::string("removed ") + value->unitId + '/' + std::to_string(value->commandNumber));
  }
  Events events;
  std::atomic<int> matches{-1};
};

bool received(const DDSPtr<Ticket>& ticket) {
  return ticket && eventually([&] { return ticket->received.load(); });
}

// --- without a bus
// ----------------------------------------------------------------------------------------------------

TEST(Tickets, are_found_by_number_the_oldest_first) {
  PendingTickets<Reply> tickets;
  const auto make = [](unsigned short number) { return DDSPtr<Ticket>(new Ticket(number)); };
  const DDSPtr<Ticket> one = make(1), two = make(2), again = make(1), stranger = make(1);
  for (const DDSPtr<Ticket>& ticket : {one, two, again}) tickets.append(ticket, -1);
  EXPECT_EQ(tickets.find(1), one);
  EXPECT_EQ(tickets.find(2), two);
  EXPECT_EQ(tickets.find(3), nullptr);
  EXPECT_FALSE(tickets.remove(stranger));
  EXPECT_FALSE(tickets.remove({}));
  EXPECT_TRUE(tickets.remove(one));
  EXPECT_FALSE(tickets.remove(one));
  EXPECT_EQ(tickets.find(1), again);
  EXPECT_EQ(tickets.size(), 2u);
}

TEST(Tickets, push_the_oldest_out_when_there_are_too_many) {
  struct Case {
    int most;
    std::vector<unsigned short> left;
  };
  for (const Case& test : {Case{-1, {1, 2, 3, 4}}, {4, {1, 2, 3, 4}}, {2, {3, 4}}, {1, {4}}, {0, {4}}}) {
    PendingTickets<Reply> tickets;
    for (unsigned short number = 1; number <= 4; ++number) {
      tickets.append(DDSPtr<Ticket>(new Ticket(number)), test.most);
    }
    std::vector<unsigned short> left;
    for (unsigned short number = 1; number <= 4; ++number) {
      if (tickets.find(number)) left.push_back(number);
    }
    EXPECT_EQ(left, test.left) << test.most;
  }
}

TEST(Tickets, keep_a_reply_that_is_being_read) {
  Ticket ticket(7);
  EXPECT_FALSE(ticket.received);
  EXPECT_EQ(ticket.reply->result, Tessivar::PENDING);
  const DDSPtr<Reply> before = ticket.reply;
  DDS_SampleInfo info = {};
  info.valid_data = DDS_BOOLEAN_TRUE;
  ticket.complete(DDSPtr<Reply>(reply(Tessivar::FAILED)), info);
  EXPECT_TRUE(ticket.received);
  EXPECT_EQ(before->result, Tessivar::PENDING);
  EXPECT_EQ(ticket.reply->result, Tessivar::FAILED);
  EXPECT_TRUE(ticket.sampleInfo->valid_data);
}

TEST(Tickets, may_be_read_while_replies_come) {
  Ticket ticket(7);
  std::thread replies([&] {
    for (int i = 0; i < 2000; ++i) {
      DDSPtr<Reply> next(reply(i % 2 ? Tessivar::COMPLETE : Tessivar::FAILED));
      next->ticketId = static_cast<unsigned short>(next->result);
      ticket.complete(next, {});
    }
  });
  while (!ticket.received) std::this_thread::yield();
  for (int i = 0; i < 2000; ++i) {
    const DDSPtr<Reply> snapshot = ticket.reply;
    ASSERT_EQ(snapshot->ticketId, static_cast<unsigned short>(snapshot->result));
  }
  replies.join();
}

TEST(ListenerSlots, wait_for_the_call_that_is_going_on) {
  struct Listener {
    std::promise<void> entered, go;
  } listener;
  ListenerSlot<Listener> slot;
  slot.call([](Listener&) { FAIL(); });
  slot.set(&listener);
  std::thread caller([&] {
    slot.call([&](Listener& called) {
      called.entered.set_value();
      called.go.get_future().wait();
    });
  });
  listener.entered.get_future().wait();
  auto set = std::async(std::launch::async, [&] { slot.set(nullptr); });
  EXPECT_EQ(set.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  listener.go.set_value();
  set.get();
  caller.join();
  slot.call([](Listener&) { FAIL(); });
  slot.set(&listener);
  slot.call([&](Listener&) { slot.set(nullptr); });  // from within it does not wait
  EXPECT_EQ(slot.get(), nullptr);
}

TEST(RequestReplyAlone, numbers_tickets_from_one_and_never_65535) {
  Exchange client(true);
  EXPECT_EQ(client.createRequest()->ticketId, 1);
  EXPECT_EQ(client.createRequest()->ticketId, 2);
  for (int i = 3; i < 65534; ++i) client.createRequest();
  EXPECT_EQ(client.createRequest()->ticketId, 65534);
  EXPECT_EQ(client.createRequest()->ticketId, 0);
  EXPECT_EQ(client.createRequest()->ticketId, 1);
}

TEST(RequestReplyAlone, numbers_tickets_of_several_threads_apart) {
  Exchange client(true);
  std::vector<std::vector<unsigned short>> numbers(4);
  std::vector<std::thread> threads;
  for (auto& own : numbers) {
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) own.push_back(client.createRequest()->ticketId);
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::set<unsigned short> all;
  for (const auto& own : numbers) all.insert(own.begin(), own.end());
  EXPECT_EQ(all.size(), 8000u);
}

TEST(RequestReplyAlone, fills_requests) {
  Exchange client(true);
  const DDSPtr<Tessivar::Command> value = command("0001:02:03", 5, 42);
  const DDSPtr<Request> request = client.createRequest(value.get());
  ASSERT_TRUE(request);
  EXPECT_TRUE(requestGuidsEqual(request->changeguid, client.guid()));
  EXPECT_EQ(text(request->newValue), "0001:02:03/5=42");
  LogRecorder log;
  EXPECT_FALSE(client.createRequest(nullptr));
  EXPECT_THAT(log.lines(), ElementsAre(AllOf(HasSubstr("TessivarDDS::DDSRequestReply<class Tessivar::Command,class "
                                                       "Tessivar::CommandChangeRequest,class "
                                                       "Tessivar::CommandChangeReply>::createRequest("),
                                             EndsWith("Copy data failed!"))));
}

TEST(RequestReplyAlone, reports_what_the_other_role_does) {
  LogRecorder log(LogDebug);
  Exchange client(true), server(false);
  Server serverListener;
  Client clientListener;
  client.setListener(&serverListener);
  server.attachListener(&clientListener);
  EXPECT_FALSE(server.createRequest());
  DDSPtr<Request> request;
  EXPECT_FALSE(server.makeRequest(request));
  EXPECT_FALSE(server.waitForMatch(-1));
  EXPECT_EQ(server.calculateMatchCount(), -1);
  EXPECT_THAT(
      log.lines(),
      ElementsAre(AllOf(StartsWith("8 void __cdecl " + node_class + "setListener("),
                        EndsWith("Cannot attach a server listener to an instance running as a client")),
                  "8 void __cdecl " + node_class +
                      "attachListener(class TessivarDDS::RequestReplyNodeClientListener *)Cannot attach a client "
                      "listener to an instance running as a server",
                  AllOf(HasSubstr("createRequest(void)"), EndsWith("Invalid function call for a replier.")),
                  AllOf(HasSubstr("makeRequest("), EndsWith("Invalid function call for a replier.")),
                  "4 bool __cdecl " + node_class +
                      "waitForMatch(int)Server called waitForMatch() which is not valid for the server side.",
                  "4 int __cdecl " + node_class +
                      "calculateMatchCount(void)Server called matchCount() which is not valid for the server side."));
}

TEST(RequestReplyAlone, sends_nothing_without_a_server) {
  LogRecorder log(LogInfo);
  Exchange client(true);
  DDSPtr<Request> none;
  EXPECT_FALSE(client.makeRequest(none));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("&) Request is invalid")));
  DDSPtr<Request> request = client.createRequest();
  EXPECT_FALSE(client.makeRequest(request));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("&) No current connection to send the request.")));
  EXPECT_EQ(client.pendingTickets(), 0u);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_FALSE(client.waitForMatch(120));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(145));
  EXPECT_THAT(log.lines(), ElementsAre("2 bool __cdecl " + node_class +
                                       "waitForMatch(int) timed out waiting for reader/writers to match."));
}

TEST(RequestReplyAlone, needs_a_domain) {
  LogRecorder log;
  Exchange client(true);
  DDSDomain domain;
  EXPECT_FALSE(client.create("RR.Test", &domain));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith("No domain is attached.")));
  EXPECT_TRUE(client.create("RR.Test", &domain));  // not tried again before it is cleaned up
  client.cleanUp();
  EXPECT_FALSE(client.create("RR.Test", nullptr));
}

// --- over the bus
// -----------------------------------------------------------------------------------------------------

class RequestReply : public testing::Test {
 protected:
  RequestReply() {
    for (DDSDomain* domain : {&here, &there}) {
      domain->registerContentFilter(AddressContentFilter::name, &AddressContentFilter::instance());
    }
  }
  bool start() {
    server.setListener(&serving);
    client.attachListener(&listening);
    return server.create("RR.Test", &here) && client.create("RR.Test", &there) && client.waitForMatch(20000);
  }
  DDSPtr<Ticket> request(Exchange& from, int value = 0) {
    DDSPtr<Request> sample = from.createRequest(command("u", 1, value).get());
    return from.makeRequest(sample);
  }

  LogRecorder log;
  LoopbackDomain here{domain_id};
  LoopbackDomain there{domain_id};
  Server serving;
  Client listening;
  Exchange server{false};
  Exchange client{true};
};

TEST_F(RequestReply, answers_a_request) {
  std::promise<std::string> asked;
  serving.answer = [&](const Request& request) {
    asked.set_value(text(request.newValue));
    return reply(Tessivar::FAILED);
  };
  ASSERT_TRUE(start());
  const DDSPtr<Ticket> ticket = request(client, 42);
  ASSERT_TRUE(received(ticket));
  EXPECT_EQ(asked.get_future().get(), "u/1=42");
  EXPECT_EQ(ticket->reply->result, Tessivar::FAILED);
  EXPECT_EQ(ticket->reply->ticketId, ticket->ticketId);
  EXPECT_TRUE(requestGuidsEqual(ticket->reply->changeguid, client.guid()));
  EXPECT_TRUE(ticket->sampleInfo->valid_data);
  EXPECT_TRUE(listening.events.happens("ticket 1"));
  EXPECT_EQ(client.findTicket(1), ticket);
  EXPECT_TRUE(client.removeTicket(ticket));
  EXPECT_EQ(client.findTicket(1), nullptr);
  EXPECT_EQ(listening.matches, 1);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(RequestReply, names_its_topics_and_agrees_on_their_qos) {
  client.setLiveliness(3000);
  server.setLiveliness(3000);
  ASSERT_TRUE(start());
  EXPECT_EQ(client.requestNode().topicName(), "RR.Test.Requests");
  EXPECT_EQ(client.replyNode().topicName(), "RR.Test.Reply");
  EXPECT_EQ(client.valueNode().topicName(), "RR.Test");
  EXPECT_STREQ(client.replyNode().dataReader()->get_topicdescription()->get_name(), "RR.Test.Reply.Filtered");
  EXPECT_EQ(client.replyNode().dataWriter(), nullptr);
  EXPECT_EQ(client.valueNode().dataWriter(), nullptr);
  EXPECT_EQ(server.requestNode().dataWriter(), nullptr);
  EXPECT_EQ(server.valueNode().dataReader(), nullptr);

  DDS_DataReaderQos replies, values;
  ASSERT_EQ(client.replyNode().dataReader()->get_qos(replies), DDS_RETCODE_OK);
  ASSERT_EQ(client.valueNode().dataReader()->get_qos(values), DDS_RETCODE_OK);
  EXPECT_EQ(replies.history.depth, 65536);
  EXPECT_EQ(replies.liveliness.lease_duration, (DDS_Duration_t{3, 0}));
  EXPECT_EQ(values.history.depth, 1);
  for (const DDS_DataReaderQos& qos : {replies, values}) {
    EXPECT_EQ(qos.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);
    EXPECT_EQ(qos.reliability.kind, DDS_RELIABLE_RELIABILITY_QOS);
    EXPECT_EQ(qos.history.kind, DDS_KEEP_LAST_HISTORY_QOS);
    EXPECT_EQ(qos.history.refilter, DDS_ALL_REFILTER_QOS);
    const DDS_Property_t* const redundant =
        DDSPropertyQosPolicyHelper::lookup_property(qos.property, "dds.data_reader.state.filter_redundant_samples");
    ASSERT_NE(redundant, nullptr);
    EXPECT_STREQ(redundant->value, "0");
    EXPECT_FALSE(redundant->propagate);
  }
  DDS_DataWriterQos requests, answers;
  ASSERT_EQ(client.requestNode().dataWriter()->get_qos(requests), DDS_RETCODE_OK);
  ASSERT_EQ(server.replyNode().dataWriter()->get_qos(answers), DDS_RETCODE_OK);
  EXPECT_EQ(requests.durability.kind, DDS_VOLATILE_DURABILITY_QOS);
  EXPECT_EQ(requests.history.kind, DDS_KEEP_ALL_HISTORY_QOS);
  EXPECT_EQ(answers.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);
  EXPECT_EQ(answers.liveliness.lease_duration, (DDS_Duration_t{3, 0}));

  client.setLiveliness(3000);
  EXPECT_THAT(log.lines(), IsEmpty());
  client.setLiveliness(1000);
  client.setRole(RequestReplyRole::Both);
  EXPECT_THAT(log.lines(),
              ElementsAre("8 void __cdecl " + node_class +
                              "setLiveliness(int)The liveiness QoS setting cannot be adjusted after the topics have "
                              "been created",
                          HasSubstr("setRole(")));
}

TEST_F(RequestReply, works_with_the_profiles_too) {
  for (Exchange* exchange : {&client, &server}) exchange->setUseQosProfiles(true);
  ASSERT_TRUE(start());
  EXPECT_TRUE(received(request(client)));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(RequestReply, lets_several_replies_fill_one_ticket) {
  ASSERT_TRUE(start());
  std::promise<DDSPtr<Request>> asked;
  serving.answer = [&](const Request& request) {
    DDSPtr<Request> copy(Tessivar::CommandChangeRequestTypeSupport::create_data());
    Tessivar::CommandChangeRequestTypeSupport::copy_data(copy.get(), &request);
    asked.set_value(copy);
    return reply(Tessivar::IN_PROGRESS);
  };
  const DDSPtr<Ticket> ticket = request(client);
  ASSERT_TRUE(received(ticket));
  const DDSPtr<Reply> interim = ticket->reply;
  EXPECT_EQ(interim->result, Tessivar::IN_PROGRESS);
  ticket->received = false;
  DDSPtr<Reply> last(reply(Tessivar::COMPLETE));
  const DDSPtr<Request> original = asked.get_future().get();
  last->changeguid.copy(original->changeguid);
  last->ticketId = original->ticketId;
  EXPECT_TRUE(server.replyNode().writeSample(last));
  ASSERT_TRUE(received(ticket));
  EXPECT_EQ(ticket->reply->result, Tessivar::COMPLETE);
  EXPECT_EQ(interim->result, Tessivar::IN_PROGRESS);
}

TEST_F(RequestReply, ignores_replies_that_nobody_waits_for) {
  ASSERT_TRUE(start());
  for (const bool own : {true, false}) {
    DDSPtr<Reply> sample(reply(Tessivar::COMPLETE));
    sample->changeguid.copy(own ? client.guid() : server.guid());
    sample->ticketId = 4711;
    EXPECT_TRUE(server.replyNode().writeSample(sample));
  }
  EXPECT_TRUE(received(request(client)));
  EXPECT_THAT(listening.events.take(1), ElementsAre("ticket 1"));
}

TEST_F(RequestReply, keeps_clients_apart) {
  ASSERT_TRUE(start());
  LoopbackDomain third(domain_id);
  Exchange other(true);
  Client otherListener;
  other.attachListener(&otherListener);
  ASSERT_TRUE(other.create("RR.Test", &third));
  ASSERT_TRUE(other.waitForMatch(20000));
  // The same ticket numbers on both.
  for (int i = 0; i < 5; ++i) {
    EXPECT_TRUE(received(request(client)));
    EXPECT_TRUE(received(request(other)));
  }
  EXPECT_EQ(serving.requests, 10);
  EXPECT_EQ(listening.events.take(5).size(), 5u);
  EXPECT_EQ(otherListener.events.take(5).size(), 5u);
}

TEST_F(RequestReply, forgets_the_oldest_ticket_beyond_the_limit) {
  client.setMaxPendingTickets(2);
  std::promise<void> go;
  std::shared_future<void> gone = go.get_future().share();
  serving.answer = [gone](const Request&) {
    gone.wait();
    return reply(Tessivar::COMPLETE);
  };
  ASSERT_TRUE(start());
  const DDSPtr<Ticket> one = request(client), two = request(client), three = request(client);
  EXPECT_EQ(client.pendingTickets(), 2u);
  go.set_value();
  EXPECT_TRUE(received(three));
  EXPECT_TRUE(received(two));
  EXPECT_FALSE(one->received);
  EXPECT_EQ(client.findTicket(one->ticketId), nullptr);
}

TEST_F(RequestReply, answers_thousands_of_pending_requests) {
  ASSERT_TRUE(start());
  std::vector<DDSPtr<Ticket>> tickets;
  for (int i = 0; i < 10000; ++i) {
    tickets.push_back(request(client, i));
    ASSERT_TRUE(tickets.back()) << testing::PrintToString(log.lines());
    // No more than the reader keeps for one client may be under way at once.
    const std::size_t settled = tickets.size() > 500 ? tickets.size() - 501 : 0;
    ASSERT_TRUE(i < 500 || received(tickets[settled]));
  }
  for (const DDSPtr<Ticket>& ticket : tickets) ASSERT_TRUE(received(ticket));
  EXPECT_EQ(client.pendingTickets(), 10000u);
}

TEST_F(RequestReply, keeps_replies_for_the_clients_of_late_only) {
  ASSERT_TRUE(start());
  constexpr unsigned clients = detail::remembered_clients + 20;
  for (unsigned i = 0; i < clients; ++i) {
    DDSPtr<Request> request = client.createRequest();
    request->changeguid[0] = static_cast<DDS_Octet>(i);
    ASSERT_TRUE(client.requestNode().writeSample(request));
  }
  // When the second one is answered, all that followed from the others is done.
  ASSERT_TRUE(received(request(client)) && received(request(client)));
  // Until all readers have what was taken back, the writer keeps it for them.
  ASSERT_EQ(server.replyNode().dataWriter()->wait_for_acknowledgments({20, 0}), DDS_RETCODE_OK);
  LoopbackDomain third(domain_id);
  DDSNode<Reply> late;
  late.attachDomain(&third);
  DDS_DataReaderQos qos;
  ASSERT_TRUE(late.createTopic("RR.Test.Reply") && late.stateReaderQos(qos));
  qos.history.depth = 1024;
  ASSERT_TRUE(late.createDataReader(nullptr, DDS_STATUS_MASK_NONE, qos));
  ASSERT_TRUE(eventually([&] {
    DDS_SubscriptionMatchedStatus status;
    return late.dataReader()->get_subscription_matched_status(status) == DDS_RETCODE_OK && status.current_count == 1;
  }));
  ASSERT_EQ(late.dataReader()->wait_for_historical_data({20, 0}), DDS_RETCODE_OK);
  Tessivar::CommandChangeReplySeq samples;
  DDS_SampleInfoSeq infos;
  ASSERT_EQ(late.dataReader()->take(samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                                    DDS_ANY_INSTANCE_STATE),
            DDS_RETCODE_OK);
  std::set<std::string> kept;
  for (DDS_Long i = 0; i < samples.length(); ++i) {
    if (infos[i].valid_data) kept.insert(requestGuidToText(samples[i].changeguid));
  }
  late.dataReader()->return_loan(samples, infos);
  EXPECT_TRUE(kept.contains(requestGuidToText(client.guid())));
  EXPECT_EQ(kept.size(), detail::remembered_clients);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(RequestReply, sends_no_reply_without_one) {
  ASSERT_TRUE(start());
  serving.answer = [](const Request& request) -> Reply* {
    if (request.ticketId == 2) throw std::runtime_error("no");
    return request.ticketId == 3 ? reply(Tessivar::COMPLETE) : nullptr;
  };
  const DDSPtr<Ticket> null = request(client), thrown = request(client), last = request(client);
  ASSERT_TRUE(received(last));
  EXPECT_FALSE(null->received);
  EXPECT_FALSE(thrown->received);
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith(" Exception in the application's code: no")));
}

TEST_F(RequestReply, carries_values_to_clients) {
  ASSERT_TRUE(start());
  EXPECT_TRUE(server.valueNode().writeSample(command("u", 1, 10)));
  EXPECT_TRUE(listening.events.happens("u/1=10"));
  EXPECT_TRUE(server.valueNode().writeSample(command("u", 1, 11)));
  EXPECT_TRUE(listening.events.happens("u/1=11"));
  const DDSPtr<Tessivar::Command> key = command("u", 1);
  EXPECT_EQ(server.valueNode().dataWriter()->dispose(*key, DDS_HANDLE_NIL), DDS_RETCODE_OK);
  EXPECT_TRUE(listening.events.happens("removed u/1"));
}

TEST_F(RequestReply, survives_listeners_that_throw) {
  struct Thrower : Client {
    void ticketChanged(unsigned short) override { throw std::runtime_error("ticket"); }
    void valueChanged(const Tessivar::Command*) override { throw std::runtime_error("value"); }
  } thrower;
  client.attachListener(&thrower);
  client.attachListener(&thrower);
  ASSERT_TRUE(start());
  EXPECT_TRUE(received(request(client)));
  EXPECT_TRUE(listening.events.happens("ticket 1"));
  EXPECT_TRUE(server.valueNode().writeSample(command("u", 1)));
  EXPECT_TRUE(listening.events.happens("u/1=0"));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith(" Exception in the application's code: ticket"),
                                       EndsWith(" Exception in the application's code: value")));
}

TEST_F(RequestReply, hears_nothing_any_more_of_a_reader_that_could_not_be_deleted) {
  ASSERT_TRUE(start());
  EXPECT_TRUE(server.valueNode().writeSample(command("u", 1)));
  EXPECT_TRUE(listening.events.happens("u/1=0"));
  // Somebody keeps samples of the value reader on loan.
  Tessivar::CommandDataReader* const reader = client.valueNode().dataReader();
  Tessivar::CommandSeq samples;
  DDS_SampleInfoSeq infos;
  ASSERT_EQ(reader->read(samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                         DDS_ANY_INSTANCE_STATE),
            DDS_RETCODE_OK);
  client.cleanUp();
  EXPECT_THAT(log.lines(), Contains(EndsWith("failed to delete data reader for topic. Return code: 4")));
  EXPECT_EQ(reader->get_listener(), nullptr);
  EXPECT_EQ(client.requestNode().dataWriter(), nullptr);
  EXPECT_EQ(reader->return_loan(samples, infos), DDS_RETCODE_OK);
  client.cleanUp();
  client.valueNode().cleanUp();
  EXPECT_EQ(client.valueNode().dataReader(), nullptr);
}

TEST_F(RequestReply, notices_that_the_server_goes_and_comes) {
  ASSERT_TRUE(start());
  server.cleanUp();
  EXPECT_TRUE(eventually([&] { return client.calculateMatchCount() == 0; }));
  EXPECT_TRUE(eventually([&] { return listening.matches == 0; }));
  EXPECT_FALSE(request(client));
  log.lines();
  server.setListener(&serving);
  ASSERT_TRUE(server.create("RR.Test", &here));
  EXPECT_TRUE(client.waitForMatch(20000));
  EXPECT_TRUE(received(request(client)));
}

TEST_F(RequestReply, is_cleaned_up_in_the_middle_of_traffic) {
  for (int round = 0; round < 3; ++round) {
    ASSERT_TRUE(start());
    std::atomic<bool> stop{false};
    std::thread traffic([&] {
      while (!stop) {
        request(client);
        server.valueNode().writeSample(command("u", 1, round));
      }
    });
    EXPECT_TRUE(eventually([&] { return serving.requests > 20 * round + 20; }));
    stop = true;
    traffic.join();
    client.cleanUp();
    server.cleanUp();
    EXPECT_EQ(client.waitSetThread(), nullptr);
    EXPECT_EQ(client.calculateMatchCount(), 0);
    serving.requests = 20 * (round + 1);
  }
}

TEST_F(RequestReply, refuses_to_be_cleaned_up_by_its_own_callback) {
  serving.answer = [&](const Request&) {
    server.cleanUp();
    return reply(Tessivar::COMPLETE);
  };
  ASSERT_TRUE(start());
  EXPECT_TRUE(received(request(client)));
  EXPECT_THAT(log.lines(), ElementsAre(EndsWith(" Cannot clean up from within a callback.")));
}

TEST_F(RequestReply, serves_its_own_requests_only_when_it_is_told_to) {
  // The participant ignores itself, so a node that is both talks to a second one of its kind.
  Server otherServing;
  Exchange both{true}, other{true};
  for (Exchange* node : {&both, &other}) node->setRole(RequestReplyRole::Both);
  both.setListener(&serving);
  other.setListener(&otherServing);
  ASSERT_TRUE(both.create("RR.Both", &here) && other.create("RR.Both", &there));
  ASSERT_TRUE(both.waitForMatch(20000));
  ASSERT_TRUE(other.waitForMatch(20000));
  EXPECT_TRUE(received(request(both)));
  EXPECT_EQ(otherServing.requests, 1);
  EXPECT_EQ(serving.requests, 0);
  // A request that bears this node's identity, whoever sends it.
  const auto forged = [&] {
    DDSPtr<Request> request = other.createRequest();
    request->changeguid.copy(both.guid());
    return other.requestNode().writeSample(request);
  };
  EXPECT_TRUE(forged());
  EXPECT_TRUE(received(request(other)));
  EXPECT_EQ(serving.requests, 1);
  both.setIgnoreOwnRequests(false);
  EXPECT_TRUE(forged());
  EXPECT_TRUE(received(request(other)));
  EXPECT_EQ(serving.requests, 3);
}

TEST_F(RequestReply, runs_on_a_thread_that_is_lent) {
  WaitSetThread thread("Lent");
  ASSERT_TRUE(thread.create());
  client.setWaitSetThread(&thread);
  ASSERT_TRUE(start());
  EXPECT_EQ(client.waitSetThread(), &thread);
  EXPECT_TRUE(received(request(client)));
  client.cleanUp();
  EXPECT_FALSE(client.created());
  ASSERT_TRUE(client.create("RR.Test", &there));
  ASSERT_TRUE(client.waitForMatch(20000));
  EXPECT_TRUE(received(request(client)));
  client.cleanUp();
  thread.stop();
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(RequestReply, waits_for_its_thread_to_be_started) {
  client.setAutoStartThread(false);
  ASSERT_TRUE(start());
  const DDSPtr<Ticket> ticket = request(client);
  ASSERT_TRUE(eventually([&] { return serving.requests == 1; }));
  EXPECT_FALSE(ticket->received);
  client.waitSetThread()->start();
  EXPECT_TRUE(received(ticket));
}

TEST_F(RequestReply, renews_its_value_reader) {
  ASSERT_TRUE(start());
  EXPECT_TRUE(server.valueNode().writeSample(command("u", 1, 10)));
  EXPECT_TRUE(listening.events.happens("u/1=10"));
  WaitSetThread& thread = *client.waitSetThread();
  EXPECT_TRUE(thread.detachRunner(client.valueNode().dataReader()));
  EXPECT_TRUE(client.valueNode().cleanUpDataReader());
  DDS_DataReaderQos qos;
  ASSERT_TRUE(client.valueNode().stateReaderQos(qos));
  EXPECT_TRUE(client.valueNode().createDataReader(nullptr, DDS_STATUS_MASK_NONE, qos));
  struct Values : WaitSetThreadRunner<Tessivar::Command> {
    Values(Exchange& of, Events& to) : WaitSetThreadRunner(of.valueNode().dataReader()), events(to) {}
    using WaitSetThreadRunner::processSample;
    void processSample(const Tessivar::Command& sample) override { events.add("again " + text(sample)); }
    Events& events;
  };
  EXPECT_TRUE(thread.attachRunner(new Values(client, listening.events), true));
  EXPECT_TRUE(listening.events.happens("again u/1=10"));
}

// --- the command service
// ----------------------------------------------------------------------------------------------

class CommandService : public RequestReply {
 protected:
  bool start(const std::vector<std::string>& served, const std::vector<std::string>& wanted) {
    device.setListener(&serving);
    controller.attachListener(&listening);
    return device.setFilterAddresses(served) && controller.setFilterAddresses(wanted) &&
           device.create("RR.Commands", &here) && controller.create("RR.Commands", &there) &&
           controller.waitForMatch(20000);
  }
  DDSPtr<Ticket> change(const char* unit) {
    DDSPtr<Request> request = controller.createRequest(command(unit, 1).get());
    return controller.makeRequest(request);
  }
  TessivarRequestReplyService device{false};
  TessivarRequestReplyService controller{true};
};

TEST_F(CommandService, serves_every_unit_without_addresses) {
  ASSERT_TRUE(start({}, {}));
  EXPECT_TRUE(received(change("a")));
  EXPECT_TRUE(device.valueNode().writeSample(command("b", 1)));
  EXPECT_TRUE(listening.events.happens("b/1=0"));
  EXPECT_STREQ(device.requestNode().dataReader()->get_topicdescription()->get_name(), "RR.Commands.Requests.Filtered");
  EXPECT_EQ(controller.requestNode().contentFilteredTopic(), nullptr);
  EXPECT_STREQ(controller.valueNode().dataReader()->get_topicdescription()->get_name(), "RR.Commands.Filtered");
}

TEST_F(CommandService, serves_the_units_of_its_addresses) {
  ASSERT_TRUE(start({"a"}, {"a"}));
  const DDSPtr<Ticket> other = change("b");
  EXPECT_TRUE(received(change("a")));
  EXPECT_FALSE(other->received);
  EXPECT_EQ(serving.requests, 1);
  for (const char* unit : {"b", "a"}) EXPECT_TRUE(device.valueNode().writeSample(command(unit, 1)));
  EXPECT_TRUE(listening.events.happens("a/1=0"));
  // More addresses: requests for them from now on, and values as they are.
  EXPECT_TRUE(device.setFilterAddresses({"a", "b"}));
  EXPECT_TRUE(received(change("b")));
  EXPECT_TRUE(controller.setFilterAddresses({"a", "b"}));
  EXPECT_TRUE(listening.events.happens("b/1=0"));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(CommandService, keeps_its_addresses_for_the_next_creation) {
  ASSERT_TRUE(start({"a"}, {"b"}));
  for (TessivarRequestReplyService* service : {&device, &controller}) service->cleanUp();
  ASSERT_TRUE(start({"a"}, {"b"}));
  for (const char* unit : {"a", "b"}) EXPECT_TRUE(device.valueNode().writeSample(command(unit, 1)));
  EXPECT_THAT(listening.events.take(1), ElementsAre("b/1=0"));
}

TEST_F(CommandService, needs_the_address_filter) {
  LoopbackDomain bare(domain_id);
  EXPECT_FALSE(controller.create("RR.Commands", &bare));
  EXPECT_THAT(log.lines(), ElementsAre(AllOf(StartsWith("8 bool __cdecl TessivarDDS::TessivarRequestReplyService::"
                                                        "creatValueTopic("),
                                             EndsWith("Custom filter not registered!")),
                                       EndsWith("Failed to create value topic")));
  controller.cleanUp();
}

}  // namespace
