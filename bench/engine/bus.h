// SPDX-License-Identifier: Apache-2.0

// The engine through its own interface, configured as the library configures it.
#pragma once

#include "bench/common/program.h"
#include "types.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

#include <dds/dds.h>

namespace tessivar::bench {

/// Returns the result of a call of the engine. Throws std::runtime_error if it is an error; `what` names the call.
dds_entity_t checked(dds_entity_t result, const char* what);

/// What a reader's listener does.
typedef std::function<void(dds_entity_t reader)> DataFunction;

/// A domain with one participant. The entities are deleted with it.
class Bus {
 public:
  /// Options: "domain"; "batched" = 1: samples are sent together.
  /// `number`: different objects of one process have different numbers.
  explicit Bus(const Options& options, unsigned number = 0);
  ~Bus();
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;

  dds_entity_t topic(const char* name, const dds_topic_descriptor_t& type) const;
  dds_entity_t writer(dds_entity_t topic, const dds_qos_t* qos) const;
  /// `data` is called on a thread of the engine when samples arrive. Without `data` the reader has no listener.
  dds_entity_t reader(dds_entity_t topic, const dds_qos_t* qos, DataFunction data);

 private:
  const dds_entity_t domain_;
  const dds_entity_t participant_;
  std::map<dds_entity_t, std::unique_ptr<DataFunction>> listening_;
};

/// A QoS that its destructor deletes.
class Qos {
 public:
  Qos() : qos_(dds_create_qos()) {}
  ~Qos() { dds_delete_qos(qos_); }
  Qos(const Qos&) = delete;
  Qos& operator=(const Qos&) = delete;
  operator dds_qos_t*() const { return qos_; }

 private:
  dds_qos_t* const qos_;
};

/// The QoS of values: reliable, transient-local, the last sample of each instance.
void set_state(dds_qos_t* qos);

/// Takes all samples of a reader, and calls `each` with the valid ones.
template <class Sample, class Each>
void take_all(dds_entity_t reader, Each&& each) {
  constexpr int most = 256;
  void* samples[most] = {};
  dds_sample_info_t infos[most];
  for (;;) {
    const dds_return_t count = checked(dds_take(reader, samples, infos, most, most), "dds_take");
    for (int i = 0; i < count; ++i)
      if (infos[i].valid_data) each(*static_cast<const Sample*>(samples[i]));
    if (count == 0) return;
    dds_return_loan(reader, samples, count);
    if (count < most) return;
  }
}

/// Waits until a writer has, or a reader has, at least one peer. Throws std::runtime_error after a minute.
void await_match(dds_entity_t entity);

/// Writes the address of a unit, in the library's form.
void set_address(char* text, unsigned unit);

}  // namespace tessivar::bench
