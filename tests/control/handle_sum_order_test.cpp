#include "tessivar/framework/waitset/handle_sum_order.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

namespace TessivarDDS {
namespace {

DDS_InstanceHandle_t handle(std::initializer_list<DDS_Octet> octets, DDS_UnsignedLong length = 16) {
  DDS_InstanceHandle_t result = {{{0}, length}, DDS_BOOLEAN_TRUE};
  std::copy(octets.begin(), octets.end(), result.keyHash.value);
  return result;
}

TEST(HandleSumOrder, OrdersByTheSumOfTheOctets) {
  const HandleSumOrder less;
  EXPECT_TRUE(less(handle({1, 2}), handle({4})));
  EXPECT_FALSE(less(handle({4}), handle({1, 2})));
  EXPECT_TRUE(less(handle({255, 255}), handle({255, 255, 1}))) << "octets are unsigned and the sum is wider than they";
  EXPECT_EQ(HandleSumOrder::sum(handle({255, 255, 255, 255}, 2)), 510u) << "only as many as the hash is long";
  EXPECT_EQ(HandleSumOrder::sum(handle({255}, 99)), 255u) << "a length beyond the hash reads no further";
}

TEST(HandleSumOrder, EqualSumsAreOneKey) {
  std::map<DDS_InstanceHandle_t, std::string, HandleSumOrder> units;
  units.insert_or_assign(handle({1, 2, 3}), "first");
  units.insert_or_assign(handle({3, 2, 1}), "second");
  units.insert_or_assign(handle({7}), "other");
  EXPECT_EQ(units.size(), 2u);
  EXPECT_EQ(units.at(handle({6})), "second");
}

}  // namespace
}  // namespace TessivarDDS
