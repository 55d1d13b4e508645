#include "delivery/Delivery.h"
#include "delivery/EventQueue.h"

class EventQueues : public testing::Test {
 protected:
  // Events that are told apart by their time.
  void put(std::initializer_list<ULONG> times) {
    for (const ULONG time : times) queue.append(make(time));
  }
  static Event* make(ULONG time) {
    auto* event = new SQLEvent(Event::END);
    event->timeSec_ = time;
    return event;
  }
  std::vector<ULONG> waiting() {
    std::vector<ULONG> times;
    queue.forEach([&](const Event* event) { times.push_back(event->timeSec_); });
    return times;
  }
  static void drop(Event* event) { delete event; }
  using Times = std::vector<ULONG>;
  EventQueue queue;
};

TEST_F(EventQueues, WhatAConsumerLeavesIsInFrontOfWhatCameMeanwhile) {
  put({1, 2, 3, 4});
  {
    EventQueue::Consumer consumer(queue);
    drop(consumer.next());
    Event* second = consumer.next();
    EXPECT_EQ(queue.size(), 2);
    put({5});
    consumer.putBack(second);
    EXPECT_EQ(queue.size(), 4);
  }
  EXPECT_EQ(waiting(), (Times{2, 3, 4, 5}));
  {
    EventQueue::Consumer consumer(queue);
    EventChain kept;
    kept.append(consumer.next());
    drop(consumer.next());
    kept.append(consumer.next());
    consumer.putBackAll(std::move(kept));
  }
  EXPECT_EQ(waiting(), (Times{2, 4, 5}));
  EXPECT_EQ(queue.size(), 3);
  while (Event* event = queue.pop()) drop(event);
  EXPECT_EQ(queue.size(), 0);
  put({6});
  EXPECT_EQ(waiting(), Times{6}) << "a queue that has been emptied";
}

TEST_F(EventQueues, TakesOutWhatMatches) {
  put({1, 2, 3, 4});
  const EventChain even = queue.takeIf([](const Event& event) { return event.timeSec_ % 2 == 0; });
  Times taken;
  even.forEach([&](const Event* event) { taken.push_back(event->timeSec_); });
  EXPECT_EQ(taken, (Times{2, 4}));
  EXPECT_EQ(waiting(), (Times{1, 3}));
  EXPECT_EQ(queue.size(), 2);
}

// Each appender's events come out in its order and once, with a consumer that often puts back.
TEST_F(EventQueues, OrderOfEachAppender) {
  constexpr ULONG kEach = 5'000;
  std::vector<std::jthread> appenders;
  for (ULONG who = 0; who < 3; ++who)
    appenders.emplace_back([this, who] {
      for (ULONG i = 0; i < kEach; ++i) put({who * kEach + i});
    });
  ULONG next[3] = {};
  for (ULONG seen = 0; seen < 3 * kEach;) {
    EventQueue::Consumer consumer(queue);
    for (int i = 0; i < 7; ++i) {
      Event* event = consumer.next();
      if (!event) break;
      if (i == 6) {
        consumer.putBack(event);
        break;
      }
      const ULONG who = event->timeSec_ / kEach;
      ASSERT_EQ(event->timeSec_ % kEach, next[who]++);
      drop(event);
      ++seen;
    }
  }
  EXPECT_EQ(queue.size(), 0);
}

// What others see of a queue through which one event at a time goes.
TEST_F(EventQueues, SizeIsNeverNegative) {
  std::atomic<bool> stop{false};
  std::jthread busy([&] {
    while (!stop) {
      put({1});
      drop(queue.pop());
    }
  });
  int least = 0;
  for (int i = 0; i < 1'000'000; ++i) least = std::min(least, queue.size());
  stop = true;
  EXPECT_EQ(least, 0);
}
