// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/pointers/dds_ptr.h"
#include "tessivar/framework/pointers/listener_list.h"
#include "tests/support/log_recorder.h"

#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>

namespace {

using namespace TessivarDDS;
using namespace testing;

struct Listener {
  std::string name;
  std::vector<std::string>& calls;
  ~Listener() { calls.push_back("~" + name); }
};

class ListenerListTest : public Test {
 protected:
  tessivar::testing::LogRecorder log;
  std::vector<std::string> calls;
  Listener a{"a", calls}, b{"b", calls}, c{"c", calls};
  ListenerList<Listener> list{"TessivarDDS::Listener"};
};

TEST_F(ListenerListTest, NotifiesEachOnceInOrderDespiteExceptions) {
  for (Listener* listener : {&b, &a, static_cast<Listener*>(nullptr), &c, &b}) list.attachListener(listener, false);
  const auto notify = [&](Listener& listener) {
    calls.push_back(listener.name);
    if (&listener == &b) throw std::runtime_error("boom");
    return &listener != &a;  // ends the notification after `a`
  };
  list.notify("X::y", notify);
  EXPECT_THAT(log.lines(), ElementsAre("8 X::y Exception in the application's code: boom"));
  for (int twice = 0; twice < 2; ++twice) EXPECT_TRUE(list.detachListener(&a));
  EXPECT_TRUE(list.notify("X::y", notify));
  EXPECT_THAT(calls, ElementsAre("b", "a", "b", "c"));
}

TEST_F(ListenerListTest, DeletesOwnedListenersOnce) {
  std::vector<Listener*> own;
  for (const char* name : {"owned", "owned later", "given back"}) own.push_back(new Listener{name, calls});
  {
    ListenerList<Listener> discarded;
    for (Listener* listener : own) discarded.attachListener(listener, listener != own[1]);
    discarded.attachListener(own[1], true);
    discarded.detachListener(own[2]);
  }
  EXPECT_THAT(calls, ElementsAre("~owned", "~owned later"));
  delete own[2];
}

TEST_F(ListenerListTest, FailsIfTheLockIsHeldForASecond) {
  list.attachListener(&a, false);
  // All at the same time, each on its own thread, while a notification holds the lock.
  list.notify("", [&](Listener&) {
    const std::jthread attach([&] { list.attachListener(&b, false); });
    const std::jthread detach([&] { EXPECT_FALSE(list.detachListener(&a)); });
    EXPECT_FALSE(list.detachListener(&a)) << "at once, as it would never get the lock";
    const std::jthread clear([&] { list.clear(); });
    const std::jthread notify([&] { EXPECT_FALSE(list.notify("X::notify", [](Listener&) { FAIL(); })); });
  });
  EXPECT_THAT(log.lines(), AllOf(SizeIs(5), Each(EndsWith("Error locking list"))));
  list.notify("", [&](Listener& listener) { EXPECT_EQ(&listener, &a) << "unchanged"; });
}

TEST(DDSPtrTest, DeletesWithItsLastCopy) {
  struct Counted {
    explicit Counted(int& count) : released(count) {}
    ~Counted() { ++released; }
    int& released;
  };
  typedef DDSPtr<Counted> Pointer;
  int released = 0;
  Pointer a(new Counted(released));
  {
    Pointer b = a, c = b;
    b = Pointer(std::move(a));
    EXPECT_TRUE(!a && b == c);
    a = c;
  }
  EXPECT_EQ(released, 0);
  a.reset(new Counted(released));
  EXPECT_EQ(released, 1);
  {
    const auto copy = [a] {
      for (int i = 0; i < 3000; ++i) const Pointer copied = a;
    };
    const std::jthread one(copy), two(copy);
    a = nullptr;
  }
  EXPECT_EQ(released, 2);
}

}  // namespace
