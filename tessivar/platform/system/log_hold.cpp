// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/detail/log_hold.h"

#include <memory>
#include <new>

namespace tessivar::platform {
namespace {

struct Line {
  int level;
  std::string text;
  LineDelivery deliver;
  Line* next;
};

// These have no destructors, because destructors of static objects log after the destructors of the main thread's
// thread_local objects have run.
constinit thread_local unsigned holds = 0;
constinit thread_local Line* first = nullptr;
constinit thread_local Line* last = nullptr;
constinit thread_local bool delivering = false;

}  // namespace

void hold_lines() noexcept {
  ++holds;
}

void release_lines() noexcept {
  if (--holds == 0 && first) deliver_kept_lines();
}

bool keep_line(int level, const std::string& line, LineDelivery deliver) noexcept {
  if (holds == 0) return false;
  try {
    Line* const kept = new Line{level, line, deliver, nullptr};
    (last ? last->next : first) = kept;
    last = kept;
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void deliver_kept_lines() noexcept {
  if (delivering) return;  // a delivery may lock a mutex and so hold lines itself
  delivering = true;
  while (first) {
    const std::unique_ptr<Line> line(first);
    first = line->next;
    if (!first) last = nullptr;
    line->deliver(line->level, line->text);
  }
  delivering = false;
}

}  // namespace tessivar::platform
