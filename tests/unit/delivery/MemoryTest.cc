// The memory ceiling, and the settings' bounds.
#include "core/AgentState.h"
#include "core/PropertyMgr.h"
#include "delivery/Delivery.h"
#include "delivery/QueuedBytes.h"
#include "delivery/Settings.h"

class Memory : public Delivery {
 protected:
  MemoryMonitor* monitor() { return MemoryMonitor::getInstance(); }
};

TEST_F(Memory, CeilingAndMargin) {
  struct Case {
    const char *why, *limit, *threshold;
    ULONG ceiling, margin;
    int ignored;
  };
  const Case cases[] = {
      {"as delivered", nullptr, nullptr, 60'000'000, 2'000'000, 0},
      {"below the least", "3", nullptr, 4'000'000, 0, 1},
      {"exactly the least", "4", nullptr, 4'000'000, 0, 1},
      {"margin above what is left", "5", "2", 5'000'000, 500'000, 0},
      {"margin equal to what is left", "6", "2", 6'000'000, 2'000'000, 0},
      {"negative", "-1", "-1", 4'000'000, 0, 1},
      {"beyond 32 bits", "5000", "2", 4'000'000'000, 2'000'000, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    PropertyMgr::destroy();
    toolkit.forget();
    if (c.limit) set("internal.memory.limit", c.limit);
    if (c.threshold) set("internal.memory.accept.threshold", c.threshold);
    monitor()->start();
    EXPECT_EQ(MemoryMonitor::userMemoryULimit_, c.ceiling);
    EXPECT_EQ(MemoryMonitor::memAcceptDelta_, c.margin);
    EXPECT_EQ(toolkit.count(1051), c.ignored);
    EXPECT_EQ(toolkit.count(1052), 1);
  }
}

TEST_F(Memory, ResetTimer) {
  const std::tuple<const char*, const char*, int> cases[] = {
      {"7", "2000", 3}, {"-5", "2000", 0}, {"3600", "999", 3600}};
  for (const auto& [reset, frequency, iterations] : cases) {
    set("internal.counter.resettime", reset);
    set("internal.probe.publishing.frequency", frequency);
    monitor()->start();
    EXPECT_EQ(MemoryMonitor::resetTimerCount_, iterations);
  }
}

TEST_F(Memory, StateIsKeptBetweenTheBounds) {
  monitor()->start();
  const unsigned long own = 4'000'000;
  const std::pair<unsigned long, bool> steps[] = {{59'999'999, false}, {60'000'000, true},
                                                  {59'000'000, true},  {58'000'001, true},
                                                  {58'000'000, false}, {59'000'000, false}};
  for (const auto& [estimate, refusing] : steps)
    EXPECT_EQ(monitor()->checkForULimit(estimate - own), refusing) << estimate;
  EXPECT_EQ(toolkit.count(1054), 1);
  EXPECT_EQ(toolkit.count(1055), 1);
}

TEST_F(Memory, EstimateHasAllItsParts) {
  class Packets : public QueuedBytes {
    long getTotalDataSize() override { return 1000; }
  } packets;
  startManagers();
  queuedBytes = &packets;
  ThreadMgr::getInstance()->createSpecialEventQueue(newEnv());
  monitor()->checkForULimit(7);
  EXPECT_EQ(monitor()->getMemoryTaken(), 4'000'000u + 148u + 1000u + 7u);
  monitor()->checkForULimit(1UL << 40);
  EXPECT_TRUE(MemoryMonitor::uLimitReached_) << "no wrap";
  queuedBytes = nullptr;
}

TEST_F(Memory, SettingsOutsideTheirBoundsAreMovedInside) {
  struct Case {
    Setting setting;
    const char* value;
    long used;
  };
  const Case cases[] = {
      {Setting::eventPublishFrequency, "0", 10},
      {Setting::eventPublishFrequency, "99999999999", 600'000},
      {Setting::eventPublishFrequency, "750", 750},
      {Setting::eventQueueLimit, "0", 1},
      {Setting::eventPacketSize, "0", 1},
      {Setting::eventPacketSize, "2147483647", 65'536},
      {Setting::eventPoolSize, "0", 1},
      {Setting::networkPoolSize, "1000000", 64},
      {Setting::networkPublishFrequency, "0", 1},
      {Setting::socketTimeout, "-7", -1},
      {Setting::socketPort, "70000", 65'535},
      {Setting::sqlLimit, "0", 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(boundsOf(c.setting).key);
    SCOPED_TRACE(c.value);
    set(boundsOf(c.setting).key, c.value);
    EXPECT_EQ(readSetting(c.setting), c.used);
  }
}
