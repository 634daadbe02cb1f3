#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/types/command/command.h"

#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using TessivarDDS::DDSPtr;

struct Counted {
  explicit Counted(int& count) : released(count) {}
  ~Counted() { ++released; }
  int& released;
};

TEST(DDSPtr, releases_with_the_last_holder) {
  int released = 0;
  DDSPtr<Counted> a(new Counted(released));
  {
    DDSPtr<Counted> b = a;
    DDSPtr<Counted> c;
    c = b;
    const DDSPtr<Counted>& self = c;
    c = self;
    b = DDSPtr<Counted>(std::move(a));
    EXPECT_FALSE(a);
    EXPECT_TRUE(b == c);
    a = c;
  }
  EXPECT_EQ(released, 0);
  a = DDSPtr<Counted>(new Counted(released));
  EXPECT_EQ(released, 1);
  a.reset(new Counted(released));
  EXPECT_EQ(released, 2);
  a = nullptr;
  EXPECT_EQ(released, 3);
  const DDSPtr<Counted> null(static_cast<Counted*>(nullptr));
  a = null;
  EXPECT_TRUE(a == nullptr);
}

TEST(DDSPtr, releases_a_sample_with_its_strings_and_optional_members) {
  // A leak checker sees what a mere `delete` would leave behind.
  DDSPtr<Tessivar::Unit> unit(Tessivar::UnitTypeSupport::create_data());
  ASSERT_TRUE(unit);
  const DDSPtr<Tessivar::Unit> copy = unit;
  DDSPtr<Tessivar::Command> command(Tessivar::CommandTypeSupport::create_data());
  EXPECT_TRUE(command);
}

TEST(DDSPtr, copies_are_made_and_dropped_by_many_threads) {
  int released = 0;
  {
    DDSPtr<Counted> shared(new Counted(released));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([mine = shared] {
        std::vector<DDSPtr<Counted>> copies;
        for (int n = 0; n < 1000; ++n) {
          copies.push_back(mine);
          if (n % 3 == 0) copies.clear();
        }
      });
    }
    shared.reset();
    for (std::thread& thread : threads) thread.join();
  }
  EXPECT_EQ(released, 1);
}

}  // namespace
