#include "tessivar/framework/pointers/listener_list.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace TessivarDDS;
using testing::ElementsAre;
using testing::IsEmpty;

class Listener {
 public:
  Listener(std::string name, std::vector<std::string>& calls) : name_(std::move(name)), calls_(calls) {}
  virtual ~Listener() { calls_.push_back("~" + name_); }
  virtual void happened() { calls_.push_back(name_); }

 private:
  std::string name_;
  std::vector<std::string>& calls_;
};

class ListenerListTest : public testing::Test {
 protected:
  class Collector : public Logger {
   public:
    explicit Collector(std::vector<std::string>& messages) : messages_(messages) {}
    void log(int level, const std::string& message) override {
      const std::lock_guard lock(mutex_);
      messages_.push_back(std::to_string(level) + " " + message);
    }

   private:
    std::mutex mutex_;
    std::vector<std::string>& messages_;
  };

  ListenerListTest() { setLogger(new Collector(messages)); }
  ~ListenerListTest() override { setLogger(nullptr); }

  void notify() {
    EXPECT_TRUE(list.notify("void __cdecl X::y(void)", [](Listener& listener) { listener.happened(); }));
  }

  std::vector<std::string> messages;
  std::vector<std::string> calls;
  Listener a{"a", calls};
  Listener b{"b", calls};
  Listener c{"c", calls};
  ListenerList<Listener> list{"TessivarDDS::Listener"};
};

TEST_F(ListenerListTest, notifies_in_the_order_of_attachment) {
  notify();
  EXPECT_THAT(calls, IsEmpty());
  list.attachListener(&b, false);
  list.attachListener(&a, false);
  list.attachListener(nullptr, true);
  list.attachListener(&c, false);
  list.attachListener(&b, false);
  notify();
  EXPECT_THAT(calls, ElementsAre("b", "a", "c"));
  calls.clear();
  list.detachListener(&a);
  list.detachListener(&a);
  notify();
  EXPECT_THAT(calls, ElementsAre("b", "c"));
}

TEST_F(ListenerListTest, deletes_owned_listeners_only) {
  const struct {
    bool first, second;  // how it is attached, and again
    std::vector<std::string> deleted;
  } cases[] = {{true, true, {"~o"}}, {false, true, {"~o"}}, {true, false, {}}, {false, false, {}}};
  for (const auto& each : cases) {
    auto* listener = new Listener("o", calls);
    {
      ListenerList<Listener> other;
      other.attachListener(nullptr, true);
      other.attachListener(listener, each.first);
      other.attachListener(listener, each.second);
      other.clear();
      EXPECT_EQ(calls, each.deleted);
    }
    EXPECT_EQ(calls, each.deleted) << "once";
    if (each.deleted.empty()) delete listener;
    calls.clear();
  }
  auto* detached = new Listener("x", calls);
  {
    ListenerList<Listener> discarded;
    discarded.attachListener(new Listener("d", calls), true);
    discarded.attachListener(detached, true);
    discarded.detachListener(detached);
  }
  EXPECT_THAT(calls, ElementsAre("~d")) << "a list that goes clears itself; what was detached is the caller's";
  delete detached;
}

TEST_F(ListenerListTest, contains_what_a_listener_throws_and_stops_where_one_says_so) {
  for (Listener* listener : {&a, &b, &c}) list.attachListener(listener, false);
  EXPECT_TRUE(list.notify("void __cdecl X::y(void)", [&](Listener& listener) {
    if (&listener == &a) throw std::runtime_error("boom");
    listener.happened();
    return &listener != &b;
  }));
  EXPECT_THAT(calls, ElementsAre("b"));
  EXPECT_THAT(messages, ElementsAre("8 void __cdecl X::y(void) Exception in a listener: boom"));
}

TEST_F(ListenerListTest, gives_up_on_a_lock_held_for_a_second) {
  list.attachListener(&a, false);
  const std::string of_list = "8 void __cdecl TessivarDDS::ListenerList<class TessivarDDS::Listener>::";
  const struct {
    std::function<void()> operation;
    std::string message;
  } cases[] = {
      {[&] { list.attachListener(&b, false); },
       of_list + "attachListener(class TessivarDDS::Listener *,bool)Error locking list"},
      {[&] { list.detachListener(&a); }, of_list + "detachListener(class TessivarDDS::Listener *)Error locking list"},
      {[&] { list.clear(); }, of_list + "clear(void)Error locking list"},
      {[&] { EXPECT_FALSE(list.notify("void __cdecl X::y(void)", [](Listener&) { FAIL(); })); },
       "8 void __cdecl X::y(void)Error locking list"},
  };
  // All at once, each on a thread of its own, while a notification holds the lock.
  list.notify("", [&](Listener&) {
    std::vector<std::thread> threads;
    for (const auto& each : cases) threads.emplace_back(each.operation);
    for (std::thread& thread : threads) thread.join();
  });
  std::vector<std::string> expected;
  for (const auto& each : cases) expected.push_back(each.message);
  EXPECT_THAT(messages, testing::UnorderedElementsAreArray(expected));
  notify();
  EXPECT_THAT(calls, ElementsAre("a")) << "unchanged";
}

TEST_F(ListenerListTest, is_attached_to_and_notified_by_many_threads) {
  std::atomic<int> notified = 0;
  std::vector<std::thread> threads;
  for (Listener* listener : {&a, &b, &c}) {
    threads.emplace_back([this, listener, &notified] {
      for (int i = 0; i < 300; ++i) {
        list.attachListener(listener, false);
        list.notify("", [&](Listener&) { ++notified; });
        list.detachListener(listener);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_GE(notified, 900);
  notify();
  EXPECT_THAT(calls, IsEmpty());
}

}  // namespace
