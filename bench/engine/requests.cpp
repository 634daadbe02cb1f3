// SPDX-License-Identifier: Apache-2.0

#include "bench/common/load.h"
#include "bench/engine/bus.h"
#include "bench/engine/roles.h"

#include <atomic>
#include <memory>
#include <semaphore>
#include <stdexcept>
#include <thread>
#include <unistd.h>

namespace tessivar::bench {
namespace {

constexpr const char* requests_name = "Orvel_Tessivar_Commands_Requests";
constexpr const char* replies_name = "Orvel_Tessivar_Commands_Reply";
constexpr unsigned complete = 1;

/// The QoS of requests: every one arrives.
void set_requests(dds_qos_t* qos) {
  dds_qset_reliability(qos, DDS_RELIABILITY_RELIABLE, DDS_SECS(5));
  dds_qset_history(qos, DDS_HISTORY_KEEP_ALL, DDS_LENGTH_UNLIMITED);
}

/// The QoS of replies, as the library's.
void set_replies(dds_qos_t* qos, int depth) {
  dds_qset_reliability(qos, DDS_RELIABILITY_RELIABLE, DDS_MSECS(100));
  dds_qset_durability(qos, DDS_DURABILITY_TRANSIENT_LOCAL);
  dds_qset_history(qos, DDS_HISTORY_KEEP_LAST, depth);
  dds_qset_durability_service(qos, 0, DDS_HISTORY_KEEP_LAST, 1, DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED,
                              DDS_LENGTH_UNLIMITED);
  dds_qset_liveliness(qos, DDS_LIVELINESS_AUTOMATIC, DDS_SECS(3));
}

/// A wait set with the samples that a reader has not yet taken.
class DataWaitSet {
 public:
  DataWaitSet(dds_entity_t participant_entity, dds_entity_t reader)
      : wait_set_(checked(dds_create_waitset(participant_entity), "dds_create_waitset")) {
    const dds_entity_t condition = checked(dds_create_readcondition(reader, DDS_ANY_STATE), "dds_create_readcondition");
    checked(dds_waitset_attach(wait_set_, condition, 0), "dds_waitset_attach");
  }
  /// Returns true if there are samples.
  bool wait(dds_duration_t timeout) const {
    dds_attach_t attached = 0;
    return checked(dds_waitset_wait(wait_set_, &attached, 1, timeout), "dds_waitset_wait") > 0;
  }

 private:
  const dds_entity_t wait_set_;
};

class Server {
 public:
  explicit Server(const Options& options) : bus_(options) {
    Qos qos;
    set_replies(qos, 16384);
    replies_ = bus_.writer(bus_.topic(replies_name, Bench_Reply_desc), qos);
    Qos request_qos;
    set_requests(request_qos);
    const dds_entity_t topic = bus_.topic(requests_name, Bench_Request_desc);
    const auto answer = [this](dds_entity_t reader) { reply(reader); };
    if (options.count("wait", 0) == 0) {
      bus_.reader(topic, request_qos, answer);
    } else {
      const dds_entity_t reader = bus_.reader(topic, request_qos, nullptr);
      thread_ = std::jthread([this, reader](const std::stop_token& stop) {
        const DataWaitSet wait_set(dds_get_participant(reader), reader);
        while (!stop.stop_requested())
          if (wait_set.wait(DDS_MSECS(200))) reply(reader);
      });
    }
  }

 private:
  void reply(dds_entity_t reader) const {
    take_all<Bench_Request>(reader, [this](const Bench_Request& request) {
      const Bench_Reply reply = {request.identity, request.ticketId, complete};
      checked(dds_write(replies_, &reply), "dds_write");
    });
  }

  Bus bus_;
  dds_entity_t replies_ = 0;
  std::jthread thread_;  // ends before the bus
};

class EngineAsker : public Asker {
 public:
  explicit EngineAsker(const Options& options) : bus_(options) {
    Qos qos;
    set_requests(qos);
    requests_ = bus_.writer(bus_.topic(requests_name, Bench_Request_desc), qos);
    const bool wait = options.count("wait", 0) != 0;
    Qos reply_qos;
    set_replies(reply_qos, 65536);
    const dds_entity_t topic = bus_.topic(replies_name, Bench_Reply_desc);
    replies_ = wait ? bus_.reader(topic, reply_qos, nullptr)
                    : bus_.reader(topic, reply_qos, [this](dds_entity_t reader) { receive(reader); });
    if (wait) wait_set_ = std::make_unique<DataWaitSet>(dds_get_participant(replies_), replies_);
    request_.identity.length = 16;
    const pid_t pid = getpid();
    for (unsigned i = 0; i < sizeof pid; ++i)
      request_.identity.value[i] = static_cast<unsigned char>(static_cast<unsigned>(pid) >> 8 * i);
    set_address(request_.newValue.unitId, 0);
    request_.newValue.value._d = Bench_Int;
    request_.newValue.value._u.intValue = 7;
  }

  Answer match() const {
    await_match(requests_);
    await_match(replies_);
    return {};
  }
  void send() override {
    ++request_.ticketId;
    checked(dds_write(requests_, &request_), "dds_write");
  }
  bool await() override {
    if (!wait_set_) return arrived_.try_acquire_for(std::chrono::seconds(10)) && good_;
    while (!arrived_.try_acquire()) {
      if (!wait_set_->wait(DDS_SECS(10))) return false;
      receive(replies_);
    }
    return good_;
  }

 private:
  void receive(dds_entity_t reader) {
    take_all<Bench_Reply>(reader, [this](const Bench_Reply& reply) {
      if (reply.result != complete) good_ = false;
      arrived_.release();
    });
  }

  Bus bus_;
  dds_entity_t requests_ = 0;
  dds_entity_t replies_ = 0;
  std::unique_ptr<DataWaitSet> wait_set_;
  Bench_Request request_ = {};
  std::counting_semaphore<> arrived_{0};
  std::atomic<bool> good_{true};
};

}  // namespace

int run_server(const Options& options) {
  const Server server(options);
  return serve({{"memory", [](const Options&) { return memory(); }}});
}

int run_asker(const Options& options) {
  EngineAsker asker(options);
  return serve({
      {"match", [&](const Options&) { return asker.match(); }},
      {"request", [&](const Options& how) { return ask(how, asker); }},
      {"memory", [](const Options&) { return memory(); }},
  });
}

}  // namespace tessivar::bench
