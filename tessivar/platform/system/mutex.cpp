// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/detail/mutex.h"

#include <new>

namespace tessivar::platform {

void Mutex::renew() {
  // After a fork, a thread that does not exist in this process may hold the old mutex.
  renew_if_inherited(process_, [this] { new (&mutex_) std::mutex; });
}

void Mutex::lock() {
  renew();
  mutex_.lock();
  hold_lines();
}

void Mutex::unlock() {
  mutex_.unlock();
  release_lines();
}

}  // namespace tessivar::platform
