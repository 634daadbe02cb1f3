// SPDX-License-Identifier: Apache-2.0

// The interface between the DDS layer of the platform and the engine, which transports encoded samples.
//
// The DDS layer (typed samples, loans, handles, filters on decoded samples, batching limits, profiles) calls these
// interfaces. The folder of an engine implements them (`TESSIVAR_ENGINE`; docs/porting.md). All data here is encoded:
// an engine never sees a typed sample.
//
// This file states all obligations of an engine. Each has a name, for example R4. The tests in tests/platform/engine
// run with any engine and name the obligations that they check. These hold for all classes:
//
// E1 Results. Results are DDS return codes. If memory, ports or threads are short, an operation returns
//    OUT_OF_RESOURCES, and existing objects continue to work. Nothing throws, except that a function that returns a
//    text or a list may throw std::bad_alloc. A creation that fails leaves nothing behind, sets no result, and writes
//    the entity and the reason to `error`. A feature that the engine does not have returns UNSUPPORTED, and one log
//    line says so.
// E2 Threads. Any thread may call every operation, also at the same time on the same object. Only for a destructor the
//    caller ensures that no other call is inside the object.
// E3 Callbacks. The engine calls callbacks on its own threads, or on a thread that is inside one of its operations,
//    including the operation that creates the object, before it has returned. Callbacks of one reader do not overlap,
//    likewise those of one writer and of one participant. Status reports arrive in the order of the changes.
// E4 Calls in callbacks. A callback may call: every operation of another participant; take(), write(), flush(), guid(),
//    matched_…, ignore(), add_peer() and remove_peer(). It must not destroy a reader, writer or participant, and must
//    not wait for history or acknowledgments: the engine may wait for the end of the callback. A write that would be
//    delivered to the reader whose callback runs returns ILLEGAL_OPERATION.
// E5 End. When a destructor has returned, no callback and no filter call of the object runs, and none will begin.
// E6 Log. The engine logs through platform::log with the context "engine". If it may hold a lock at that point, it does
//    so inside a CallbackScope for a filter, so that the logger cannot call the engine.
// E7 Fork. A forked child neither uses nor destroys the objects of its parent, and may end with exit(). The engine must
//    not wait for the parent's threads then.
// E8 Lifetime. The engine is usable until the process has ended, also in destructors of static objects.
#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/builtin.h"
#include "tessivar/platform/qos.h"
#include "tessivar/platform/sample_info.h"
#include "tessivar/platform/status.h"
#include "tessivar/platform/type_plugin.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tessivar::platform {

/// One encoded sample or key, with a reference count. It does not change after it was written or received.
struct EncodedSample {
  std::uint8_t* bytes;  // encapsulation header and CDR; null if only the hash of a key is known
  std::uint32_t size;   // without padding at the end
  bool key_only;        // true for a dispose or unregistration: only the key members
  std::uint8_t key_hash[16];
  std::int64_t reception_time;  // nanoseconds since 1970; 0 if it was never received
  void (*retain)(EncodedSample*);
  void (*release)(EncodedSample*);
};

/// Owns one reference to an EncodedSample.
class SampleRef {
 public:
  SampleRef() = default;
  explicit SampleRef(EncodedSample* owned) : sample_(owned) {}
  SampleRef(SampleRef&& other) noexcept : sample_(other.detach()) {}
  SampleRef(const SampleRef& other) : sample_(other.sample_) {
    if (sample_) sample_->retain(sample_);
  }
  SampleRef& operator=(SampleRef other) noexcept {
    std::swap(sample_, other.sample_);
    return *this;
  }
  ~SampleRef() {
    if (sample_) sample_->release(sample_);
  }
  EncodedSample* get() const { return sample_; }
  EncodedSample* operator->() const { return sample_; }
  explicit operator bool() const { return sample_ != nullptr; }
  EncodedSample* detach() {
    EncodedSample* sample = sample_;
    sample_ = nullptr;
    return sample;
  }

 private:
  EncodedSample* sample_ = nullptr;
};

/// The number that the engine gives an instance or an endpoint; 0: none.
typedef std::uint64_t EngineHandle;

/// One sample that a reader returns. `info.instance_handle` contains the key hash.
struct EngineSlot {
  SampleRef sample;
  DDS_SampleInfo info = {};
  std::int64_t lifespan = INT64_MAX;  // how long the sample is valid after its reception, in nanoseconds
};

