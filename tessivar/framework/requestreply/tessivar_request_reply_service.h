// SPDX-License-Identifier: Apache-2.0

// The commands of units: their values, and requests to change them.
#pragma once

#include "tessivar/framework/requestreply/detail/instances.h"

#include <string>
#include <vector>

namespace TessivarDDS {

/// A request/reply service for commands, filtered by the addresses of units: a client receives the values, a server the
/// requests, of the units with these addresses only; without addresses those of all units. The filter
/// AddressContentFilter must be registered with the domain.
class TESSIVAR_API TessivarRequestReplyService
    : public DDSRequestReply<Tessivar::Command, Tessivar::CommandChangeRequest, Tessivar::CommandChangeReply> {
 public:
  explicit TessivarRequestReplyService(bool isClient) : DDSRequestReply(isClient) {
    ticketCompletion_ = "completeSetCommand";
  }
  ~TessivarRequestReplyService() override;

  /// The texts of the wanted addresses: before create() for later, afterwards at once. A client then gets the current
  /// values of what is new among them. When it fails the old ones stay in force.
  bool setFilterAddresses(const std::vector<std::string>& addresses);

 protected:
  bool createRequestTopic(const std::string& name, DDSDomain* domain) override;
  bool creatValueTopic(const std::string& name, DDSDomain* domain) override;

 private:
  std::vector<std::string> addresses_;
};

}  // namespace TessivarDDS
