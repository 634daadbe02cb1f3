// SPDX-License-Identifier: Apache-2.0

// Handles the events of a reader's engine sides and notifies the listeners.
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/participant/status_counts.h"
#include "tessivar/platform/reader/reader_impl.h"
#include "tessivar/platform/system/application_call.h"

#include <algorithm>

using tessivar::platform::follow;
using tessivar::platform::read_status;
using tessivar::platform::ReaderSide;

namespace {

/// Merges the status `now` of `from` into `seen`, the status that the application reads. Returns the statuses to report
/// now. The statuses of a joining side are merged when that side replaces the present one.
template <class Status>
DDS_StatusMask changed(DDSDataReader::Impl& reader, const ReaderSide& from, Status& seen, Status now,
                       const DDS_Long& earlier, DDS_StatusMask status) {
  const std::lock_guard lock(reader.status_mutex);
  now.total_count += earlier;
  const bool first = !reader.side;
  if (!first && reader.side.get() != &from) return 0;
  if (!follow(seen, now)) return 0;
  if (!first) return status;
  reader.deferred |= status;
  return 0;
}

/// Calls the reader's listener or, if the reader has none for this status, the participant's.
template <class Call>
void tell(DDSDataReader::Impl& reader, DDS_StatusMask status, const Call& call) {
  if (!call_listener(reader.listener, status, "DDSDataReaderListener", call)) {
    call_listener(reader.participant.impl().listener, status, "DDSDomainParticipantListener", call);
  }
}

template <class Status>
void tell(DDSDataReader::Impl& reader, Status& seen, DDS_StatusMask status,
          void (DDSDataReaderListener::*callback)(DDSDataReader*, const Status&)) {
  tell(reader, status, [&](DDSDataReaderListener& listener) {
    Status now;
    {
      const std::lock_guard lock(reader.status_mutex);
      now = read_status(seen);
    }
    (listener.*callback)(reader.self, now);
  });
}

}  // namespace

void DDSDataReader::Impl::report(DDS_StatusMask statuses) {
  if (statuses & DDS_SUBSCRIPTION_MATCHED_STATUS) {
    tell(*this, matched, DDS_SUBSCRIPTION_MATCHED_STATUS, &DDSDataReaderListener::on_subscription_matched);
  }
  if (statuses & DDS_LIVELINESS_CHANGED_STATUS) {
    tell(*this, liveliness, DDS_LIVELINESS_CHANGED_STATUS, &DDSDataReaderListener::on_liveliness_changed);
  }
  if (statuses & DDS_REQUESTED_INCOMPATIBLE_QOS_STATUS) {
    tell(*this, incompatible, DDS_REQUESTED_INCOMPATIBLE_QOS_STATUS,
         &DDSDataReaderListener::on_requested_incompatible_qos);
  }
  if (statuses & DDS_REQUESTED_DEADLINE_MISSED_STATUS) {
    tell(*this, deadline, DDS_REQUESTED_DEADLINE_MISSED_STATUS, &DDSDataReaderListener::on_requested_deadline_missed);
  }
  if (statuses & DDS_SAMPLE_LOST_STATUS) {
    tell(*this, lost, DDS_SAMPLE_LOST_STATUS, &DDSDataReaderListener::on_sample_lost);
  }
  if (statuses & DDS_SAMPLE_REJECTED_STATUS) {
    tell(*this, rejected, DDS_SAMPLE_REJECTED_STATUS, &DDSDataReaderListener::on_sample_rejected);
  }
  if (statuses & DDS_DATA_AVAILABLE_STATUS) {
    tell(*this, DDS_DATA_AVAILABLE_STATUS, [this](DDSDataReaderListener& hears) { hears.on_data_available(self); });
  }
}

void DDSDataReader::Impl::data_available(ReaderSide& from) {
  if (!transfer(from)) return;
  {
    const std::lock_guard lock(status_mutex);
    if (!side) {
      deferred |= DDS_DATA_AVAILABLE_STATUS;
      return;
    }
  }
  report(DDS_DATA_AVAILABLE_STATUS);
}

void DDSDataReader::Impl::subscription_matched(ReaderSide& from, const DDS_SubscriptionMatchedStatus& now) {
  const DDS_StatusMask statuses = changed(*this, from, matched, now, earlier.matched, DDS_SUBSCRIPTION_MATCHED_STATUS);
  {
    const std::lock_guard lock(status_mutex);
    counters->matches(matched.current_count);
  }
  report(statuses);
}

void DDSDataReader::Impl::liveliness_changed(ReaderSide& from, const DDS_LivelinessChangedStatus& now) {
  {
    const std::lock_guard lock(status_mutex);
    if (side && side.get() != &from) return;
    if (!follow(liveliness, now)) return;
    if (!side) {
      deferred |= DDS_LIVELINESS_CHANGED_STATUS;
      return;
    }
  }
  report(DDS_LIVELINESS_CHANGED_STATUS);
}

void DDSDataReader::Impl::requested_deadline_missed(ReaderSide& from, const DDS_RequestedDeadlineMissedStatus& now) {
  report(changed(*this, from, deadline, now, earlier.deadline, DDS_REQUESTED_DEADLINE_MISSED_STATUS));
}

void DDSDataReader::Impl::requested_incompatible_qos(ReaderSide& from, const DDS_RequestedIncompatibleQosStatus& now) {
  // A second side finds the same incompatible writers again. Only a count above the known count is new.
  DDS_RequestedIncompatibleQosStatus status = now;
  {
    const std::lock_guard lock(status_mutex);
    status.total_count = std::max(now.total_count, incompatible.total_count);
  }
  report(changed(*this, from, incompatible, status, 0, DDS_REQUESTED_INCOMPATIBLE_QOS_STATUS));
}

void DDSDataReader::Impl::sample_lost(ReaderSide& from, const DDS_SampleLostStatus& now) {
  report(changed(*this, from, lost, now, earlier.lost, DDS_SAMPLE_LOST_STATUS));
}

void DDSDataReader::Impl::sample_rejected(ReaderSide& from, const DDS_SampleRejectedStatus& now) {
  report(changed(*this, from, rejected, now, earlier.rejected, DDS_SAMPLE_REJECTED_STATUS));
}
