// SPDX-License-Identifier: Apache-2.0

// The thread that serves the readers of a service.
#pragma once

#include "tessivar/framework/sync/sync.h"
#include "tessivar/framework/sync/thread.h"
#include "tessivar/framework/waitset/wait_set_thread_runner.h"
#include "tessivar/platform/condition.h"
#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/mutex.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace TessivarDDS {

/// Waits for samples of any number of readers. When a reader has samples, the thread calls the runner of this reader.
/// It calls one runner at a time, so that one thread processes all samples of a service.
///
/// Order of calls: create(), attach runners, start(), …, stop(); after that create() may be called again. create(),
/// start() and stop() belong to one controlling thread. Any thread may call attachRunner() and detachRunner(), also
/// while this thread runs. They wait for a runner that is being called, and are refused within a runner. A failure logs
/// one line and returns false.
///
/// After each wait, the thread serves all runners that were ready at the previous wait but were not served. If there
/// are none, it serves one runner. Each served runner reads once. Therefore a ready runner is served after this wait or
/// after the next wait, even if other runners are always ready.
///
/// A derived class that overrides run() must return from run() soon after stopRequested() returns true, and must call
/// stop() in its own destructor. In a process that inherited the object by fork(), stop() and the destructor only
/// abandon it.
class TESSIVAR_API WaitSetThread : public TessivarThread {
 public:
  /// The operating system shows `name`, cut to 15 characters.
  explicit WaitSetThread(const std::string& name = "TessivarThread");
  /// Does the same as stop().
  ~WaitSetThread() override;

  /// Creates the wait set and the condition that ends the thread. Does nothing if they exist.
  bool create();
  /// Serves the runner from now on. detachRunner() or stop() deletes an owned runner when it is detached. If attaching
  /// fails, the runner is not deleted. The reader must live until its runner is detached.
  bool attachRunner(WaitSetThreadRunnerBase* runner, bool owned);
  /// The same for an owned runner. The runner is also deleted if attaching fails.
  bool attachRunner(std::unique_ptr<WaitSetThreadRunnerBase> runner);
  /// Detaches the first runner of this reader. After that the reader may be deleted. Returns false if there is no
  /// runner.
  bool detachRunner(DDSDataReader* reader);
  /// Runs `task` on the thread, between two runners, in the order of the calls. Never blocks. Any thread may call this,
  /// also a runner. An exception is logged. When the thread is stopped, tasks that have not begun are dropped. Without
  /// create(), it returns false and `task` does not run.
  bool post(std::function<void()> task);
  void start() override;
  void run() override;
  /// Ends the thread, waits until run() has ended, and detaches all runners. May be called in any state. Within a
  /// runner it only asks the thread to end: stop() on another thread, or the destructor, does the rest.
  void stop();

  /// Returns true if the calling thread is this thread, for example within a runner.
  bool isCurrent() const;
  /// Returns the object whose run() the calling thread executes, or null if there is none. Use the pointer only for
  /// comparisons.
  static const WaitSetThread* current();
  const std::string& name() const { return name_; }

 protected:
  /// Returns true before the first create(), and after stop() until the next create().
  bool stopRequested() const;

 private:
  struct Entry {
    WaitSetThreadRunnerBase* runner;
    bool owned;
  };

  void serve(const DDSConditionSeq& active);
  /// Calls the runner of a triggered condition. Returns false if it has no runner.
  bool serve(DDSCondition* condition);
  void runPosted();
  void release(const Entry& entry);
  void abandon();
  bool refusedWithinRunner(const char* signature) const;

  const std::string name_;
  std::unique_ptr<DDSWaitSet> waitSet_;
  std::unique_ptr<DDSGuardCondition> quit_;
  std::unique_ptr<DDSGuardCondition> posted_;
  tessivar::platform::Mutex tasksLock_;  // also held while posted_ changes; not held while a task runs
  std::vector<std::function<void()>> tasks_ TESSIVAR_GUARDED_BY(tasksLock_);
  std::vector<Entry> runners_;
  TessivarMutex runnersLock_;
  std::vector<DDSCondition*> passedOver_;  // triggered at the last wait but not served; only compared
  std::vector<DDSCondition*> waiting_;
  std::atomic<bool> running_{false};  // a thread executes run()
  std::atomic<std::thread::id> thread_{};
  std::atomic<std::thread::id> serving_{};  // the thread that holds runnersLock_ for a runner
  tessivar::platform::MadeHere madeHere_;
};

}  // namespace TessivarDDS
