#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
#
# thread_safety_test.sh SOURCE_DIR CLANG FLAG...: tests that Clang accepts a class that locks correctly, and refuses each
# fault of locking. FLAG...: the flags of the Clang builds.
set -euo pipefail

source=$1 clang=$2
flags=("${@:3}")

compile() { # compile BODY: compiles a class with two mutexes whose member function is BODY
  "$clang" -std=c++20 -fsyntax-only "${flags[@]}" -I"$source" -x c++ - 2>&1 <<END
#include "tessivar/platform/detail/mutex.h"
using namespace tessivar::platform;
class Tested {
 public:
  void function() { $1 }

 private:
  void add() TESSIVAR_REQUIRES(first_) { ++count_; }
  Mutex first_ TESSIVAR_ACQUIRED_BEFORE(second_);
  Mutex second_;
  Condition changed_;
  int count_ TESSIVAR_GUARDED_BY(first_) = 0;
};
END
}

accepted() {
  local said
  said=$(compile "$1") || {
    printf 'thread_safety_test: refused: %s\n%s\n' "$1" "$said"
    exit 1
  }
}
refused() { # refused BODY REASON
  local said
  if said=$(compile "$1") || ! grep -q "error: $2" <<<"$said"; then
    printf 'thread_safety_test: not refused because "%s": %s\n%s\n' "$2" "$1" "$said"
    exit 1
  fi
}

accepted 'const MutexLock lock(first_); const MutexLock next(second_); add(); --count_;'
accepted 'UniqueMutexLock lock(first_); changed_.wait(lock, [this]() TESSIVAR_REQUIRES(first_) { return count_ > 0; });
  add(); lock.unlock(); lock.lock(); add();'
refused '--count_;' "writing variable 'count_' requires holding mutex 'first_'"
refused 'const MutexLock lock(second_); --count_;' "writing variable 'count_' requires holding mutex 'first_'"
refused 'UniqueMutexLock lock(first_); lock.unlock(); add();' "calling function 'add' requires holding mutex 'first_'"
refused 'const MutexLock lock(first_); const MutexLock again(first_);' "acquiring mutex 'first_' that is already held"
refused 'const MutexLock lock(second_); const MutexLock next(first_);' "mutex 'first_' must be acquired before 'second_'"
refused 'first_.lock();' "mutex 'first_' is still held at the end of function"
