// Events and their texts as memory, and as queues and the memory monitor see them.
#include <pthread.h>

#include <random>

#include "events/Events.h"
#include "instrument/ClassTable.h"
#include "unit/Test.h"

using Events = std::vector<std::unique_ptr<Event>>;

class EventMemories : public testing::Test {
 protected:
  // What a thread of its own makes, all of it handed to us; the thread has ended then.
  template <class Make>
  static void onThread(Make make) {
    std::thread(make).join();
  }
  static std::size_t inUse() { return EventMemory::chunksInUse(); }
  const std::size_t before = inUse();
};

static std::string pattern(std::size_t length) {
  std::string bytes(length, '\0');
  for (std::size_t i = 0; i < length; ++i)
    bytes[i] = static_cast<char>('a' + (i * 7 + length) % 26);
  return bytes;
}

// Sizes on both sides of each bound, so many that chunks fill up in every way; deleted in any
// order.
TEST_F(EventMemories, PiecesKeepTheirBytesAndLeaveNothing) {
  std::vector<OwnedText> texts;
  Events events;
  onThread([&] {
    for (int round = 0; round < 40; ++round)
      for (const std::size_t length :
           {std::size_t{1}, std::size_t{7}, std::size_t{300}, EventMemory::kLargest - 1,
            EventMemory::kLargest, EventMemory::kChunkBytes, 3 * EventMemory::kChunkBytes}) {
        texts.push_back(OwnedText::copyOf(pattern(length)));
        events.push_back(std::make_unique<SQLEvent>(Event::START));
        static_cast<SQLEvent&>(*events.back()).sql = OwnedText::copyOf(pattern(length));
      }
  });
  EXPECT_GT(inUse(), before);
  std::shuffle(texts.begin(), texts.end(), std::minstd_rand(7));
  for (const OwnedText& text : texts) {
    ASSERT_EQ(text.view(), pattern(text.length()));
    ASSERT_EQ(text[text.length()], '\0');
  }
  for (const auto& event : events) {
    const OwnedText& sql = static_cast<SQLEvent&>(*event).sql;
    ASSERT_EQ(sql.view(), pattern(sql.length()));
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(event.get()) % alignof(SQLEvent), 0u);
  }
  texts.clear();
  events.clear();
  EXPECT_EQ(inUse(), before);
}

TEST_F(EventMemories, EmptyTextsNeedNone) {
  onThread([] {
    const OwnedText copied = OwnedText::copyOf(""), none;
    OwnedText unfilled = OwnedText::filled(100, [](char*) { return std::size_t{0}; });
    OwnedText large = OwnedText::filled(100'000, [](char*) { return std::size_t{0}; });
    EXPECT_STREQ(copied.get(), "");
    EXPECT_STREQ(unfilled.get(), "");
    EXPECT_STREQ(large.get(), "");
    EXPECT_FALSE(none);
    unfilled = std::move(large);
    EXPECT_EQ(none.view(), copied.view());
  });
  EXPECT_EQ(inUse(), before);
}

// Made here, freed there, one by one and many at a time, while both go on.
TEST_F(EventMemories, FreedOnOtherThreads) {
  constexpr int kBatches = 200, kEach = 50;
  for (const bool many : {false, true}) {
    std::vector<std::thread> makers;
    for (int maker = 0; maker < 4; ++maker)
      makers.emplace_back([many] {
        std::thread frees;
        for (int batch = 0; batch < kBatches; ++batch) {
          auto events = std::make_shared<Events>();
          for (int i = 0; i < kEach; ++i) {
            auto event = std::make_unique<JNDIEvent>(Event::START);
            event->lookupName = OwnedText::copyOf(pattern(40));
            events->push_back(std::move(event));
          }
          if (frees.joinable()) frees.join();
          frees = std::thread([events, many] {
            if (!many) return events->clear();
            const EventMemory::FreeingMany freeing;
            events->clear();
          });
        }
        frees.join();
      });
    for (auto& maker : makers) maker.join();
    EXPECT_EQ(inUse(), before) << many;
  }
}

// What a thread makes when its thread-local data is gone already: a library that detaches its
// threads from the JVM by such a key is met often.
TEST_F(EventMemories, ThreadsThatReportLateInTheirEnd) {
  static OwnedText late;
  pthread_key_t key;
  ASSERT_EQ(pthread_key_create(&key, [](void*) { late = OwnedText::copyOf(pattern(40)); }), 0);
  onThread([key] {
    pthread_setspecific(key, &late);
    EXPECT_EQ(OwnedText::copyOf(pattern(7)).view(), pattern(7));
  });
  pthread_key_delete(key);
  EXPECT_EQ(late.view(), pattern(40));
  late = {};
  EXPECT_EQ(inUse(), before);
}

TEST(Events, OnlyFourKindsAreNeverShed) {
  std::set<int> kept;
  for (int type = 0; type < Event::kTypes; ++type) {
    const Event e(static_cast<Event::EventType>(type), Event::START, 0);
    if (!e.isDroppable()) kept.insert(type);
  }
  EXPECT_EQ(kept, (std::set<int>{1, 13, 15, 44}));
}

TEST(Events, ClassRecordGoesWithItsEventWhenMarked) {
  jclass_t borrowed;
  {
    ClassEvent(Event::LOAD).classData.reset(&borrowed);
  }  // freed here, it would be a stack address
  EXPECT_EQ(borrowed.num_methods, 0);

  auto* owned = new jclass_t;  // leaked if not freed: the sanitizer's leak check says so
  owned->delete_flag = 1;
  ClassEvent(Event::UNLOAD).classData.reset(owned);
}

#if VEL_ADDRESS_SANITIZER
// Chunks are no heap blocks of the sanitizer's: it knows what is in use only from us.
TEST_F(EventMemories, TheSanitizerKnowsWhatIsInUse) {
  onThread([] {
    const auto poisoned = [](const void* at) { return __asan_address_is_poisoned(at) != 0; };
    auto event = std::make_unique<SQLEvent>(Event::START);
    event->sql = OwnedText::filled(300, [](char* room) { return pattern(16).copy(room, 16); });
    const char* const sql = event->sql.get();
    const OwnedText next = OwnedText::copyOf(pattern(16));
    EXPECT_FALSE(poisoned(sql));
    EXPECT_TRUE(poisoned(next.get() + 16 + 8)) << "room that a text did not keep";
    const void* const freed = event.get();
    event.reset();
    EXPECT_TRUE(poisoned(freed));
    EXPECT_TRUE(poisoned(sql));
    EXPECT_FALSE(poisoned(next.get()) || poisoned(next.get() + 16)) << "its neighbour";
  });
}
#endif
