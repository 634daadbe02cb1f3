// SPDX-License-Identifier: Apache-2.0

// The listener that logs statuses of the topics, readers and writers of a domain.
#pragma once

#include "tessivar/platform/listener.h"

namespace TessivarDDS {

/// The statuses for which a domain installs its listener: inconsistent topic, liveliness lost and changed, publication
/// and subscription matched.
constexpr DDS_StatusMask domainListenerMask = DDS_INCONSISTENT_TOPIC_STATUS | DDS_LIVELINESS_LOST_STATUS |
                                              DDS_LIVELINESS_CHANGED_STATUS | DDS_PUBLICATION_MATCHED_STATUS |
                                              DDS_SUBSCRIPTION_MATCHED_STATUS;

/// Logs the statuses that no listener of the entity handles. It has no state; any thread may call it.
class TESSIVAR_API DDSDomainListener : public DDSDomainParticipantListener {
 public:
  void on_inconsistent_topic(DDSTopic* topic, const DDS_InconsistentTopicStatus& status) override;
  void on_liveliness_changed(DDSDataReader* reader, const DDS_LivelinessChangedStatus& status) override;
  void on_liveliness_lost(DDSDataWriter* writer, const DDS_LivelinessLostStatus& status) override;
  void on_publication_matched(DDSDataWriter* writer, const DDS_PublicationMatchedStatus& status) override;
  void on_subscription_matched(DDSDataReader* reader, const DDS_SubscriptionMatchedStatus& status) override;
};

}  // namespace TessivarDDS
