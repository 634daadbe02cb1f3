// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/detail/callback.h"

#include "tessivar/platform/detail/log.h"

namespace tessivar::platform {
namespace {

constinit thread_local unsigned listeners = 0;
constinit thread_local unsigned filters = 0;

unsigned& depth(CallbackKind kind) {
  return kind == CallbackKind::listener ? listeners : filters;
}

}  // namespace

CallbackScope::CallbackScope(CallbackKind kind) noexcept : kind_(kind) {
  ++depth(kind_);
}

CallbackScope::~CallbackScope() {
  --depth(kind_);
}

bool in_callback() noexcept {
  return listeners + filters > 0;
}

bool in_filter() noexcept {
  return filters > 0;
}

bool refused_in_callback(const char* operation) {
  if (in_callback()) log(LogLevel::error, operation, "not possible within a callback: call it on another thread");
  return in_callback();
}

bool refused_in_filter(const char* operation) {
  if (in_filter()) log(LogLevel::error, operation, "not possible within a content filter: call it on another thread");
  return in_filter();
}

}  // namespace tessivar::platform
