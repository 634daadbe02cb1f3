// SPDX-License-Identifier: Apache-2.0

// Callbacks that the engine calls for an entity.
#pragma once

#include "tessivar/platform/cyclone/engine_api.h"
#include "tessivar/platform/cyclone/internals/internals.h"
#include "tessivar/platform/cyclone/no_throw.h"

#include <memory>

namespace tessivar::platform::cyclone {

/// A set of callbacks for the creation of an entity. The engine copies the set.
class Listener {
 public:
  explicit Listener(void* argument) : listener_(dds_create_listener(argument)) {}
  dds_listener_t* get() const { return listener_.get(); }

 private:
  struct Deleter {
    void operator()(dds_listener_t* listener) const { dds_delete_listener(listener); }
  };
  std::unique_ptr<dds_listener_t, Deleter> listener_;
};

/// `call` runs `callback` for a Listener. In the callback, the application's code may call into another domain.
/// Afterwards `call` sets the thread back to its own domain. Otherwise the engine would free memory that the thread
/// still uses.
template <auto callback>
struct ListenerCall;
template <class... Arguments, void (*callback)(Arguments...)>
struct ListenerCall<callback> {
  static void call(Arguments... arguments) {
    ddsi_domaingv* const own = cyclone_thread_domain();
    NoThrow<callback>::call(arguments...);
    cyclone_set_thread_domain(own);
  }
};

}  // namespace tessivar::platform::cyclone
