// SPDX-License-Identifier: Apache-2.0

// The sources of the report of a service or a domain.
#pragma once

#include "tessivar/framework/report/internal/peer_list.h"
#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/detail/mutex.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace TessivarDDS {

class DDSDomain;

/// Collects the counters of the endpoints and exchanges of a service. The service opens and closes the book and adds
/// its nodes. The book outlives all of them, so that a report can be made at any time.
///
/// Thread-safe. The lock is held only while counters are copied, never while the application or the engine is called.
class ReportBook {
 public:
  /// `service` is the class name in reports, a string literal.
  explicit ReportBook(const char* service) : service_(service) {}
  ReportBook(const ReportBook&) = delete;
  ReportBook& operator=(const ReportBook&) = delete;

  /// Opens the book. Call it before add(). Does nothing if the book is open.
  void open(const DDSDomain& domain);
  /// Opens the book of a domain, which reports on all endpoints of the participant.
  void open(int domainId, std::shared_ptr<const PeerList> peers,
            std::shared_ptr<tessivar::platform::EndpointList> endpoints);
  /// Adds the reader and the writer of the node. The node, its reader and its writer may be null.
  template <class Node>
  void add(const Node* node) {
    if (!node) return;
    const tessivar::platform::MutexLock lock(mutex_);
    if (node->dataReader()) endpoints_->add(node->dataReader()->counters());
    if (node->dataWriter()) endpoints_->add(node->dataWriter()->counters());
  }
  /// Adds a request/reply service with its topics and endpoints. Call close() before the service is destroyed.
  template <class Service>
  void addService(const DDSDomain& domain, Service& service) {
    open(domain);
    add(&service.valueNode());
    add(&service.requestNode());
    add(&service.replyNode());
    const tessivar::platform::MutexLock lock(mutex_);
    exchanges_.push_back([topic = service.valueNode().topicName(), &service] {
      return ExchangeReport{topic, service.counts()};
    });
  }
  /// Removes everything.
  void close();

  Report report() const;

 private:
  const char* const service_;
  mutable tessivar::platform::Mutex mutex_;
  int domainId_ TESSIVAR_GUARDED_BY(mutex_) = -1;
  std::shared_ptr<const PeerList> peers_ TESSIVAR_GUARDED_BY(mutex_);
  std::shared_ptr<tessivar::platform::EndpointList> endpoints_ TESSIVAR_GUARDED_BY(mutex_) =
      std::make_shared<tessivar::platform::EndpointList>();
  std::vector<std::function<ExchangeReport()>> exchanges_ TESSIVAR_GUARDED_BY(mutex_);
};

}  // namespace TessivarDDS
