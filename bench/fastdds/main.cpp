// SPDX-License-Identifier: Apache-2.0

// bench_fastdds writer|reader|server|asker domain=N NAME=VALUE…: one process of Fast DDS over UDP, with listeners. The
// roles have the commands of those of bench_engine.
#include "bench/common/load.h"
#include "bench/fastdds/types.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <semaphore>
#include <stdexcept>
#include <thread>

#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/TypeSupport.hpp>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastrtps/utils/IPLocator.h>

namespace tessivar::bench {
namespace {

using namespace eprosima::fastdds::dds;
using eprosima::fastrtps::rtps::Locator_t;

constexpr int participants = 8;  // to look for in a domain
constexpr unsigned complete = 1;
constexpr const char* values_topic = "Orvel_Tessivar_Commands";
constexpr const char* requests_topic = "Orvel_Tessivar_Commands_Requests";
constexpr const char* replies_topic = "Orvel_Tessivar_Commands_Reply";

template <class Entity>
Entity* required(Entity* entity, const char* what) {
  if (!entity) throw std::runtime_error(std::string("Fast DDS makes no ") + what);
  return entity;
}

Locator_t loopback(unsigned port) {
  Locator_t locator;
  eprosima::fastrtps::rtps::IPLocator::setIPv4(locator, 127, 0, 0, 1);
  locator.port = port;
  return locator;
}

/// A reliable endpoint with the last sample of each instance for late joiners (`state`), or with all samples.
template <class Qos>
Qos reliable(bool state) {
  Qos qos;
  qos.reliability().kind = RELIABLE_RELIABILITY_QOS;
  qos.durability().kind = state ? TRANSIENT_LOCAL_DURABILITY_QOS : VOLATILE_DURABILITY_QOS;
  qos.history().kind = state ? KEEP_LAST_HISTORY_QOS : KEEP_ALL_HISTORY_QOS;
  qos.history().depth = 1;
  qos.resource_limits().max_samples = 0;  // no limits
  qos.resource_limits().max_instances = 0;
  qos.resource_limits().max_samples_per_instance = 0;
  qos.endpoint().history_memory_policy = eprosima::fastrtps::rtps::PREALLOCATED_WITH_REALLOC_MEMORY_MODE;
  return qos;
}

/// Calls a function for each valid sample.
template <class T>
class Listener : public DataReaderListener {
 public:
  explicit Listener(std::function<void(const T&)> each) : each_(std::move(each)) {}

  void on_data_available(DataReader* reader) override {
    SampleInfo info;
    while (reader->take_next_sample(&sample_, &info) == ReturnCode_t::RETCODE_OK)
      if (info.valid_data) each_(sample_);
  }

 private:
  const std::function<void(const T&)> each_;
  T sample_;
};

class Bus {
 public:
  explicit Bus(const Options& options) {
    const unsigned domain = options.count("domain");
    DomainParticipantQos qos;
    const auto transport = std::make_shared<eprosima::fastdds::rtps::UDPv4TransportDescriptor>();
    transport->interfaceWhiteList.push_back("127.0.0.1");
    qos.transport().use_builtin_transports = false;
    qos.transport().user_transports.push_back(transport);
    auto& discovery = qos.wire_protocol().builtin;
    for (unsigned i = 0; i < participants; ++i)
      discovery.initialPeersList.push_back(loopback(7400 + 250 * domain + 10 + 2 * i));
    discovery.metatrafficUnicastLocatorList.push_back(loopback(0));
    participant_ = required(DomainParticipantFactory::get_instance()->create_participant(domain, qos), "participant");
    publisher_ = required(participant_->create_publisher(PUBLISHER_QOS_DEFAULT), "publisher");
    subscriber_ = required(participant_->create_subscriber(SUBSCRIBER_QOS_DEFAULT), "subscriber");
  }
  ~Bus() {
    participant_->delete_contained_entities();
    DomainParticipantFactory::get_instance()->delete_participant(participant_);
  }
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;

  template <class T>
  DataWriter* writer(const char* name, bool state) {
    return required(publisher_->create_datawriter(topic<T>(name), reliable<DataWriterQos>(state)), "writer");
  }
  /// The listener must outlive the bus.
  template <class T>
  DataReader* reader(const char* name, bool state, Listener<T>& listener) {
    return required(subscriber_->create_datareader(topic<T>(name), reliable<DataReaderQos>(state), &listener),
                    "reader");
  }

