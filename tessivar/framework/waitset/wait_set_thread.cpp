// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/waitset/wait_set_thread.h"

#include "tessivar/framework/log/detail/guarded.h"
#include "tessivar/framework/log/logger.h"

#include <algorithm>
#include <utility>

namespace TessivarDDS {
namespace {

constexpr const char* attach_signature =
    "bool __cdecl TessivarDDS::WaitSetThread::attachRunner(class TessivarDDS::WaitSetThreadRunnerBase *,bool)";
constexpr const char* detach_signature = "bool __cdecl TessivarDDS::WaitSetThread::detachRunner(class DDSDataReader *)";
constexpr const char* run_signature = "void __cdecl TessivarDDS::WaitSetThread::run(void)";

constexpr int wait_milliseconds = 1000;
constexpr int stop_poll_milliseconds = 50;

thread_local const WaitSetThread* current_thread = nullptr;

}  // namespace

WaitSetThread::WaitSetThread(const std::string& name) : TessivarThread(name), name_(name) {}

WaitSetThread::~WaitSetThread() {
  stop();
}

bool WaitSetThread::create() {
  if (!waitSet_) {
    auto waitSet = std::make_unique<DDSWaitSet>();
    auto quit = std::make_unique<DDSGuardCondition>();
    auto posted = std::make_unique<DDSGuardCondition>();
    DDS_ReturnCode_t code = waitSet->attach_condition(quit.get());
    if (code == DDS_RETCODE_OK) code = waitSet->attach_condition(posted.get());
    if (code != DDS_RETCODE_OK) {
      logError() << "bool __cdecl TessivarDDS::WaitSetThread::create(void)"
                 << " Failed to attach the quit condition. Error code: " << code;
      return false;
    }
    waitSet_ = std::move(waitSet);
    quit_ = std::move(quit);
    madeHere_ = {};
    const tessivar::platform::MutexLock lock(tasksLock_);
    posted_ = std::move(posted);
  }
  return true;
}

bool WaitSetThread::refusedWithinRunner(const char* signature) const {
  if (serving_.load() != std::this_thread::get_id()) return false;
  logError() << signature << " Not possible within a runner of this thread: call it on another thread.";
  return true;
}

bool WaitSetThread::attachRunner(WaitSetThreadRunnerBase* runner, bool owned) {
  if (!runner || refusedWithinRunner(attach_signature)) return false;
  DDSDataReader* const reader = runner->reader();
  if (!reader) {
    logError() << attach_signature << "No reader attached to the runner.";
    return false;
  }
  if (!waitSet_ || !quit_) {
    logError() << attach_signature << "WaitSetThread::create() not called";
    return false;
  }
  const auto create =
      runner->settings().everyChange ? &DDSDataReader::create_change_conditionI : &DDSDataReader::create_readcondition;
  DDSReadCondition* const condition =
      (reader->*create)(runner->sampleStateMask(), runner->viewStateMask(), runner->instanceStateMask());
  if (!condition) {
    logError() << attach_signature << "Failed to create read condition";
    return false;
  }
  // The lock is held before the condition can trigger, so that the thread always finds the runner of a condition.
  const ScopedLock lock(runnersLock_);
  const DDS_ReturnCode_t code = waitSet_->attach_condition(condition);
  if (code != DDS_RETCODE_OK) {
    logError() << attach_signature << "Failed to attach read condition. Error code: " << code;
    reader->delete_readcondition(condition);
    return false;
  }
  runner->readCondition_ = condition;
  runners_.push_back({runner, owned});
  return true;
}

bool WaitSetThread::attachRunner(std::unique_ptr<WaitSetThreadRunnerBase> runner) {
  if (!attachRunner(runner.get(), true)) return false;
  static_cast<void>(runner.release());  // the thread owns it
  return true;
}

bool WaitSetThread::detachRunner(DDSDataReader* reader) {
  if (refusedWithinRunner(detach_signature)) return false;
  const ScopedLock lock(runnersLock_);
  const auto entry = std::find_if(runners_.begin(), runners_.end(),
                                  [reader](const Entry& candidate) { return candidate.runner->reader() == reader; });
  if (entry == runners_.end()) return false;
  release(*entry);
  runners_.erase(entry);
  return true;
}

void WaitSetThread::release(const Entry& entry) {
  tessivar::framework::guarded(
      "void __cdecl TessivarDDS::WaitSetThread::release(const struct TessivarDDS::WaitSetThread::Entry &)",
      [&] { entry.runner->cleanUpReader(); });
  if (entry.owned) delete entry.runner;
}

void WaitSetThread::start() {
  if (!waitSet_ || !quit_) {
    logError() << "void __cdecl TessivarDDS::WaitSetThread::start(void)"
               << "WaitSetThread::create() not called before calling start. Thread will not be started.";
    return;
  }
  TessivarThread::start();
}

bool WaitSetThread::stopRequested() const {
  return !quit_ || quit_->get_trigger_value();
}

const WaitSetThread* WaitSetThread::current() {
  return current_thread;
}

bool WaitSetThread::isCurrent() const {
  return thread_.load() == std::this_thread::get_id();
}

void WaitSetThread::run() {
  if (!waitSet_ || !quit_) {
    logError() << run_signature << "WaitSetThread::create() not called.";
    return;
  }
  struct Running {
    explicit Running(WaitSetThread& owner) : thread(owner) {
      thread.running_ = true;
      thread.thread_ = std::this_thread::get_id();
      current_thread = &thread;
    }
    ~Running() {
      current_thread = nullptr;
      thread.thread_ = std::thread::id();
      thread.running_ = false;
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    WaitSetThread& thread;
  } const running(*this);
  DDSConditionSeq active;
  const DDS_Duration_t timeout = DDS_Duration_from_millis(wait_milliseconds);
  while (!stopRequested()) {
    const DDS_ReturnCode_t code = waitSet_->wait(active, timeout);
    if (code == DDS_RETCODE_TIMEOUT) continue;
    if (code != DDS_RETCODE_OK) {
      logWarning() << run_signature << "Wait set returned an error code:  " << code;
      // If a wait fails immediately, the loop must not use all processor time.
      TessivarThread::sleep(stop_poll_milliseconds);
      continue;
    }
    if (active.length() == 0) logError() << run_signature << "Wait timed out!! No conditions triggered.";
    serve(active);
  }
  logDebug() << run_signature << "Quit condition was triggered!";
  logDebug() << run_signature << "WaitSetThread::run() terminated";
}

void WaitSetThread::serve(const DDSConditionSeq& active) {
  bool served = false;
  waiting_.clear();
  for (DDS_Long i = 0; i < active.length(); ++i) {
    if (stopRequested()) return;
    if (std::find(passedOver_.begin(), passedOver_.end(), active[i]) == passedOver_.end()) {
      waiting_.push_back(active[i]);
    } else if (serve(active[i])) {
      served = true;
    }
  }
  // Otherwise one runner is served after each wait. The other conditions are still triggered at the next wait.
  while (!served && !waiting_.empty()) {
    served = serve(waiting_.front());
    waiting_.erase(waiting_.begin());
  }
  passedOver_.swap(waiting_);
}

bool WaitSetThread::post(std::function<void()> task) {
  const tessivar::platform::MutexLock lock(tasksLock_);
  if (!posted_) return false;
  tasks_.push_back(std::move(task));
  return posted_->set_trigger_value(DDS_BOOLEAN_TRUE) == DDS_RETCODE_OK;
}

void WaitSetThread::runPosted() {
  std::vector<std::function<void()>> tasks;
  {
    const tessivar::platform::MutexLock lock(tasksLock_);
    posted_->set_trigger_value(DDS_BOOLEAN_FALSE);
    tasks.swap(tasks_);
  }
  for (const auto& task : tasks) tessivar::framework::guarded(run_signature, task);
}

bool WaitSetThread::serve(DDSCondition* condition) {
  if (condition == posted_.get()) {
    runPosted();
    return true;
  }
  {
    // Not a ScopedLock, because a ScopedLock delays the messages of the runner.
    struct Serving {
      explicit Serving(WaitSetThread& owner) : thread(owner) {
        thread.runnersLock_.lock(-1);
        thread.serving_ = std::this_thread::get_id();
      }
      ~Serving() {
        thread.serving_ = std::thread::id();
        thread.runnersLock_.unlock();
      }
      Serving(const Serving&) = delete;
      Serving& operator=(const Serving&) = delete;
      WaitSetThread& thread;
    } const serving(*this);
    const auto entry = std::find_if(runners_.begin(), runners_.end(), [condition](const Entry& candidate) {
      return candidate.runner->readCondition() == condition;
    });
    if (entry != runners_.end()) {
      tessivar::framework::guarded(run_signature, [&] { entry->runner->processData(); });
      return true;
    }
  }
  logWarning() << run_signature << "Could not find thread runner for read condition";
  return false;
}

void WaitSetThread::stop() {
  if (madeHere_.inherited()) return abandon();
  if (quit_) quit_->set_trigger_value(DDS_BOOLEAN_TRUE);
  if (isCurrent()) return;
  while (running_) TessivarThread::sleep(stop_poll_milliseconds);
  join();
  {
    const ScopedLock lock(runnersLock_);
    for (const Entry& entry : runners_) release(entry);
    runners_.clear();
  }
  waitSet_.reset();
  quit_.reset();
  const tessivar::platform::MutexLock lock(tasksLock_);
  posted_.reset();
  tasks_.clear();
}

void WaitSetThread::abandon() {
  join();  // join() does not wait in this process
  runners_.clear();
  static_cast<void>(waitSet_.release());
  static_cast<void>(quit_.release());
  {
    const tessivar::platform::MutexLock lock(tasksLock_);
    static_cast<void>(posted_.release());
    tasks_.clear();
  }
  running_ = false;
  thread_ = std::thread::id();
}

}  // namespace TessivarDDS
