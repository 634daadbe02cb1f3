// SPDX-License-Identifier: Apache-2.0

// The implementation of the domain participant.
#pragma once

#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/detail/listener_slot.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/engine/engine.h"
#include "tessivar/platform/participant.h"
#include "tessivar/platform/participant/builtin_reader.h"

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

struct DDSDomainParticipant::Impl final : tessivar::platform::EngineParticipantEvents {
  /// A registered type. Topics, readers and writers keep pointers to its record.
  struct Type {
    PRESTypePlugin plugin;
    int users = 0;  // the number of topics that use it
  };
  struct Filter {
    DDSContentFilter* filter;
    int users = 0;  // the number of filtered topics that use it
  };

  Impl(DDS_DomainId_t domain, const DDS_DomainParticipantQos& participant_qos);
  ~Impl();

  DDS_ReturnCode_t enable() TESSIVAR_EXCLUDES(enabling, mutex);
  DDS_ReturnCode_t set_qos(const DDS_DomainParticipantQos& wanted_qos) TESSIVAR_EXCLUDES(mutex);
  DDS_ReturnCode_t register_type(const char* type_name, const PRESTypePlugin& plugin) TESSIVAR_EXCLUDES(mutex);
  DDS_ReturnCode_t set_parameters(DDSContentFilteredTopic& topic, const DDS_StringSeq& parameters)
      TESSIVAR_EXCLUDES(mutex);
  void participant_seen(const DDS_ParticipantBuiltinTopicData& data, const DDS_InstanceHandle_t& handle,
                        bool alive) override TESSIVAR_EXCLUDES(mutex);
  bool empty() const TESSIVAR_EXCLUDES(mutex);
  /// Deletes the reader with its read conditions and loans.
  DDS_ReturnCode_t destroy(DDSDataReader* reader) TESSIVAR_EXCLUDES(mutex);

  /// In a process that inherited the participant, its entities are not deleted, because the threads of the engine do
  /// not exist there.
  const tessivar::platform::MadeHere made_here = {};
  DDSDomainParticipant* self = nullptr;
  const DDS_DomainId_t domain_id;
  tessivar::platform::ListenerSlot<DDSDomainParticipantListener> listener;
  DDSPublisher* publisher = nullptr;
  DDSSubscriber* subscriber = nullptr;
  DDSSubscriber* builtin_subscriber = nullptr;
  DDSParticipantBuiltinTopicDataDataReader* builtin_reader = nullptr;
  std::atomic<bool> ignores_itself = false;
  const std::shared_ptr<tessivar::platform::EndpointList> endpoints =
      std::make_shared<tessivar::platform::EndpointList>();

  tessivar::platform::Mutex enabling TESSIVAR_ACQUIRED_BEFORE(mutex);
  std::unique_ptr<tessivar::platform::EngineParticipant> owned_engine TESSIVAR_GUARDED_BY(enabling);
  std::atomic<tessivar::platform::EngineParticipant*> engine = nullptr;  // null until enabled
  /// The engine has started, but the entities that were created before are not all enabled.
  bool enables_contained TESSIVAR_GUARDED_BY(enabling) = false;

  /// Creates the participant of the engine.
  DDS_ReturnCode_t start() TESSIVAR_REQUIRES(enabling) TESSIVAR_EXCLUDES(mutex);
  /// Enables the entities that were created before. Can be repeated after an exception.
  DDS_ReturnCode_t enable_contained() TESSIVAR_REQUIRES(enabling) TESSIVAR_EXCLUDES(mutex);

  /// Guards the members below. Not held while the engine or the application is called.
  mutable tessivar::platform::Mutex mutex;
  tessivar::platform::Condition changed;
  bool starting TESSIVAR_GUARDED_BY(mutex) = false;  // the engine is starting
  DDS_DomainParticipantQos qos TESSIVAR_GUARDED_BY(mutex);
  std::optional<DDS_TopicQos> default_topic_qos TESSIVAR_GUARDED_BY(mutex);
  std::optional<DDS_DataWriterQos> default_writer_qos TESSIVAR_GUARDED_BY(mutex);
  std::optional<DDS_DataReaderQos> default_reader_qos TESSIVAR_GUARDED_BY(mutex);
  std::map<std::string, std::unique_ptr<Type>, std::less<>> types TESSIVAR_GUARDED_BY(mutex);
  std::map<std::string, Filter, std::less<>> filters TESSIVAR_GUARDED_BY(mutex);
  std::vector<DDSTopic*> topics TESSIVAR_GUARDED_BY(mutex);
  std::vector<DDSContentFilteredTopic*> filtered_topics TESSIVAR_GUARDED_BY(mutex);
  std::vector<DDSDataWriter*> writers TESSIVAR_GUARDED_BY(mutex);
  std::vector<DDSDataReader*> readers TESSIVAR_GUARDED_BY(mutex);

  /// Prevents the deletion of an entity while the thread `by` uses it without the lock.
  struct Pin {
    const void* entity;
    std::thread::id by;
  };
  std::vector<Pin> pins TESSIVAR_GUARDED_BY(mutex);

  void pin(const void* entity) TESSIVAR_REQUIRES(mutex);
  void unpin(const void* entity) TESSIVAR_EXCLUDES(mutex);
  /// Waits until no other thread has pinned the entity. `lock` is a lock of `mutex`.
  void await_unpinned(tessivar::platform::UniqueMutexLock& lock, const void* entity) TESSIVAR_REQUIRES(mutex);
  DDSTopic* find_topic(std::string_view name) const TESSIVAR_REQUIRES(mutex);
  DDSContentFilteredTopic* find_filtered_topic(std::string_view name) const TESSIVAR_REQUIRES(mutex);
  bool autoenable() const TESSIVAR_EXCLUDES(mutex);
  /// Logs one line and returns true if the engine cannot create a reader or writer on this thread: in a filter, or in a
  /// callback if the new entity could match an entity that waits for the callback.
  bool cannot_enable_entity(const char* operation) const;
};
