// SPDX-License-Identifier: Apache-2.0

// What a service's report is made of.
#pragma once

#include "tessivar/framework/report/internal/peer_list.h"
#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/detail/mutex.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace TessivarDDS {

class DDSDomain;

/// Knows the counters of a service's endpoints and exchanges. The service opens and closes it and says what there is;
/// it outlives all of them, so that a report can be made at any time.
///
/// Thread-safe. Its lock is held only while figures are copied, never while the application or the engine is called.
class ReportBook {
 public:
  /// `service`: the class's name in reports, a literal.
  explicit ReportBook(const char* service) : service_(service) {}
  ReportBook(const ReportBook&) = delete;
  ReportBook& operator=(const ReportBook&) = delete;

  /// Once for all that follows; nothing when it is open.
  void open(const DDSDomain& domain);
  /// For a domain's own book, which reports on all endpoints of its participant.
  void open(int domainId, std::shared_ptr<const PeerList> peers,
            std::shared_ptr<tessivar::platform::EndpointList> endpoints);
  /// The node's reader and writer; may be null.
  template <class Node>
  void add(const Node* node) {
    if (!node) return;
    const std::lock_guard lock(mutex_);
    if (node->dataReader()) endpoints_->add(node->dataReader()->counters());
    if (node->dataWriter()) endpoints_->add(node->dataWriter()->counters());
  }
  /// A request/reply service with its topics and endpoints, which must be closed before it goes.
  template <class Service>
  void addService(const DDSDomain& domain, Service& service) {
    open(domain);
    add(&service.valueNode());
    add(&service.requestNode());
    add(&service.replyNode());
    const std::lock_guard lock(mutex_);
    exchanges_.push_back([topic = service.valueNode().topicName(), &service] {
      return ExchangeReport{topic, service.counts()};
    });
  }
  /// Forgets everything.
  void close();

  Report report() const;

 private:
  const char* const service_;
  mutable tessivar::platform::Mutex mutex_;
  int domainId_ = -1;
  std::shared_ptr<const PeerList> peers_;
  std::shared_ptr<tessivar::platform::EndpointList> endpoints_ = std::make_shared<tessivar::platform::EndpointList>();
  std::vector<std::function<ExchangeReport()>> exchanges_;
};

}  // namespace TessivarDDS
