// SPDX-License-Identifier: Apache-2.0

// Tests participants: admission by type, several in one process, shared and exclusive, repeated creation and deletion.
#include "support/bus_peer.h"
#include "tessivar/framework/domain/domain_handle.h"
#include "tests/control/support/listeners.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace tessivar::testing {
namespace {

using namespace TessivarDDS;

// Set here, so that it also applies if the program is started by hand.
[[maybe_unused]] const int on_loopback = ::setenv("DDS_ALLOWED_INTERFACES", "lo", 1);

TEST(BusParticipantTest, IsAdmittedByItsType) {
  BusPeer client("client", {"type=1", "allow=3,5"});
  ASSERT_TRUE(client.does("create"));
  BusPeer denied("device", {"type=4"});
  BusPeer allowed("device", {"type=5"});
  ASSERT_TRUE(allowed.does("filter 0005:00:00"));
  ASSERT_TRUE(denied.does({"unit 0004:00:00 denied", "value 0004:00:00 1 4"}));
  ASSERT_TRUE(allowed.does({"unit 0005:00:00 allowed", "value 0005:00:00 1 5"}));
  ASSERT_TRUE(client.sees({"unit-added 0005:00:00", "value 0005:00:00 1 5"}));

  // A second client without a list receives both. A sample that the first client has not received by then was not
  // admitted.
  BusPeer open("client", {"type=1"});
  ASSERT_TRUE(open.does("create"));
  ASSERT_TRUE(open.sees({"value 0004:00:00 1 4", "value 0005:00:00 1 5"}));
  ASSERT_TRUE(allowed.does("value 0005:00:00 1 6"));
  ASSERT_TRUE(client.sees("value 0005:00:00 1 6"));
  EXPECT_TRUE(client.saw_nothing_of("unit-added"));
  EXPECT_TRUE(client.saw_nothing_of("value"));
  EXPECT_NE(client.transcript().find("Remote participant Denied: "), std::string::npos);
  ASSERT_TRUE(client.does("set 0004:00:00 1 7 300"));
  EXPECT_TRUE(client.sees("set false"));
  EXPECT_TRUE(denied.saw_nothing_of("request"));
}

// A device or a client with its own participant.
template <class Part>
class Own {
 public:
  Own() {
    part_.attachDomain(domain_.get());
    if constexpr (std::is_same_v<Part, TessivarNode>) part_.attachListener(&listener_, false);
    EXPECT_TRUE(part_.create());
  }
  ~Own() { part_.cleanUp(); }
  Part* operator->() { return &part_; }
  Part& operator*() { return part_; }

 private:
  Events unused_;
  DeviceListener listener_{unused_};
  const DomainHandle domain_ = DomainHandle::exclusive(own_domain());
  Part part_;
};
typedef Own<TessivarNode> OwnDevice;
typedef Own<TessivarClient> OwnClient;

bool announce(TessivarNode& node, const AddressEx& address) {
  return node.addUnit(DDSPtr(Helper::createUnit(address, "device")));
}

void expect_set(OwnClient& client, const AddressEx& address) {
  ASSERT_TRUE(eventually([&] { return client->hasUnit(address); }));
  DDSPtr command(Helper::createCommand(address, 1, 5));
  EXPECT_TRUE(client->waitForMatch(30000));
  EXPECT_TRUE(client->setCommand(command, 30000)) << address.guid();
}

TEST(BusParticipantTest, TenInOneProcessDiscoverEachOther) {
  constexpr int count = 9;
  OwnDevice devices[count];
  for (int i = 0; i < count; ++i) ASSERT_TRUE(announce(*devices[i], AddressEx(1, 2, i)));
  OwnClient client;
  for (int i = 0; i < count; ++i) expect_set(client, AddressEx(1, 2, i));
}

std::size_t entries(const char* directory) {
  const std::filesystem::directory_iterator all(directory);
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

// Returns the private memory of this process in kilobytes.
long resident() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with("RssAnon:")) return std::stol(line.substr(8));
  return -1;
}

TEST(BusParticipantTest, LeaksNothingInManyRounds) {
  const AddressEx address(1, 2, 3);
  const int threshold = logThreshold();
  setLogThreshold(LogWarning);
  const auto rounds = [&](int count) {
    for (int i = 0; i < count; ++i) {
      OwnDevice device;
      OwnClient client;
      EXPECT_TRUE(announce(*device, address));
      if (i % 10 == 0) expect_set(client, address);
    }
  };
  rounds(10);
  const std::size_t threads = entries("/proc/self/task");
  const std::size_t descriptors = entries("/proc/self/fd");
  const long memory = resident();
  rounds(30);
  EXPECT_LE(entries("/proc/self/task"), threads);
  EXPECT_LE(entries("/proc/self/fd"), descriptors);
  RecordProperty("growth_kB", std::to_string(resident() - memory));
#ifndef TESSIVAR_SANITIZED
  // One leaked participant in each round would be about 15 MB.
  EXPECT_LT(resident() - memory, 4096) << "kB after " << memory;
#endif
  setLogThreshold(threshold);
}

}  // namespace
}  // namespace tessivar::testing
