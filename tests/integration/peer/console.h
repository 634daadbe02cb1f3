// SPDX-License-Identifier: Apache-2.0

// How a peer communicates with its test: each input line is a command, each output line that begins with "@ " is an
// event.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace tessivar::testing {

/// Also writes the library's log to standard output, so that lines do not mix.
void install_console();

/// Writes one event at once. Any thread may call it.
void write_event(const std::string& text);

/// Writes the words, separated by blanks, as one event.
template <class... Pieces>
void event(const Pieces&... pieces) {
  std::ostringstream line;
  const char* blank = "";
  ((line << blank << pieces, blank = " "), ...);
  write_event(line.str());
}

typedef std::vector<std::string> Words;

inline unsigned number(const std::string& text) {
  return static_cast<unsigned>(std::stoul(text));
}

/// The role of a peer: executes commands.
class Role {
 public:
  virtual ~Role() = default;
  /// `words` begins with the command's name. Returns true if the command succeeded.
  virtual bool perform(const Words& words) = 0;
};

}  // namespace tessivar::testing
