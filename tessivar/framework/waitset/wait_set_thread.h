// SPDX-License-Identifier: Apache-2.0

// The thread that serves a service's readers.
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
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace TessivarDDS {

/// Waits for samples of any number of readers and calls the runner of the reader that has some, one runner at a time,
/// so that all sample handling of a service is on one thread.
///
/// create(), attach runners, start(), …, stop(); afterwards create() may begin anew. create(), start() and stop()
/// belong to one controlling thread. Any thread may call attachRunner() and detachRunner(), also while this one runs;
/// they wait for a runner that is at work, and are refused within one. A failure logs one line and returns false.
///
/// A runner that is ready when a wait ends is served then or when the next wait ends, however busy others are: each
/// time the runners that were ready before and had to wait, or else one, are served, with one read each.
///
/// A derived class that overrides run() returns from it soon after stopRequested() and calls stop() in its own
/// destructor. In a process that inherited the object by fork(), stop() and the destructor only abandon it.
class TESSIVAR_API WaitSetThread : public TessivarThread {
 public:
  /// `name` is what the operating system shows, cut to 15 characters.
  explicit WaitSetThread(const std::string& name = "TessivarThread");
  /// As stop().
  ~WaitSetThread() override;

  /// Makes the wait set and the condition that ends the thread; nothing when they exist.
  bool create();
  /// Serves the runner from now on. Owned runners are deleted when they are detached, by detachRunner() or stop(); not
  /// when attaching fails. The reader must outlive the time that its runner is attached.
  bool attachRunner(WaitSetThreadRunnerBase* runner, bool owned);
  /// The same for an owned runner, which is deleted also when attaching fails.
  bool attachRunner(std::unique_ptr<WaitSetThreadRunnerBase> runner);
  /// Detaches the first runner of that reader, which may then be deleted. False when there is none.
  bool detachRunner(DDSDataReader* reader);
  /// Runs `task` on the thread, between two runners, in the order of posting. Never blocks; any thread, also a runner.
  /// An exception is logged. Tasks that have not begun when the thread is stopped are dropped. False, and nothing runs,
  /// without create().
  bool post(std::function<void()> task);
  void start() override;
  void run() override;
  /// Ends the thread, waits until run() has returned or thrown, and detaches all runners. Fine in any state. Called
  /// from within a runner it only asks the thread to end: stop() by another thread, or the destructor, does the rest.
  void stop();

  /// True on the thread itself: within a runner.
  bool isCurrent() const;
  /// The one whose run() the calling thread executes, to be compared only; null if there is none.
  static const WaitSetThread* current();
  const std::string& name() const { return name_; }

 protected:
  /// Returns true once stop() was called, until the next create().
  bool stopRequested() const;

 private:
  struct Entry {
    WaitSetThreadRunnerBase* runner;
    bool owned;
  };

  void serve(const DDSConditionSeq& active);
  /// Calls the runner of a triggered condition. Returns false if it has none.
  bool serve(DDSCondition* condition);
  void runPosted();
  void release(const Entry& entry);
  void abandon();
  bool refusedWithinRunner(const char* signature) const;

  const std::string name_;
  std::unique_ptr<DDSWaitSet> waitSet_;
  std::unique_ptr<DDSGuardCondition> quit_;
  std::unique_ptr<DDSGuardCondition> posted_;
  std::vector<std::function<void()>> tasks_;
  tessivar::platform::Mutex tasksLock_;  // of posted_ and tasks_; not held while a task runs
  std::vector<Entry> runners_;
  TessivarMutex runnersLock_;
  std::vector<DDSCondition*> passedOver_;  // triggered at the last wait and not served; only compared
  std::vector<DDSCondition*> waiting_;
  std::atomic<bool> running_{false};  // run() is being executed, by whatever thread
  std::atomic<std::thread::id> thread_{};
  std::atomic<std::thread::id> serving_{};  // the thread that holds runnersLock_ for a runner
  tessivar::platform::MadeHere madeHere_;
};

}  // namespace TessivarDDS
