// SPDX-License-Identifier: Apache-2.0

// A topic type of Fast DDS whose samples are encodings; they are copied without change.
#pragma once

#include "cdr.h"

#include <atomic>
#include <memory>

#include <fastdds/dds/topic/TopicDataType.hpp>

namespace fastdds_peer {

class RawType : public eprosima::fastdds::dds::TopicDataType {
 public:
  /// `hashes_asked` counts the calls for a key hash. It may be null.
  RawType(const std::string& name, KeyHash (*key_hash)(const Bytes&), std::shared_ptr<std::atomic<int>> hashes_asked);

  bool serialize(void* data, eprosima::fastrtps::rtps::SerializedPayload_t* payload) override;
  bool deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload, void* data) override;
  std::function<std::uint32_t()> getSerializedSizeProvider(void* data) override;
  void* createData() override { return new Bytes; }
  void deleteData(void* data) override { delete static_cast<Bytes*>(data); }
  bool getKey(void* data, eprosima::fastrtps::rtps::InstanceHandle_t* handle, bool force_md5) override;

 private:
  KeyHash (*key_hash_)(const Bytes&);
  std::shared_ptr<std::atomic<int>> hashes_asked_;
};

}  // namespace fastdds_peer
