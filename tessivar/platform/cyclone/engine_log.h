// What the engine logs: as lines of the platform's log, or as the reason of a call that failed.
#pragma once

#include <string>

namespace tessivar::platform::cyclone {

/// Sends the engine's log to the platform's, from the first call on.
void redirect_engine_log();

/// While it lives, what the engine logs on this thread is kept here. What nobody asked for goes to the platform's log
/// in the end. They nest.
class EngineLogCapture {
 public:
  EngineLogCapture();
  ~EngineLogCapture();
  EngineLogCapture(const EngineLogCapture&) = delete;
  EngineLogCapture& operator=(const EngineLogCapture&) = delete;

  /// The errors and warnings so far, each preceded by "; ". Empty when there were none.
  std::string text() const;

 private:
  friend class EngineLogSink;
  struct Lines;
  Lines* lines_;
  EngineLogCapture* outer_;
};

}  // namespace tessivar::platform::cyclone
