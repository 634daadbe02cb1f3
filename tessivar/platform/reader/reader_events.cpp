// SPDX-License-Identifier: Apache-2.0

// Handles the events of a reader's subscriptions and notifies the listeners.
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/reader/reader_impl.h"
#include "tessivar/platform/system/application_call.h"

using tessivar::platform::Subscription;

/// Calls the reader's listener or, if the reader has none for this status, the participant's.
template <class Call>
void DDSDataReader::Impl::notify(DDS_StatusMask status, const Call& call) {
  if (!call_listener(listener, status, "DDSDataReaderListener", call)) {
    call_listener(description.participant.impl().listener, status, "DDSDomainParticipantListener", call);
  }
}

template <class Status>
void DDSDataReader::Impl::notify(DDS_StatusMask status,
                                 void (DDSDataReaderListener::*callback)(DDSDataReader*, const Status&)) {
  notify(status, [&](DDSDataReaderListener& called) { (called.*callback)(description.self, statuses.read<Status>()); });
}

void DDSDataReader::Impl::report(DDS_StatusMask changed) {
  if (changed & DDS_SUBSCRIPTION_MATCHED_STATUS) {
    notify(DDS_SUBSCRIPTION_MATCHED_STATUS, &DDSDataReaderListener::on_subscription_matched);
  }
  if (changed & DDS_LIVELINESS_CHANGED_STATUS) {
    notify(DDS_LIVELINESS_CHANGED_STATUS, &DDSDataReaderListener::on_liveliness_changed);
  }
  if (changed & DDS_REQUESTED_INCOMPATIBLE_QOS_STATUS) {
    notify(DDS_REQUESTED_INCOMPATIBLE_QOS_STATUS, &DDSDataReaderListener::on_requested_incompatible_qos);
  }
  if (changed & DDS_REQUESTED_DEADLINE_MISSED_STATUS) {
    notify(DDS_REQUESTED_DEADLINE_MISSED_STATUS, &DDSDataReaderListener::on_requested_deadline_missed);
  }
  if (changed & DDS_SAMPLE_LOST_STATUS) notify(DDS_SAMPLE_LOST_STATUS, &DDSDataReaderListener::on_sample_lost);
  if (changed & DDS_SAMPLE_REJECTED_STATUS) {
    notify(DDS_SAMPLE_REJECTED_STATUS, &DDSDataReaderListener::on_sample_rejected);
  }
  if (changed & DDS_DATA_AVAILABLE_STATUS) {
    notify(DDS_DATA_AVAILABLE_STATUS,
           [this](DDSDataReaderListener& called) { called.on_data_available(description.self); });
  }
}

void DDSDataReader::Impl::data_available(Subscription& from) {
  if (from.transfer()) report(statuses.data_available());
}

void DDSDataReader::Impl::subscription_matched(Subscription& from, const DDS_SubscriptionMatchedStatus& totals) {
  report(statuses.update(from, totals));
}

void DDSDataReader::Impl::liveliness_changed(Subscription& from, const DDS_LivelinessChangedStatus& totals) {
  report(statuses.update(from, totals));
}

void DDSDataReader::Impl::requested_deadline_missed(Subscription& from,
                                                    const DDS_RequestedDeadlineMissedStatus& totals) {
  report(statuses.update(from, totals));
}

void DDSDataReader::Impl::requested_incompatible_qos(Subscription& from,
                                                     const DDS_RequestedIncompatibleQosStatus& totals) {
  report(statuses.update(from, totals));
}

void DDSDataReader::Impl::sample_lost(Subscription& from, const DDS_SampleLostStatus& totals) {
  report(statuses.update(from, totals));
}

void DDSDataReader::Impl::sample_rejected(Subscription& from, const DDS_SampleRejectedStatus& totals) {
  report(statuses.update(from, totals));
}
