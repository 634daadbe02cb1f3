// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/conditions.h"

#include "tessivar/platform/cyclone/translate.h"
#include "tessivar/platform/system/guarded.h"

#include <chrono>
#include <new>

namespace tessivar::platform::cyclone {
namespace {

class GuardCondition final : public EngineGuardCondition, public EntityCondition {
 public:
  explicit GuardCondition(dds_entity_t entity) : entity_(entity) {}
  ~GuardCondition() override { dds_delete(entity_); }
  dds_entity_t entity() const override { return entity_; }
  bool triggered() const override { return dds_triggered(entity_) > 0; }
  DDS_ReturnCode_t set_trigger(bool value) override { return to_return_code(dds_set_guardcondition(entity_, value)); }

 private:
  const dds_entity_t entity_;
};

class WaitSet final : public EngineWaitSet {
 public:
  WaitSet(dds_entity_t entity, std::unique_ptr<EngineGuardCondition> never_triggered)
      : entity_(entity), never_triggered_(std::move(never_triggered)) {
    attach(*never_triggered_, nullptr);
  }
  ~WaitSet() override { dds_delete(entity_); }

  DDS_ReturnCode_t attach(EngineCondition& condition, void* cookie) override {
    const auto* known = dynamic_cast<const EntityCondition*>(&condition);
    if (!known) return DDS_RETCODE_BAD_PARAMETER;
    return to_return_code(dds_waitset_attach(entity_, known->entity(), reinterpret_cast<dds_attach_t>(cookie)));
  }

  DDS_ReturnCode_t detach(EngineCondition& condition) override {
    const auto* known = dynamic_cast<const EntityCondition*>(&condition);
    if (!known) return DDS_RETCODE_BAD_PARAMETER;
    return to_return_code(dds_waitset_detach(entity_, known->entity()));
  }

  DDS_ReturnCode_t wait(std::int64_t timeout, std::vector<void*>& cookies) override {
    return guarded("EngineWaitSet::wait", DDS_RETCODE_OUT_OF_RESOURCES,
                   [&] { return wait_for_triggers(timeout, cookies); });
  }

 private:
  DDS_ReturnCode_t wait_for_triggers(std::int64_t timeout, std::vector<void*>& cookies);

  const dds_entity_t entity_;
  /// The engine does not wait if no condition is attached. This condition is always attached and never triggers.
  const std::unique_ptr<EngineGuardCondition> never_triggered_;
};

DDS_ReturnCode_t WaitSet::wait_for_triggers(std::int64_t timeout, std::vector<void*>& cookies) {
  using std::chrono::steady_clock;
  cookies.clear();
  if (timeout < 0) return DDS_RETCODE_BAD_PARAMETER;
  thread_local std::vector<dds_attach_t> triggered;
  const steady_clock::time_point begin = steady_clock::now();
  std::int64_t left = timeout;
  for (;;) {
    const dds_return_t attached = dds_waitset_get_entities(entity_, nullptr, 0);
    if (attached < 0) return to_return_code(attached);
    triggered.resize(static_cast<std::size_t>(attached) + 8);  // more may be attached in the meantime
    const dds_return_t count = dds_waitset_wait(entity_, triggered.data(), triggered.size(), to_engine_duration(left));
    if (count < 0) return to_return_code(count);
    for (std::size_t i = 0; i < static_cast<std::size_t>(count) && i < triggered.size(); ++i)
      cookies.push_back(reinterpret_cast<void*>(triggered[i]));  // NOLINT(performance-no-int-to-ptr): attached as such
    if (count > 0) return DDS_RETCODE_OK;
    if (timeout == never) continue;
    // The engine waits by the wall clock, which may have been set forward.
    const auto waited = std::chrono::duration_cast<std::chrono::nanoseconds>(steady_clock::now() - begin);
    left = timeout - waited.count();
    if (left <= 0) return DDS_RETCODE_TIMEOUT;
  }
}

}  // namespace

std::unique_ptr<EngineGuardCondition> make_guard_condition() {
  const dds_entity_t entity = dds_create_guardcondition(api::library);
  if (entity < 0) return nullptr;
  std::unique_ptr<EngineGuardCondition> condition(new (std::nothrow) GuardCondition(entity));
  if (!condition) dds_delete(entity);
  return condition;
}

std::unique_ptr<EngineWaitSet> make_wait_set() {
  std::unique_ptr<EngineGuardCondition> never_triggered = make_guard_condition();
  if (!never_triggered) return nullptr;
  const dds_entity_t entity = dds_create_waitset(api::library);
  if (entity < 0) return nullptr;
  std::unique_ptr<EngineWaitSet> wait_set(new (std::nothrow) WaitSet(entity, std::move(never_triggered)));
  if (!wait_set) dds_delete(entity);
  return wait_set;
}

}  // namespace tessivar::platform::cyclone
