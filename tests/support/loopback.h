// SPDX-License-Identifier: Apache-2.0

// Domains on the loopback interface.
#pragma once

#include "tessivar/framework/domain/dds_domain.h"
#include "tests/support/wait.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tessivar::testing {

/// An existing domain on the loopback interface.
class LoopbackDomain : public TessivarDDS::DDSDomain {
 public:
  explicit LoopbackDomain(int domainId, const std::function<void(TessivarDDS::DDSDomain&)>& configure = {}) {
    setAllowedInterfaces({"lo"});
    if (configure) configure(*this);
    EXPECT_TRUE(createDomainParticipant(domainId));
  }
};

}  // namespace tessivar::testing
