// SPDX-License-Identifier: Apache-2.0

// How a peer talks to the test that started it: one line in is a command, one line out beginning with "@ " an event.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace tessivar::testing {

/// Has the library's messages written to standard output too, so that no two lines mix.
void install_console();

/// Writes one event at once. Any thread.
void write_event(const std::string& text);

/// The pieces, parted by blanks, as one event.
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

/// What a peer does with the commands it is given.
class Role {
 public:
  virtual ~Role() = default;
  /// `words` begins with the command's name; true when it succeeded.
  virtual bool perform(const Words& words) = 0;
};

}  // namespace tessivar::testing
