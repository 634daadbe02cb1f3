// SPDX-License-Identifier: Apache-2.0

// Sends the engine's log to the platform's log, or captures it as the reason of a failed call.
#pragma once

#include <string>

namespace tessivar::platform::cyclone {

/// From the first object on, the engine's log lines go to the platform's log. While an object exists, it keeps the
/// lines that the engine logs on this thread. Its destructor sends these lines to the platform's log, except errors and
/// warnings that text() has returned. Objects can be nested.
class EngineLogCapture {
 public:
  EngineLogCapture();
  ~EngineLogCapture();
  EngineLogCapture(const EngineLogCapture&) = delete;
  EngineLogCapture& operator=(const EngineLogCapture&) = delete;

  /// Returns the errors and warnings so far, each preceded by "; ". The text is empty if there were none.
  std::string text() const;

 private:
  friend class EngineLogSink;
  struct Lines;
  Lines* lines_;
  EngineLogCapture* outer_;
};

}  // namespace tessivar::platform::cyclone
