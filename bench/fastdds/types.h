// SPDX-License-Identifier: Apache-2.0

// Types of Fast DDS whose samples have the same octets as those of the library.
#pragma once

#include <algorithm>
#include <cstdint>
#include <exception>
#include <fastcdr/Cdr.h>
#include <string>
#include <vector>

#include <fastdds/dds/topic/TopicDataType.hpp>
#include <fastrtps/utils/md5.h>

namespace tessivar::bench {

// `members` reads or writes all members, `keys` those of the key.

struct Value {
  std::string unit;
  std::uint32_t number = 0;
  std::uint32_t kind = 1;  // Int
  std::int32_t value = 0;

  static constexpr const char* type_name = "Bench::Command";
  void members(auto&& each) { each(unit, number, kind, value); }
  void keys(auto&& each) { each(unit, number); }
};

struct Request {
  std::vector<std::uint8_t> identity;
  std::uint16_t ticket = 0;
  Value wanted;
  std::uint64_t seconds = 0;
  std::uint32_t nanoseconds = 0;

  static constexpr const char* type_name = "Bench::Request";
  void members(auto&& each) {
    each(identity, ticket);
    wanted.members(each);
    each(seconds, nanoseconds);
  }
  void keys(auto&& each) { each(identity); }
};

struct Reply {
  std::vector<std::uint8_t> identity;
  std::uint16_t ticket = 0;
  std::uint32_t result = 0;

  static constexpr const char* type_name = "Bench::Reply";
  void members(auto&& each) { each(identity, ticket, result); }
  void keys(auto&& each) { each(identity); }
};

template <class T>
class Type : public eprosima::fastdds::dds::TopicDataType {
 public:
  Type() {
    setName(T::type_name);
    m_typeSize = 256;  // more than any of these samples
    m_isGetKeyDefined = true;
    auto_fill_type_information(false);
    auto_fill_type_object(false);
  }

  bool serialize(void* data, eprosima::fastrtps::rtps::SerializedPayload_t* payload) override {
    return guarded([&] {
      eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data), payload->max_size);
      Cdr cdr(buffer, Cdr::LITTLE_ENDIANNESS, Cdr::DDS_CDR);
      cdr.serialize_encapsulation();
      static_cast<T*>(data)->members([&cdr](auto&... member) { (cdr << ... << member); });
      payload->length = static_cast<std::uint32_t>(cdr.getSerializedDataLength());
      payload->encapsulation = CDR_LE;
    });
  }
  bool deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload, void* data) override {
    return guarded([&] {
      eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data), payload->length);
      Cdr cdr(buffer, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
      cdr.read_encapsulation();
      static_cast<T*>(data)->members([&cdr](auto&... member) { (cdr >> ... >> member); });
    });
  }
  std::function<std::uint32_t()> getSerializedSizeProvider(void*) override {
    return [size = m_typeSize] { return size; };
  }
  void* createData() override { return new T; }
  void deleteData(void* data) override { delete static_cast<T*>(data); }
  bool getKey(void* data, eprosima::fastrtps::rtps::InstanceHandle_t* handle, bool) override {
    return guarded([&] {
      char octets[128] = {};
      eprosima::fastcdr::FastBuffer buffer(octets, sizeof octets);
      Cdr cdr(buffer, Cdr::BIG_ENDIANNESS, Cdr::DDS_CDR);
      static_cast<T*>(data)->keys([&cdr](auto&... member) { (cdr << ... << member); });
      MD5 md5;
      md5.init();
      md5.update(octets, static_cast<MD5::size_type>(cdr.getSerializedDataLength()));
      md5.finalize();
      std::copy(std::begin(md5.digest), std::end(md5.digest), &handle->value[0]);
    });
  }

 private:
  using Cdr = eprosima::fastcdr::Cdr;

  static bool guarded(auto&& work) {
    try {
      work();
      return true;
    } catch (const std::exception&) {
      return false;  // Fast DDS reports it
    }
  }
};

}  // namespace tessivar::bench
