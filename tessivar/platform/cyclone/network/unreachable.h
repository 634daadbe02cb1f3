// The engine's lines about addresses that cannot be reached.
#pragma once

#include <string>
#include <string_view>

namespace tessivar::platform::cyclone {

/// The engine says for every packet that it could not send it, thousands of times while a network is down. True when
/// `line` is about that: then `text` is one line for the address, or empty when there was one within the last minute.
/// Thread-safe. Throws only when memory is short.
bool summarize_unreachable(std::string_view line, std::string& text);

}  // namespace tessivar::platform::cyclone
