// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/report/internal/report_book.h"

#include "tessivar/framework/domain/dds_domain.h"

#include <algorithm>

namespace TessivarDDS {

void ReportBook::open(const DDSDomain& domain) {
  {
    const tessivar::platform::MutexLock lock(mutex_);
    if (domainId_ >= 0 || !domain.participant()) return;
  }
  open(domain.participant()->get_domain_id(), domain.peers(), std::make_shared<tessivar::platform::EndpointList>());
}

void ReportBook::open(int domainId, std::shared_ptr<const PeerList> peers,
                      std::shared_ptr<tessivar::platform::EndpointList> endpoints) {
  const tessivar::platform::MutexLock lock(mutex_);
  domainId_ = domainId;
  peers_ = std::move(peers);
  endpoints_ = std::move(endpoints);
  exchanges_.clear();
}

void ReportBook::close() {
  open(-1, nullptr, std::make_shared<tessivar::platform::EndpointList>());
}

Report ReportBook::report() const {
  Report report;
  report.service = service_;
  const tessivar::platform::MutexLock lock(mutex_);
  report.domainId = domainId_;
  report.endpoints = endpoints_->read();
  for (const EndpointReport& endpoint : report.endpoints) {
    report.lastChange = std::max(report.lastChange, endpoint.last_change);
  }
  if (peers_) {
    report.peers = peers_->read();
    report.lastChange = std::max(report.lastChange, peers_->lastChange());
  }
  for (const auto& exchange : exchanges_) report.exchanges.push_back(exchange());
  return report;
}

}  // namespace TessivarDDS
