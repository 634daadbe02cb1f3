// SPDX-License-Identifier: Apache-2.0

// A worker thread of the library.
#pragma once

#include "tessivar/platform/export.h"

#include <memory>
#include <string>

namespace TessivarDDS {

/// Derive from it and put the thread's work into run(). start() and the destructor belong to one controlling thread.
class TESSIVAR_API TessivarThread {
 public:
  TessivarThread();
  /// As join().
  virtual ~TessivarThread();
  TessivarThread(const TessivarThread&) = delete;
  TessivarThread& operator=(const TessivarThread&) = delete;

  /// Starts the thread and returns once it has begun; nothing when it was started before. When no thread can be had it
  /// logs an error, and may be called again.
  virtual void start();
  /// The thread's work. An exception that leaves it is logged and ends the thread.
  virtual void run() = 0;

  /// Blocks the calling thread, whichever it is; a negative time does not.
  static void sleep(int milliseconds);

 protected:
  /// `name` is what the operating system shows, cut to 15 characters.
  explicit TessivarThread(const std::string& name);
  /// There is a thread: start() made one and join() has not given it back.
  bool started() const;
  /// Waits for run() to return and gives the thread back; nothing when none was started, no waiting on the thread
  /// itself. A derived class makes run() return and calls this in its own destructor: by the time of this one's its
  /// members, and its run(), are gone.
  void join();

 private:
  struct TESSIVAR_INTERNAL Private;
  std::unique_ptr<Private> private_;
};

}  // namespace TessivarDDS
