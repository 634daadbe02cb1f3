#pragma once

#include "tessivar/platform/cyclone/engine_api.h"

#include <memory>

namespace tessivar::platform::cyclone {

/// A set of callbacks for the creation of an entity, which copies it.
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

}  // namespace tessivar::platform::cyclone
