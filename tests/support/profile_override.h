// SPDX-License-Identifier: Apache-2.0

// QoS profiles that override the built-in profiles during a test.
#pragma once

#include "tessivar/platform/participant.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessivar::testing {

/// Gives every reader and writer of the named profiles ("LIBRARY::PROFILE") a latency budget of `budget` nanoseconds. A
/// test recognises them by this budget.
class ProfileOverride {
 public:
  static constexpr DDS_UnsignedLong budget = 77;

  explicit ProfileOverride(const std::vector<std::string>& profiles) {
    const std::string value =
        "<latency_budget><duration><nanosec>" + std::to_string(budget) + "</nanosec></duration></latency_budget>";
    std::string text = "<dds>";
    for (const std::string& name : profiles) {
      const std::size_t colons = name.find("::");
      text += "<qos_library name='" + name.substr(0, colons) + "'><qos_profile name='" + name.substr(colons + 2) +
              "' base_name='tessivar_Library::State'><datawriter_qos>" + value + "</datawriter_qos><datareader_qos>" +
              value + "</datareader_qos></qos_profile></qos_library>";
    }
    DDS_DomainParticipantFactoryQos qos;
    DDSDomainParticipantFactory::get_instance()->get_qos(qos);
    qos.profile.string_profile.ensure_length(1, 1);
    DDS_String_replace(&qos.profile.string_profile[0], (text + "</dds>").c_str());
    DDSDomainParticipantFactory::get_instance()->set_qos(qos);
  }
  ~ProfileOverride() {
    DDS_DomainParticipantFactoryQos qos;
    DDSDomainParticipantFactory::get_instance()->get_qos(qos);
    qos.profile.string_profile.length(0);
    DDSDomainParticipantFactory::get_instance()->set_qos(qos);
  }
  ProfileOverride(const ProfileOverride&) = delete;
  ProfileOverride& operator=(const ProfileOverride&) = delete;

  /// Expects that each node has a reader or a writer, and that all of them have the budget.
  template <class... Nodes>
  static void expect_for(const Nodes&... nodes) {
    (expect_budget(nodes), ...);
  }

 private:
  template <class Node>
  static void expect_budget(const Node& node) {
    DDS_DataReaderQos reader;
    DDS_DataWriterQos writer;
    reader.latency_budget.duration.nanosec = writer.latency_budget.duration.nanosec = budget;
    if (node.dataReader()) node.dataReader()->get_qos(reader);
    if (node.dataWriter()) node.dataWriter()->get_qos(writer);
    EXPECT_TRUE(node.dataReader() || node.dataWriter()) << node.topic()->get_name();
    EXPECT_EQ(reader.latency_budget.duration.nanosec, budget) << node.topic()->get_name();
    EXPECT_EQ(writer.latency_budget.duration.nanosec, budget) << node.topic()->get_name();
  }
};

}  // namespace tessivar::testing
