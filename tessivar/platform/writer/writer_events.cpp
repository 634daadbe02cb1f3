// SPDX-License-Identifier: Apache-2.0

// Handles the events of a writer's engine writer and notifies the listeners.
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/system/application_call.h"
#include "tessivar/platform/writer/writer_impl.h"

/// Calls the writer's listener or, if the writer has none for this status, the participant's.
template <class Status>
void DDSDataWriter::Impl::notify(DDS_StatusMask status,
                                 void (DDSDataWriterListener::*callback)(DDSDataWriter*, const Status&)) {
  const auto call = [&](DDSDataWriterListener& called) { (called.*callback)(self, statuses.read<Status>()); };
  if (!call_listener(listener, status, "DDSDataWriterListener", call)) {
    call_listener(topic.get_participant()->impl().listener, status, "DDSDomainParticipantListener", call);
  }
}

void DDSDataWriter::Impl::report(DDS_StatusMask changed) {
  if (changed & DDS_OFFERED_DEADLINE_MISSED_STATUS) {
    notify(DDS_OFFERED_DEADLINE_MISSED_STATUS, &DDSDataWriterListener::on_offered_deadline_missed);
  }
  if (changed & DDS_OFFERED_INCOMPATIBLE_QOS_STATUS) {
    notify(DDS_OFFERED_INCOMPATIBLE_QOS_STATUS, &DDSDataWriterListener::on_offered_incompatible_qos);
  }
  if (changed & DDS_LIVELINESS_LOST_STATUS) {
    notify(DDS_LIVELINESS_LOST_STATUS, &DDSDataWriterListener::on_liveliness_lost);
  }
  if (changed & DDS_PUBLICATION_MATCHED_STATUS) {
    notify(DDS_PUBLICATION_MATCHED_STATUS, &DDSDataWriterListener::on_publication_matched);
  }
}

void DDSDataWriter::Impl::publication_matched(const DDS_PublicationMatchedStatus& totals) {
  counters->matches(totals.current_count);
  report(statuses.update(totals));
}

void DDSDataWriter::Impl::liveliness_lost(const DDS_LivelinessLostStatus& totals) {
  report(statuses.update(totals));
}

void DDSDataWriter::Impl::offered_deadline_missed(const DDS_OfferedDeadlineMissedStatus& totals) {
  report(statuses.update(totals));
}

void DDSDataWriter::Impl::offered_incompatible_qos(const DDS_OfferedIncompatibleQosStatus& totals) {
  report(statuses.update(totals));
}
