// SPDX-License-Identifier: Apache-2.0

// The values of the samples that all coders encode and decode.
#pragma once

#include <cstdint>
#include <string>

namespace tessivar::bench {

constexpr const char* unit = "0001:02:0A";
constexpr std::uint32_t command_number = 17;
constexpr std::int32_t int_value = 1234;
constexpr const char* text_value = "a text of thirty-two characters.";

constexpr const char* metadata_name = "gain";
constexpr const char* metadata_description = "The gain of the camera's amplifier in decibels";
constexpr const char* metadata_urn = "urn:example:gain";
constexpr std::int32_t lowest = 0;
constexpr std::int32_t highest = 24;
constexpr unsigned options = 128;

constexpr const char* router_name = "central router";
constexpr unsigned matrices = 16;
constexpr unsigned levels = 32;
constexpr std::uint16_t level_size = 2000;
constexpr std::uint32_t associations = 1000;
constexpr const char* matrix_name = "video and audio";

constexpr const char* log_header = "temperature of the power supply";
constexpr const char* log_value = "71 degrees; the limit is 70 degrees";
constexpr std::int16_t log_state = 3;
constexpr unsigned latched_errors = 5;
constexpr unsigned masks = 10;
constexpr const char* time_text = "2024-03-01 12:00:00";
constexpr std::uint32_t duration = 3600;
constexpr const char* operator_name = "operator 7";
constexpr const char* mask_tag = "maintenance";
constexpr const char* log_title = "Power supply";
constexpr const char* log_path = "site 1/rack 7/frame 2/power supply 1";

/// The text of one option of a command, and the name of one level.
inline std::string numbered(const char* text, unsigned number) {
  return text + std::to_string(1000 + number);
}

}  // namespace tessivar::bench
