// SPDX-License-Identifier: Apache-2.0

// The seam between the DDS face and the engine that moves encoded samples.
//
// The face (typed samples, loans, handles, filters on decoded samples, batching limits, profiles) calls these
// interfaces; `cyclone/` implements them; a test wraps an implementation to make any step fail, delay, drop or repeat.
// Everything here is about encoded bytes: an engine never sees a typed sample.
//
// Threads: every operation may be called from any thread unless it says otherwise. Callbacks come on the engine's
// threads with no lock of this library held. Nothing throws. Results are DDS return codes.
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

/// One encoded sample or key, shared by count; immutable once it has been written or received.
struct EncodedSample {
  std::uint8_t* bytes;  // encapsulation header and CDR; null for a key of which only the hash is known
  std::uint32_t size;   // without padding at the end
  bool key_only;        // a dispose or unregistration: the key members alone
  std::uint8_t key_hash[16];
  std::int64_t reception_time;  // nanoseconds since 1970, 0 for one that was never received
  void (*retain)(EncodedSample*);
  void (*release)(EncodedSample*);
};

/// Owns one count of an EncodedSample.
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

/// The engine's own number of an instance or an endpoint; 0 is none.
typedef std::uint64_t EngineHandle;

/// What a reader yields for one sample. `info.instance_handle` is filled from the key hash.
struct EngineSlot {
  SampleRef sample;
  DDS_SampleInfo info = {};
  std::int64_t lifespan = INT64_MAX;  // how long the sample is valid after its reception, in nanoseconds
};

/// Decides at the reader's side which samples enter its cache. Called on receive threads while the engine holds the
/// lock of that reader's cache: it must not call into that reader. Calls for one reader never overlap. Not asked about
/// disposes and unregistrations.
class EngineFilter {
 public:
  virtual bool accepts(const EncodedSample& sample, EngineHandle instance, const DDS_FilterSampleInfo& info) = 0;

 protected:
  ~EngineFilter() = default;
};

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
  /// A remote participant was discovered or changed (`alive`), or is gone. On the discovery thread, before any of its
  /// endpoints is matched: an ignore() from inside the call keeps all its data and matches out. `data` is valid during
  /// the call. Never called for the participant itself.
  virtual void participant_seen(const DDS_ParticipantBuiltinTopicData& data, const DDS_InstanceHandle_t& handle,
                                bool alive) = 0;

 protected:
  ~EngineParticipantEvents() = default;
};

/// Something that a wait set waits for. Destroying it detaches it.
class EngineCondition {
 public:
  virtual ~EngineCondition() = default;
  virtual bool triggered() const = 0;
};

class EngineGuardCondition : public EngineCondition {
 public:
  virtual DDS_ReturnCode_t set_trigger(bool value) = 0;
};

class EngineWaitSet {
 public:
  virtual ~EngineWaitSet() = default;
  /// `cookie` comes back from wait(); PRECONDITION_NOT_MET when it is attached already.
  virtual DDS_ReturnCode_t attach(EngineCondition& condition, void* cookie) = 0;
  virtual DDS_ReturnCode_t detach(EngineCondition& condition) = 0;
  /// Cookies of the triggered conditions; TIMEOUT when none triggered in `timeout` nanoseconds (`never`: no limit).
  virtual DDS_ReturnCode_t wait(std::int64_t timeout, std::vector<void*>& cookies) = 0;
};

/// Destroying a reader ends its callbacks and filter calls before it returns; not from inside one of them.
class EngineReader {
 public:
  virtual ~EngineReader() = default;
  /// Takes samples into `slots` (cleared first), grouped by instance: as many as its capacity has room for; the others
  /// stay. NO_DATA when there are none. OUT_OF_RESOURCES when memory is short: nothing was taken.
  virtual DDS_ReturnCode_t take(std::vector<EngineSlot>& slots) = 0;
  /// Waits until the history that the matched writers held has been received, nanoseconds or `never`.
  virtual DDS_ReturnCode_t wait_for_historical_data(std::int64_t timeout) = 0;
  virtual DDS_InstanceHandle_t guid() const = 0;
  /// GUIDs of the matched writers.
  virtual std::vector<DDS_InstanceHandle_t> matched_publications() = 0;
};

enum class WriteKind { data, dispose, unregister };

class EngineWriter {
 public:
  virtual ~EngineWriter() = default;
  /// Room for an encoding of `size` octets; the caller fills `bytes` and `key_hash`. Null when memory is short.
  virtual EncodedSample* allocate(std::uint32_t size, bool key_only) = 0;
  /// Writes it, with a source timestamp in nanoseconds since 1970. Blocks a reliable KEEP_ALL writer for its
  /// max_blocking_time at the longest, then TIMEOUT. Consumes the count in every case.
  virtual DDS_ReturnCode_t write(SampleRef sample, WriteKind kind, std::int64_t source_timestamp) = 0;
  /// Sends what is batched. OK without batching.
  virtual DDS_ReturnCode_t flush() = 0;
  virtual DDS_ReturnCode_t wait_for_acknowledgments(std::int64_t timeout) = 0;
  virtual DDS_ReturnCode_t assert_liveliness() = 0;
  virtual DDS_InstanceHandle_t guid() const = 0;
  /// GUIDs of the matched readers.
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
  std::string role_name;  // travels as a propagated property
  std::vector<EngineProperty> properties;
  /// Names, addresses or patterns ("10.1.*") of the interfaces to use; empty: the engine's choice.
  std::vector<std::string> interfaces;
  bool multicast = false;
  /// Host names or addresses, each optionally with ":port". 127.0.0.1 is always among them.
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
  EngineFilter* filter = nullptr;  // null: every sample; outlives the reader
};

/// Destroy its readers and writers first.
class EngineParticipant {
 public:
  virtual ~EngineParticipant() = default;
  virtual DDS_InstanceHandle_t guid() const = 0;
  /// The participant's number on this host and domain, from which its ports follow.
  virtual int participant_index() const = 0;
  /// The network interfaces in use, each as "name (address)".
  virtual std::vector<std::string> interfaces() const = 0;
  virtual DDS_ReturnCode_t create_writer(const EngineWriterConfig&, EngineWriterEvents*, std::unique_ptr<EngineWriter>&,
                                         std::string& error) = 0;
  virtual DDS_ReturnCode_t create_reader(const EngineReaderConfig&, EngineReaderEvents*, std::unique_ptr<EngineReader>&,
                                         std::string& error) = 0;
  /// From now on nothing of that remote participant gets through. Allowed inside participant_seen.
  virtual DDS_ReturnCode_t ignore(const DDS_InstanceHandle_t& remote_participant) = 0;
  /// BAD_PARAMETER for an address that cannot be resolved.
  virtual DDS_ReturnCode_t add_peer(const std::string& address) = 0;
  virtual DDS_ReturnCode_t remove_peer(const std::string& address) = 0;
};

class Engine {
 public:
  virtual ~Engine() = default;
  virtual DDS_ReturnCode_t create_participant(const EngineParticipantConfig&, EngineParticipantEvents*,
                                              std::unique_ptr<EngineParticipant>&, std::string& error) = 0;
  virtual std::unique_ptr<EngineGuardCondition> create_guard_condition() = 0;
  virtual std::unique_ptr<EngineWaitSet> create_wait_set() = 0;
};

/// Returns the engine in use: default_engine(), unless a test has replaced it.
Engine& engine();
/// Replaces the engine for what is created from now on; null restores the real one. Not owned. For tests.
void set_engine(Engine* engine);

/// Returns the engine that the library was built with. Defined by the folder of that engine.
Engine& default_engine();

}  // namespace tessivar::platform