/// Decides which samples enter the cache of a reader.
///
/// F1 Calls. The engine calls the filter once for each sample of a matched writer, before the sample enters the cache,
///    and not for disposes and unregistrations. `sample` is checked (R2); `info` has its source timestamp. A refused
///    sample is not taken and not announced; the engine may report it as lost.
/// F2 Threads. The engine calls the filter on a receive thread or on a thread that writes to a reader of its own
///    participant, and may hold the lock of the reader's cache. Therefore the filter calls no operation of the engine.
///    Calls for one engine reader never overlap.
class EngineFilter {
 public:
  virtual bool accepts(const EncodedSample& sample, EngineHandle instance, const DDS_FilterSampleInfo& info) = 0;

 protected:
  ~EngineFilter() = default;
};

/// Reports of a reader. Each status has the counts since the creation and their changes since the last report.
///
/// V1 A match is reported before the first filter call and the first data of that writer, and when it ends.
/// V2 data_available() is called when take() can return the samples, and again for each later arrival, also if nobody
///    takes samples. A dispose, an unregistration and the end of the last writer of an instance are arrivals, too.
/// V3 A writer that is matched is alive or not alive. It is not alive when it was silent for the lease_duration of its
///    LIVELINESS, and alive again at the latest with its next sample. With AUTOMATIC liveliness the participant keeps
///    it alive without a call, and makes it alive after a pause without a new sample (P7).
/// V4 If QoS policies prevent a match, both sides report it. One log line names the topic, the peer and the policies.
class EngineReaderEvents {
 public:
  virtual void data_available() = 0;
  virtual void subscription_matched(const DDS_SubscriptionMatchedStatus&) = 0;
  virtual void liveliness_changed(const DDS_LivelinessChangedStatus&) = 0;
  virtual void requested_deadline_missed(const DDS_RequestedDeadlineMissedStatus&) = 0;
  virtual void requested_incompatible_qos(const DDS_RequestedIncompatibleQosStatus&) = 0;
  virtual void sample_lost(const DDS_SampleLostStatus&) = 0;
  virtual void sample_rejected(const DDS_SampleRejectedStatus&) = 0;

 protected:
  ~EngineReaderEvents() = default;
};

/// Reports of a writer, as for a reader (V1, V4).
class EngineWriterEvents {
 public:
  virtual void publication_matched(const DDS_PublicationMatchedStatus&) = 0;
  virtual void liveliness_lost(const DDS_LivelinessLostStatus&) = 0;
  virtual void offered_deadline_missed(const DDS_OfferedDeadlineMissedStatus&) = 0;
  virtual void offered_incompatible_qos(const DDS_OfferedIncompatibleQosStatus&) = 0;

 protected:
  ~EngineWriterEvents() = default;
};

class EngineParticipantEvents {
 public:
  /// Reports that a remote participant was discovered or changed (`alive`), or is gone.
  ///
  /// P3 A discovered participant is reported before any of its endpoints is matched, and the match waits for the end of
  ///    the call; so an ignore() inside the call excludes all its data and matches. `data` has its GUID, user data,
  ///    name, role name, propagated properties and unicast locators, and is valid during the call. The same data may be
  ///    reported twice. One end is reported for each discovered participant that leaves, and `data` has only the GUID.
  ///    The participant itself is never reported. A call may wait until another thread has got the result of
  ///    create_participant(): the creation does not wait for the call.
  virtual void participant_seen(const DDS_ParticipantBuiltinTopicData& data, const DDS_InstanceHandle_t& handle,
                                bool alive) = 0;

 protected:
  ~EngineParticipantEvents() = default;
};

