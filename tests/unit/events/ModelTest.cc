// The events as the queues and the memory monitor see them.
#include <gtest/gtest.h>

#include <set>

#include "events/Events.h"
#include "instrument/ClassTable.h"

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
