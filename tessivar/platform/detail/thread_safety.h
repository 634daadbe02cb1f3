// SPDX-License-Identifier: Apache-2.0

// Marks for locks and for the members that they guard. Clang checks them (-Wthread-safety); other compilers ignore
// them.
//
//     class Counter {
//      public:
//       void add() {
//         const MutexLock lock(mutex_);
//         ++count_;  // without the lock this is an error
//       }
//
//      private:
//       Mutex mutex_;
//       int count_ TESSIVAR_GUARDED_BY(mutex_) = 0;
//     };
#pragma once

#if defined(__clang__)
#define TESSIVAR_THREAD_SAFETY(mark) __attribute__((mark))
#else
#define TESSIVAR_THREAD_SAFETY(mark)
#endif

/// A class of locks.
#define TESSIVAR_CAPABILITY(kind) TESSIVAR_THREAD_SAFETY(capability(kind))
/// A class whose constructor locks, and whose destructor unlocks.
#define TESSIVAR_SCOPED_CAPABILITY TESSIVAR_THREAD_SAFETY(scoped_lockable)

/// A member that is used only while `mutex` is locked.
#define TESSIVAR_GUARDED_BY(mutex) TESSIVAR_THREAD_SAFETY(guarded_by(mutex))

/// The order of two locks: a thread that takes both takes them in this order. Checked by -Wthread-safety-beta.
#define TESSIVAR_ACQUIRED_BEFORE(...) TESSIVAR_THREAD_SAFETY(acquired_before(__VA_ARGS__))

/// The caller of the function has locked these locks, or has not locked them.
#define TESSIVAR_REQUIRES(...) TESSIVAR_THREAD_SAFETY(requires_capability(__VA_ARGS__))
#define TESSIVAR_EXCLUDES(...) TESSIVAR_THREAD_SAFETY(locks_excluded(__VA_ARGS__))

/// The function locks or unlocks. Without an argument: its own object.
#define TESSIVAR_ACQUIRE(...) TESSIVAR_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define TESSIVAR_RELEASE(...) TESSIVAR_THREAD_SAFETY(release_capability(__VA_ARGS__))
