// SPDX-License-Identifier: Apache-2.0

// The base class of the library's worker threads.
#pragma once

#include "tessivar/platform/export.h"

#include <memory>
#include <string>

namespace TessivarDDS {

/// Derive a class from it and override run(). start() and the destructor belong to one controlling thread.
class TESSIVAR_API TessivarThread {
 public:
  TessivarThread();
  /// Does the same as join().
  virtual ~TessivarThread();
  TessivarThread(const TessivarThread&) = delete;
  TessivarThread& operator=(const TessivarThread&) = delete;

  /// Starts the thread and returns when the thread runs. Does nothing if it was started before. If no thread can be
  /// created, logs an error; start() may then be called again.
  virtual void start();
  /// The work of the thread. An exception that leaves it is logged and ends the thread.
  virtual void run() = 0;

  /// Blocks the calling thread. A negative time does not block.
  static void sleep(int milliseconds);

 protected:
  /// The operating system shows `name`, cut to 15 characters.
  explicit TessivarThread(const std::string& name);
  /// Returns true after start() created a thread, until join() releases it.
  bool started() const;
  /// Waits until run() returns, and releases the thread. Does nothing if no thread was started. Does not wait if the
  /// thread calls this itself. The destructor of a derived class must make run() return and call join(), because the
  /// members of the derived class and its run() no longer exist in this class's destructor.
  void join();

 private:
  struct TESSIVAR_INTERNAL Private;
  std::unique_ptr<Private> private_;
};

}  // namespace TessivarDDS