 private:
  template <class T>
  Topic* topic(const char* name) {
    TypeSupport(new Type<T>).register_type(participant_);
    return required(participant_->create_topic(name, T::type_name, TOPIC_QOS_DEFAULT), "topic");
  }

  DomainParticipant* participant_;
  Publisher* publisher_;
  Subscriber* subscriber_;
};

template <class Status>
Answer await(const std::function<void(Status&)>& get) {
  const auto deadline = Clock::now() + patience;
  for (Status status;; std::this_thread::sleep_for(std::chrono::milliseconds(1))) {
    get(status);
    if (status.current_count > 0) return {};
    if (Clock::now() > deadline) throw std::runtime_error("no peer is matched");
  }
}

Answer await_match(DataWriter* writer) {
  return await<PublicationMatchedStatus>([writer](auto& status) { writer->get_publication_matched_status(status); });
}

Answer await_match(DataReader* reader) {
  return await<SubscriptionMatchedStatus>([reader](auto& status) { reader->get_subscription_matched_status(status); });
}

void write(DataWriter* writer, void* sample) {
  if (!writer->write(sample)) throw std::runtime_error("a sample cannot be written");
}

std::string address(unsigned unit) {
  char text[16];
  std::snprintf(text, sizeof text, "%04X:%02X:%02X", 1U, unit / 200 + 1, unit % 200 + 1);
  return text;
}

int run_writer(const Options& options) {
  std::vector<Value> values(options.count("instances", 1));
  for (unsigned i = 0; i < values.size(); ++i) {
    values[i].unit = address(i / commands_of_a_unit);
    values[i].number = i % commands_of_a_unit;
  }
  Bus bus(options);
  DataWriter* const writer = bus.writer<Value>(values_topic, true);
  const auto send = [&](unsigned instance) {
    ++values[instance].value;
    write(writer, &values[instance]);
  };
  return serve({
      {"match", [&](const Options&) { return await_match(writer); }},
      {"publish", [&](const Options& how) { return publish(how, static_cast<unsigned>(values.size()), send, [] {}); }},
  });
}

int run_reader(const Options& options) {
  Received received;
  Listener<Value> listener([&](const Value&) { received.count(); });
  Bus bus(options);
  DataReader* const reader = bus.reader(values_topic, true, listener);
  return serve({
      {"match", [&](const Options&) { return await_match(reader); }},
      {"begin", [&](const Options&) { return received.begin(); }},
      {"end", [&](const Options&) { return received.end(); }},
  });
}

int run_server(const Options& options) {
  DataWriter* replies = nullptr;
  Listener<Request> listener([&](const Request& request) {
    Reply reply{request.identity, request.ticket, complete};
    write(replies, &reply);
  });
  Bus bus(options);
  replies = bus.writer<Reply>(replies_topic, false);
  bus.reader(requests_topic, false, listener);
  return serve({});
}

class FastAsker : public Asker {
 public:
  explicit FastAsker(const Options& options)
      : bus_(options),
        requests_(bus_.writer<Request>(requests_topic, false)),
        replies_(bus_.reader(replies_topic, false, listener_)) {
    request_.identity.assign(16, 7);
    request_.wanted.unit = address(0);
  }
  Answer match() {
    await_match(requests_);
    return await_match(replies_);
  }
  void send() override {
    ++request_.ticket;
    write(requests_, &request_);
  }
  bool await() override { return arrived_.try_acquire_for(std::chrono::seconds(10)); }

 private:
  std::counting_semaphore<> arrived_{0};
  Listener<Reply> listener_{[this](const Reply& reply) {
    if (reply.result == complete) arrived_.release();
  }};
  Bus bus_;
  DataWriter* const requests_;
  DataReader* const replies_;
  Request request_;
};

int run_asker(const Options& options) {
  FastAsker asker(options);
  return serve({
      {"match", [&](const Options&) { return asker.match(); }},
      {"request", [&](const Options& how) { return ask(how, asker); }},
  });
}

}  // namespace
}  // namespace tessivar::bench

int main(int argc, char** argv) {
  using namespace tessivar::bench;
  return run_role(argc, argv,
                  {{"writer", run_writer}, {"reader", run_reader}, {"server", run_server}, {"asker", run_asker}});
}
