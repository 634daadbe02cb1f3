// SPDX-License-Identifier: Apache-2.0

// A participant of Fast DDS on the loopback interface. Its readers and writers transport encodings.
#pragma once

#include "raw_type.h"
#include "samples.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>

namespace fastdds_peer {

/// Only a failing test waits that long.
constexpr std::chrono::seconds patience{20};

enum class State { alive, disposed, no_writers };

/// A received sample or state change of an instance. `encoding` is empty for a state change.
struct Arrival {
  Bytes encoding;
  KeyHash key_hash;  // as it was on the wire
  State state;
};

class Reader {
 public:
  /// Returns the next arrival that `wanted` accepts, and drops all others. Returns nothing after `at_most`.
  std::optional<Arrival> await(const std::function<bool(const Arrival&)>& wanted,
                               std::chrono::seconds at_most = patience);

  /// Returns how often Fast DDS computed a key hash because a received sample had none.
  int hashes_missing() const { return *hashes_asked_; }

 private:
  friend class FastDdsParticipant;
  eprosima::fastdds::dds::DataReader* reader_ = nullptr;
  std::shared_ptr<std::atomic<int>> hashes_asked_ = std::make_shared<std::atomic<int>>(0);
};

class Writer {
 public:
  bool await_match();
  bool write(Bytes encoding);

 private:
  friend class FastDdsParticipant;
  eprosima::fastdds::dds::DataWriter* writer_ = nullptr;
};

/// Deletes its readers and writers in its destructor. Only one thread may use it.
class FastDdsParticipant {
 public:
  /// Throws std::runtime_error if the participant cannot be made.
  explicit FastDdsParticipant(int domain);
  ~FastDdsParticipant();
  FastDdsParticipant(const FastDdsParticipant&) = delete;
  FastDdsParticipant& operator=(const FastDdsParticipant&) = delete;

  /// Reliable. If `history` is true, with the history of earlier samples.
  template <class Sample>
  Reader reader(const std::string& topic, bool history) {
    Reader reader;
    reader.reader_ =
        make_reader(this->topic(topic, Sample::type_name, Sample::key_hash, reader.hashes_asked_), history);
    return reader;
  }
  template <class Sample>
  Writer writer(const std::string& topic) {
    Writer writer;
    writer.writer_ = make_writer(this->topic(topic, Sample::type_name, Sample::key_hash, nullptr));
    return writer;
  }

 private:
  typedef std::shared_ptr<std::atomic<int>> Counter;

  eprosima::fastdds::dds::Topic* topic(const std::string& name, const std::string& type, KeyHash (*)(const Bytes&),
                                       Counter hashes_asked);
  eprosima::fastdds::dds::DataReader* make_reader(eprosima::fastdds::dds::Topic* topic, bool history);
  eprosima::fastdds::dds::DataWriter* make_writer(eprosima::fastdds::dds::Topic* topic);

  eprosima::fastdds::dds::DomainParticipant* participant_ = nullptr;
  eprosima::fastdds::dds::Subscriber* subscriber_ = nullptr;
  eprosima::fastdds::dds::Publisher* publisher_ = nullptr;
};

}  // namespace fastdds_peer
