// SPDX-License-Identifier: Apache-2.0

// The public calls of a device and of a controller, for tests that make all of them.
#pragma once

#include "tests/control/support/device_and_controller.h"

#include <atomic>

namespace tessivar::testing {

/// Each call has a name for messages. Not in the tables: create, cleanUp and waitForMatch.
class EveryCall : public DeviceAndController {
 protected:
  typedef std::vector<std::pair<const char*, std::function<void()>>> Table;

  static TessivarDDS::DDSPtr<Tessivar::Command> command() {
    return TessivarDDS::DDSPtr(Helper::createCommand(camera, 1, 5));
  }

  std::atomic<int> answered_{0}, published_{0}, found_{0};
  DeviceListener passing_{node_hears_};

  const Table of_client_{
      {"setUseQosProfiles", [&] { client_.setUseQosProfiles(false); }},
      {"attachListener", [&] { client_.attachListener(&client_listener_, false); }},
      {"detachListener", [&] { client_.detachListener(nullptr); }},
      {"waitForHistoricalData", [&] { client_.waitForHistoricalData(100); }},
      {"registerInterest", [&] { client_.registerInterest(lamp), client_.registerInterest({camera}); }},
      {"removeInterest", [&] { client_.removeInterest(lamp, 0, UINT32_MAX), client_.removeInterest(lamp); }},
      {"hasUnit", [&] { found_ += client_.hasUnit(camera); }},
      {"queryUnits",
       [&] {
         Tessivar::UnitSeq units;
         DDS_SampleInfoSeq infos;
         if (client_.queryUnits(units, infos, 100)) client_.freeUnitData(units, infos);
       }},
      {"queryCommands",
       [&] {
         Tessivar::CommandSeq commands;
         DDS_SampleInfoSeq infos;
         if (client_.queryCommands(commands, infos, 100)) client_.freeCommandData(commands, infos);
       }},
      {"queryUnit", [&] { client_.queryUnit(camera, *TessivarDDS::DDSPtr(Helper::createUnit(camera, ""))); }},
      {"queryCommand", [&] { client_.queryCommand(camera, 1, *command()); }},
      {"refreshUnits", [&] { client_.refreshUnits(1); }},
      {"setCommand",
       [&] {
         TessivarDDS::DDSPtr wanted = command();
         answered_ += client_.setCommand(wanted, 100);
       }},
      {"beginSetCommand",
       [&] {
         TessivarDDS::DDSPtr wanted = command();
         TessivarDDS::DDSPtr<TessivarDDS::TessivarClient::Ticket> ticket = client_.beginSetCommand(wanted);
         client_.completeSetCommand(ticket);
       }},
      {"services", [&] { client_.services()->verifyCommandNode(), client_.services()->start(); }},
      {"report", [&] { to_text(client_.report()), to_json(controller_->report()); }},
  };
  const Table of_node_{
      {"setUseQosProfiles", [&] { node_.setUseQosProfiles(false); }},
      {"attachListener", [&] { node_.attachListener(&passing_, false), node_.detachListener(&passing_); }},
      {"detachListener", [&] { node_.detachListener(nullptr); }},
      {"addUnit", [&] { node_.addUnit(unit_); }},
      {"publishCommand", [&] { published_ += node_.publishCommand(command()); }},
      {"publishMetadata", [&] { node_.publishMetadata(metadata_); }},
      {"setFilterAddresses", [&] { node_.setFilterAddresses({camera}); }},
      {"sendReply",
       [&] { node_.sendReply(TessivarDDS::DDSPtr(Tessivar::CommandChangeReplyTypeSupport::create_data())); }},
      {"disposeMetadata", [&] { node_.disposeMetadata(camera, 1); }},
      {"services", [&] { node_.services()->verifyInterestsNode(), node_.services()->inCallback(); }},
      {"report", [&] { EXPECT_LE(node_.report().exchanges.size(), 1u); }},
  };
};

}  // namespace tessivar::testing
