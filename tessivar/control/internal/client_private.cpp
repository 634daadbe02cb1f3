// SPDX-License-Identifier: Apache-2.0

#include "tessivar/control/internal/client_private.h"

#include "tessivar/control/internal/unit_announcers.h"

namespace TessivarDDS {

class TessivarClient::UnitsRunner : public WaitSetThreadRunner<Tessivar::Unit> {
 public:
  UnitsRunner(Tessivar::UnitDataReader* reader, Private& owner)
      : WaitSetThreadRunner(reader, {.maxSamples = samplesPerCycle, .take = false, .everyChange = true}),
        owner_(owner) {}

  void processSample(const Tessivar::Unit& unit, const DDS_SampleInfo& info) override {
    constexpr const char* signature =
        "void __cdecl TessivarDDS::UnitsRunner::processSample(const class Tessivar::Unit &)";
    const DDS_InstanceHandle_t handle = typedReader()->lookup_instance(unit);
    if (DDS_InstanceHandle_is_nil(&handle)) {
      logError() << signature << "Instance handle should not be nil!";
      return;
    }
    owner_.memory->units.announced(handle);
    if (const auto devices = announcers_.announced(info.instance_handle, info.publication_handle)) {
      logWarning() << signature << " Unit " << unit.unitId << " is announced by more than one device: " << *devices
                   << ". A device that was killed and started again shows like this once.";
    }
    owner_.notifyUnitAdded(&unit);
  }

  void processInvalidSample(const DDS_SampleInfo& info) override {
    owner_.noteEnd(info);
    announcers_.gone(info.instance_handle);
    const DDSPtr key(Tessivar::UnitTypeSupport::create_data());
    if (!key || typedReader()->get_key_value(*key, info.instance_handle) != DDS_RETCODE_OK) return;
    owner_.notifyUnitRemoved(AddressEx(key->unitId));
  }

 private:
  Private& owner_;
  UnitAnnouncers announcers_{UnitAnnouncers::Of::anyUnit};
};

class TessivarClient::MetadataRunner : public WaitSetThreadRunner<Tessivar::CommandMetadata> {
 public:
  MetadataRunner(Tessivar::CommandMetadataDataReader* reader, Private& owner)
      : WaitSetThreadRunner(reader, {.maxSamples = samplesPerCycle, .take = false, .everyChange = true}),
        owner_(owner) {}

  void processSample(const Tessivar::CommandMetadata& metadata) override {
    const DDS_InstanceHandle_t handle = typedReader()->lookup_instance(metadata);
    if (DDS_InstanceHandle_is_nil(&handle)) {
      logError() << "void __cdecl TessivarDDS::MetadataRunner::processSample(const class Tessivar::CommandMetadata &)"
                 << "Instance handle should not be nil!";
      return;
    }
    owner_.notifyCommandMetadataChanged(&metadata);
  }

 private:
  Private& owner_;
};

bool TessivarClient::Private::create(const char* signature) {
  waitSetThread.stop();  // an earlier create() may have failed after it started the thread
  unitQuery.close();
  valueQuery.close();
  if (!services.create(true, memory->interests.filterAddresses())) {
    logError() << signature << "Unable to create services!";
    return false;
  }
  if (!waitSetThread.create()) {
    logError() << signature << "Failed to create the TessivarClient's waitset thread.";
    return false;
  }
  services.commandService()->attachListener(this);
  if (!unitQuery.open() || !valueQuery.open()) {
    logError() << signature << "Failed to create read condition";
    return false;
  }
  if (!waitSetThread.attachRunner(std::make_unique<UnitsRunner>(services.unitNode()->dataReader(), *this)) ||
      !waitSetThread.attachRunner(std::make_unique<MetadataRunner>(services.metadataNode()->dataReader(), *this))) {
    logError() << signature << "Failed to attach runner to thread";
    return false;
  }
  memory->interests.start();
  gate.open();  // before the first callback, which may use the client
  waitSetThread.start();
  services.start();
  TessivarThread::sleep(50);
  return true;
}

void TessivarClient::Private::leave() {
  const UseGate::Turn turn(gate);
  // This function waits for calls and callbacks, which may wait for devices: these waits are ended first.
  leaving = true;
  if (services.commandService()) services.commandService()->endCalls();
  gate.close();
  waitSetThread.stop();  // first, as its runners use readers of the services
  unitQuery.close();
  valueQuery.close();
  services.cleanUp();
  services.attachDomain(nullptr);
  services.setUseQosProfiles(false);
  memory = std::make_unique<Memory>(services);
  listeners.clear();
  leaving = false;
  gate.reset();
}

}  // namespace TessivarDDS
