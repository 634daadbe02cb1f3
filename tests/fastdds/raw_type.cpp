// SPDX-License-Identifier: Apache-2.0

#include "raw_type.h"

#include <algorithm>
#include <cstdio>
#include <exception>

namespace fastdds_peer {

RawType::RawType(const std::string& name, KeyHash (*key_hash)(const Bytes&),
                 std::shared_ptr<std::atomic<int>> hashes_asked)
    : key_hash_(key_hash), hashes_asked_(std::move(hashes_asked)) {
  setName(name.c_str());
  m_typeSize = 64 * 1024;  // only the initial size: the memory policy allows larger samples
  m_isGetKeyDefined = true;
  auto_fill_type_information(false);
  auto_fill_type_object(false);
}

bool RawType::serialize(void* data, eprosima::fastrtps::rtps::SerializedPayload_t* payload) {
  const Bytes& bytes = *static_cast<Bytes*>(data);
  if (payload->max_size < bytes.size()) return false;
  std::copy(bytes.begin(), bytes.end(), payload->data);
  payload->length = static_cast<std::uint32_t>(bytes.size());
  payload->encapsulation = CDR_LE;
  return true;
}

bool RawType::deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload, void* data) {
  static_cast<Bytes*>(data)->assign(payload->data, payload->data + payload->length);
  return true;
}

std::function<std::uint32_t()> RawType::getSerializedSizeProvider(void* data) {
  return [data] { return static_cast<std::uint32_t>(static_cast<Bytes*>(data)->size()); };
}

bool RawType::getKey(void* data, eprosima::fastrtps::rtps::InstanceHandle_t* handle, bool) try {
  if (hashes_asked_) ++*hashes_asked_;
  const KeyHash hash = key_hash_(*static_cast<Bytes*>(data));
  std::copy(hash.begin(), hash.end(), &handle->value[0]);
  return true;
} catch (const std::exception& exception) {
  std::fprintf(stderr, "%s: no key hash: %s\n", getName(), exception.what());
  return false;
}

}  // namespace fastdds_peer