/// R1 Cache. The reader keeps samples until they are taken, as its HISTORY says. It ignores the resource limits of its
///    QoS: a reader that nobody reads must not stop the other readers of its participant. Samples of one writer keep
///    their order within an instance.
/// R2 Checks. Received octets are checked with `check` or `check_key` of the type before anyone sees them. Malformed
///    samples are dropped, and counted in `malformed` of the type; later samples arrive.
/// R3 Keys. The check computes the key hash; `key_hash` and `info.instance_handle` have it. Hashes from a peer are not
///    used, with one exception: a dispose or unregistration may carry only a key hash, and then has no octets.
/// R4 Ends. A dispose, an unregistration and the end of the last writer of an instance change the instance's state.
///    If no sample of the instance is in the cache, take() returns one without valid data, with the key. It may also
///    return the end of an instance of which the filter has accepted no sample; the layer above drops it.
/// R5 Several readers of one topic in one participant each have their own filter, cache and callbacks.
class EngineReader {
 public:
  virtual ~EngineReader() = default;
  /// Clears `slots`, then takes samples into it, grouped by instance. Takes at most as many samples as the capacity of
  /// `slots`; the others stay in the reader. Returns NO_DATA if there are none. Returns OUT_OF_RESOURCES and takes
  /// nothing if memory is short or the capacity is 0. `info` has the writer's GUID, its source timestamp, the time of
  /// the reception, and the states; `lifespan` is the one of the writer.
  virtual DDS_ReturnCode_t take(std::vector<EngineSlot>& slots) = 0;
  /// R6 History. Waits until the cache has received all that the matched writers held for late joiners at the match, at
  /// most `timeout` nanoseconds (`never`: no limit). Then returns OK, and take() returns the history. Returns TIMEOUT
  /// if the history of one matched writer is incomplete, for example because its process is stopped; then a later wait
  /// may succeed. Returns BAD_PARAMETER for a negative time. With time 0 it only asks.
  virtual DDS_ReturnCode_t wait_for_historical_data(std::int64_t timeout) = 0;
  virtual DDS_InstanceHandle_t guid() const = 0;
  /// Returns the GUIDs of the matched writers.
  virtual std::vector<DDS_InstanceHandle_t> matched_publications() = 0;
};

enum class WriteKind { data, dispose, unregister };

/// W1 Own readers. When write() returns, the readers of the same participant have the sample, unless they ignore their
///    participant. Callbacks and filters of these readers may run on the writing thread.
/// W2 Order. A reliable reader gets the samples of a writer in the order of the writes, each sample once, with its
///    source timestamp.
/// W3 Keys. A dispose and an unregistration carry the key, with at least 16 octets after the header, and its hash.
///    Peers from other vendors need both. With autodispose_unregistered_instances an unregistration also disposes; the
///    end of a writer unregisters its instances.
/// W4 Blocking. write() blocks only for a reliable KEEP_ALL writer, while readers have not acknowledged some megabytes;
///    it returns TIMEOUT after max_blocking_time, and the sample is not sent. It continues when the readers
///    acknowledge, or are gone. A KEEP_LAST writer never blocks. A blocked write does not delay other writers and
///    readers.
/// W5 Pace. A reader that lacks samples, because they were lost or because it matched after the write, gets them after
///    some 10 ms, not after the 100 ms that are common. The first command after a match is such a sample, and a
///    controller waits for its reply. So a writer sends heartbeats every 10 ms while samples are not acknowledged; an
///    idle writer sends none.
/// W6 History. A transient-local writer keeps samples, and a late joiner gets them after the match: for each instance
///    as many as `durability_service.history_depth`, or if that is 0 those of its HISTORY.
/// W7 Batches. With `batch.enable` samples may wait until flush(), or until the engine's packet is full. Writers that
///    do not batch send at once, also if they were created beside others.
class EngineWriter {
 public:
  virtual ~EngineWriter() = default;
  /// Returns a sample with space for an encoding of `size` octets. The caller fills in `bytes` and `key_hash`. Returns
  /// null if memory is short.
  virtual EncodedSample* allocate(std::uint32_t size, bool key_only) = 0;
  /// Writes the sample with a source timestamp in nanoseconds since 1970 (W4: may block). Consumes the reference in
  /// every case. Returns BAD_PARAMETER if the sample is not one of allocate() or does not fit `kind`.
  virtual DDS_ReturnCode_t write(SampleRef sample, WriteKind kind, std::int64_t source_timestamp) = 0;
  /// Sends the batched samples. Returns OK if batching is off.
  virtual DDS_ReturnCode_t flush() = 0;
  /// Sends the batched samples, and waits until all matched reliable readers have acknowledged all samples, at most
  /// `timeout` nanoseconds (`never`: no limit). Returns TIMEOUT if one has not. Returns OK at once if the writer is
  /// best effort, and BAD_PARAMETER for a negative time.
  virtual DDS_ReturnCode_t wait_for_acknowledgments(std::int64_t timeout) = 0;
  virtual DDS_ReturnCode_t assert_liveliness() = 0;
  virtual DDS_InstanceHandle_t guid() const = 0;
  /// Returns the GUIDs of the matched readers.
  virtual std::vector<DDS_InstanceHandle_t> matched_subscriptions() = 0;
};

struct EngineProperty {
  std::string name;
  std::string value;
  bool propagate;
  bool operator==(const EngineProperty&) const = default;
};

