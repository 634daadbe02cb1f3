// SPDX-License-Identifier: Apache-2.0

#include "bench/common/load.h"
#include "bench/engine/bus.h"
#include "bench/engine/roles.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace tessivar::bench {
namespace {

constexpr const char* topic_name = "Orvel_Tessivar_Commands";
constexpr unsigned batch = 100;

class Writer {
 public:
  explicit Writer(const Options& options)
      : bus_(options), batched_(options.count("batched", 0) != 0), values_(options.count("instances", 1)) {
    Qos qos;
    set_state(qos);
    writer_ = bus_.writer(bus_.topic(topic_name, Bench_Command_desc), qos);
    for (unsigned i = 0; i < values_.size(); ++i) {
      set_address(values_[i].unitId, i / commands_of_a_unit);
      values_[i].commandNumber = i % commands_of_a_unit;
      values_[i].value._d = Bench_Int;
    }
  }

  void send(unsigned instance) {
    Bench_Command& value = values_[instance];
    ++value.value._u.intValue;
    checked(dds_write(writer_, &value), "dds_write");
    if (batched_ && ++waiting_ == batch) flush();
  }
  void flush() {
    if (waiting_ > 0) dds_write_flush(writer_);  // returns nothing
    waiting_ = 0;
  }
  unsigned instances() const { return static_cast<unsigned>(values_.size()); }
  Answer prime() {
    for (unsigned instance = 0; instance < instances(); ++instance) send(instance);
    flush();
    return {};
  }
  Answer match() const {
    await_match(writer_);
    return {};
  }
  Answer acknowledged() const {
    checked(dds_wait_for_acks(writer_, DDS_SECS(60)), "dds_wait_for_acks");
    return {};
  }

 private:
  Bus bus_;
  const bool batched_;
  std::vector<Bench_Command> values_;
  dds_entity_t writer_ = 0;
  unsigned waiting_ = 0;
};

class Reader {
 public:
  explicit Reader(const Options& options) : options_(options) {}

  Answer join() {
    values_.begin();
    bus_ = std::make_unique<Bus>(options_);
    Qos qos;
    set_state(qos);
    const dds_entity_t topic = bus_->topic(topic_name, Bench_Command_desc);
    const auto take = [this](dds_entity_t reader) {
      take_all<Bench_Command>(reader, [this](const Bench_Command&) { values_.count(); });
    };
    reader_ = options_.count("keep", 0) != 0 ? bus_->reader(topic, qos, nullptr) : bus_->reader(topic, qos, take);
    return {};
  }
  Answer leave() {
    bus_.reset();
    return {};
  }
  Answer match() const {
    await_match(reader_);
    return {};
  }
  Received& values() { return values_; }

 private:
  const Options options_;
  Received values_;
  std::unique_ptr<Bus> bus_;
  dds_entity_t reader_ = 0;
};

}  // namespace

int run_participant(const Options& options) {
  const Bus bus(options);
  return serve({{"memory", [](const Options&) { return memory(); }}});
}

int run_writer(const Options& options) {
  Writer writer(options);
  const auto send = [&writer](unsigned instance) { writer.send(instance); };
  return serve({
      {"publish", [&](const Options& how) { return publish(how, writer.instances(), send, [&] { writer.flush(); }); }},
      {"prime", [&](const Options&) { return writer.prime(); }},
      {"match", [&](const Options&) { return writer.match(); }},
      {"acknowledged", [&](const Options&) { return writer.acknowledged(); }},
      {"memory", [](const Options&) { return memory(); }},
  });
}

int run_reader(const Options& options) {
  Reader reader(options);
  if (options.count("late", 0) == 0) reader.join();
  return serve({
      {"join", [&](const Options&) { return reader.join(); }},
      {"leave", [&](const Options&) { return reader.leave(); }},
      {"match", [&](const Options&) { return reader.match(); }},
      {"begin", [&](const Options&) { return reader.values().begin(); }},
      {"end", [&](const Options&) { return reader.values().end(); }},
      {"await", [&](const Options& how) { return reader.values().await(how); }},
      {"memory", [](const Options&) { return memory(); }},
  });
}

}  // namespace tessivar::bench
