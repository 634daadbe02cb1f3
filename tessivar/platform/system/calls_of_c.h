// SPDX-License-Identifier: Apache-2.0

// Functions of the operating system for the C files, which use the engine's own headers. Define _GNU_SOURCE before the
// first include.
#pragma once

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdbool.h>
#include <stddef.h>

/// A lock that several readers, or one writer, can hold. Statically initialised with TESSIVAR_SHARED_LOCK.
typedef pthread_rwlock_t tessivar_shared_lock;
#define TESSIVAR_SHARED_LOCK PTHREAD_RWLOCK_INITIALIZER

static inline void tessivar_lock_shared(tessivar_shared_lock* lock) {
  (void)pthread_rwlock_rdlock(lock);
}
static inline void tessivar_lock(tessivar_shared_lock* lock) {
  (void)pthread_rwlock_wrlock(lock);
}
static inline void tessivar_unlock(tessivar_shared_lock* lock) {
  (void)pthread_rwlock_unlock(lock);
}

/// Closes the descriptor in a program that this process starts.
static inline void tessivar_close_on_exec(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFD);
  if (flags >= 0) (void)fcntl(descriptor, F_SETFD, flags | FD_CLOEXEC);
}

/// Returns true if a library of this process exports the symbol.
static inline bool tessivar_has_symbol(const char* name) {
  return dlsym(RTLD_DEFAULT, name) != NULL;
}