struct EngineParticipantConfig {
  DDS_DomainId_t domain_id = 0;
  std::vector<std::uint8_t> user_data;
  std::string name;       // empty: none
  std::string role_name;  // sent as a propagated property
  std::vector<EngineProperty> properties;
  /// Names, addresses or patterns ("10.1.*") of the interfaces to use; empty: the engine chooses.
  std::vector<std::string> interfaces;
  bool multicast = false;
  /// Host names or addresses, each optionally with ":port". The engine always adds 127.0.0.1.
  std::vector<std::string> peers;
  std::int64_t lease_duration = 0;  // nanoseconds
  std::int64_t announcement_period = 0;
  int max_participant_index = 31;
  bool operator==(const EngineParticipantConfig&) const = default;
};

struct EngineWriterConfig {
  std::string topic;  // dots allowed
  const PRESTypePlugin* type = nullptr;
  DDS_DataWriterQos qos;
  bool ignore_own_participant = false;
};

struct EngineReaderConfig {
  std::string topic;
  const PRESTypePlugin* type = nullptr;
  DDS_DataReaderQos qos;
  bool ignore_own_participant = false;
  EngineFilter* filter = nullptr;  // null: accept every sample; must outlive the reader
};

/// The readers and writers of a participant must be destroyed before it.
///
/// P1 Independence. Each participant has its own threads, sockets, interfaces, peers, lease and ignored participants.
///    This holds also if several of one process are in one domain.
/// P2 Discovery. Participants of one machine discover each other without multicast, through the peer 127.0.0.1. Others
///    are found through the configured peers, and with `multicast` through multicast. A participant that is destroyed
///    leaves at once; one whose process was killed leaves within its lease.
/// P4 Matching. Readers and writers match if topic name, PRESTypePlugin::registered_name and QoS fit. A topic name of 1
///    to 255 characters is valid; dots are common. Names that differ in one character are different topics. The readers
///    and writers of one participant match each other, unless one of them has `ignore_own_participant`.
/// P5 Ignoring. After ignore() nothing of the remote participant is matched or delivered, also when it announces itself
///    again. Existing matches end on both sides, so that its reliable writers do not wait for us.
/// P6 Peers. add_peer() announces the participant to the address at once. remove_peer() ends the announcements; known
///    participants stay.
/// P7 Pauses. A remote process may be stopped for any time and then continue (a debugger, a suspended machine, a cut
///    network). Within one lease after its return both sides are usable again, without a restart and without a new
///    sample: matches, liveliness, data in both directions. Transient-local samples of the pause arrive. This also
///    holds if only one of the two sides has noticed the pause.
class EngineParticipant {
 public:
  virtual ~EngineParticipant() = default;
  virtual DDS_InstanceHandle_t guid() const = 0;
  /// Returns the number of the participant on this host and domain, which determines its ports.
  virtual int participant_index() const = 0;
  /// Returns the network interfaces in use, each as "name (address)".
  virtual std::vector<std::string> interfaces() const = 0;
  virtual DDS_ReturnCode_t create_writer(const EngineWriterConfig&, EngineWriterEvents*, std::unique_ptr<EngineWriter>&,
                                         std::string& error) = 0;
  virtual DDS_ReturnCode_t create_reader(const EngineReaderConfig&, EngineReaderEvents*, std::unique_ptr<EngineReader>&,
                                         std::string& error) = 0;
  /// Ignores all data and endpoints of that remote participant from now on (P3, P5). Returns BAD_PARAMETER for a handle
  /// that is not valid.
  virtual DDS_ReturnCode_t ignore(const DDS_InstanceHandle_t& remote_participant) = 0;
  /// Returns BAD_PARAMETER if the address cannot be resolved.
  virtual DDS_ReturnCode_t add_peer(const std::string& address) = 0;
  virtual DDS_ReturnCode_t remove_peer(const std::string& address) = 0;
};

class Engine {
 public:
  virtual ~Engine() = default;
  /// `events` may be null and must outlive the participant, like those of readers and writers. Returns BAD_PARAMETER
  /// for a configuration that cannot be used. A peer whose name cannot be resolved is left out with one log line.
  virtual DDS_ReturnCode_t create_participant(const EngineParticipantConfig&, EngineParticipantEvents*,
                                              std::unique_ptr<EngineParticipant>&, std::string& error) = 0;
};

/// Returns the engine in use: default_engine(), unless a test has replaced it.
Engine& engine();
/// Replaces the engine for objects that are created from now on; null restores the default engine. The caller owns
/// `engine`. For tests.
void set_engine(Engine* engine);

/// Returns the engine that the library was built with. The folder of that engine defines this function.
Engine& default_engine();

}  // namespace tessivar::platform
