// SPDX-License-Identifier: Apache-2.0

// The request/reply service for commands of units: their values, and requests to change them.
#pragma once

#include "tessivar/framework/requestreply/detail/instances.h"

#include <string>
#include <vector>

namespace TessivarDDS {

/// A request/reply service for commands, filtered by addresses of units. A client receives only the values of the units
/// with these addresses. A server receives only the requests for these units. Without addresses, all units pass. The
/// filter AddressContentFilter must be registered with the domain.
class TESSIVAR_API TessivarRequestReplyService
    : public DDSRequestReply<Tessivar::Command, Tessivar::CommandChangeRequest, Tessivar::CommandChangeReply> {
 public:
  explicit TessivarRequestReplyService(bool isClient) : DDSRequestReply(isClient) {
    ticketCompletion_ = "completeSetCommand";
  }
  ~TessivarRequestReplyService() override;

  /// Sets the addresses of the wanted units as texts. Before create() they are stored for create(). After create() they
  /// take effect immediately, and a client receives the current values of the added units. Returns false on failure;
  /// then the old addresses remain in use.
  bool setFilterAddresses(const std::vector<std::string>& addresses);

 protected:
  bool createRequestTopic(const std::string& name, DDSDomain* domain) override;
  bool creatValueTopic(const std::string& name, DDSDomain* domain) override;

 private:
  std::vector<std::string> addresses_;
};

}  // namespace TessivarDDS
