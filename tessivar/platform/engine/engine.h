// SPDX-License-Identifier: Apache-2.0

// The interface between the DDS layer of the platform and the engine, which transports encoded samples.
//
// The DDS layer (typed samples, loans, handles, filters on decoded samples, batching limits, profiles) calls these
// interfaces. `cyclone/` implements them. A test can wrap an implementation to make any step fail, delay, drop or
// repeat. All data here is encoded: an engine never sees a typed sample.
//
// Threads: any thread may call every operation, unless the operation says otherwise. The engine calls callbacks on its
// own threads or on a thread that is inside one of its operations, with no lock of this library held. Nothing throws.
// Results are DDS return codes.
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

/// Decides which samples enter the cache of a reader. The engine calls it while it holds the lock of that reader's
/// cache, on a receive thread or on a thread that writes to a reader of its own participant. Therefore the filter must
/// not call that reader. Calls for one engine reader never overlap. The engine does not call it for disposes and
/// unregistrations.
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
  /// Reports that a remote participant was discovered or changed (`alive`), or is gone. A discovered participant is
  /// reported on the discovery thread before any of its endpoints is matched, so an ignore() inside the call excludes
  /// all its data and matches. `data` is valid during the call. Never called for the participant itself.
  virtual void participant_seen(const DDS_ParticipantBuiltinTopicData& data, const DDS_InstanceHandle_t& handle,
                                bool alive) = 0;

 protected:
  ~EngineParticipantEvents() = default;
};

/// A condition that a wait set waits for. Destroying it detaches it.
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
  /// wait() returns `cookie` if the condition is triggered. Returns PRECONDITION_NOT_MET if the condition is attached
  /// already.
  virtual DDS_ReturnCode_t attach(EngineCondition& condition, void* cookie) = 0;
  virtual DDS_ReturnCode_t detach(EngineCondition& condition) = 0;
  /// Waits at most `timeout` nanoseconds (`never`: no limit). `cookies` gets the cookies of the triggered conditions.
  /// Returns TIMEOUT if no condition was triggered.
  virtual DDS_ReturnCode_t wait(std::int64_t timeout, std::vector<void*>& cookies) = 0;
};

/// The destructor of a reader returns after the last callback and filter call of the reader has ended. Therefore a
/// callback or filter of a reader must not destroy it.
class EngineReader {
 public:
  virtual ~EngineReader() = default;
  /// Clears `slots`, then takes samples into it, grouped by instance. Takes at most as many samples as the capacity of
  /// `slots`; the others stay in the reader. Returns NO_DATA if there are none. Returns OUT_OF_RESOURCES and takes
  /// nothing if memory is short.
  virtual DDS_ReturnCode_t take(std::vector<EngineSlot>& slots) = 0;
  /// Waits until the history of the matched writers has been received, at most `timeout` nanoseconds (`never`: no
  /// limit).
  virtual DDS_ReturnCode_t wait_for_historical_data(std::int64_t timeout) = 0;
  virtual DDS_InstanceHandle_t guid() const = 0;
  /// Returns the GUIDs of the matched writers.
  virtual std::vector<DDS_InstanceHandle_t> matched_publications() = 0;
};

enum class WriteKind { data, dispose, unregister };

class EngineWriter {
 public:
  virtual ~EngineWriter() = default;
  /// Returns a sample with space for an encoding of `size` octets. The caller fills in `bytes` and `key_hash`. Returns
  /// null if memory is short.
  virtual EncodedSample* allocate(std::uint32_t size, bool key_only) = 0;
  /// Writes the sample with a source timestamp in nanoseconds since 1970. With a reliable KEEP_ALL writer it may block
  /// for max_blocking_time, and then returns TIMEOUT. Consumes the reference in every case.
  virtual DDS_ReturnCode_t write(SampleRef sample, WriteKind kind, std::int64_t source_timestamp) = 0;
  /// Sends the batched samples. Returns OK if batching is off.
  virtual DDS_ReturnCode_t flush() = 0;
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
  /// Ignores all data and endpoints of that remote participant from now on. Allowed inside participant_seen.
  virtual DDS_ReturnCode_t ignore(const DDS_InstanceHandle_t& remote_participant) = 0;
  /// Returns BAD_PARAMETER if the address cannot be resolved.
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
/// Replaces the engine for objects that are created from now on; null restores the default engine. The caller owns
/// `engine`. For tests.
void set_engine(Engine* engine);

/// Returns the engine that the library was built with. The folder of that engine defines this function.
Engine& default_engine();

}  // namespace tessivar::platform
