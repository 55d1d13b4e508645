#include "delivery/Settings.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <iterator>

#include "base/VeloraBase.h"
#include "core/PropertyMgr.h"
#include "delivery/LogText.h"

constexpr SettingBounds kBounds[] = {
    {Setting::eventPublishFrequency, "internal.probe.publishing.frequency", 2000, 10, 600'000},
    {Setting::eventQueueLimit, "internal.probe.event.queue.size.limit", 5000, 1, 1'000'000},
    {Setting::eventPacketSize, "internal.probe.event.packet.size", 5000, 1, 65'536},
    {Setting::eventPoolSize, "eventagent.pool.size", 1, 1, 64},
    {Setting::networkPublishFrequency, "networkagent.publish.frequency", 500, 1, 600'000},
    {Setting::networkBufferLimit, "networkagent.buffer.limit", 10, 1, 1000},
    {Setting::networkPoolSize, "networkagent.pool.size", 1, 1, 64},
    {Setting::socketTimeout, "networkagent.socket.timeout", -1, -1, 86'400},
    {Setting::socketResetTime, "networkagent.socket.resettime", -1, -1, INT_MAX},
    {Setting::socketPort, "networkagent.socket.port", 0, 0, 65'535},
    // Above 4000 MB the ceiling in bytes would leave 32 bits; a low one has a message of its own.
    {Setting::memoryLimit, "internal.memory.limit", 60, 0, 4000},
    {Setting::acceptThreshold, "internal.memory.accept.threshold", 2, 0, 4000},
    {Setting::urlLimit, "internal.url.limit", 1000, 1, 65'536},
    {Setting::sqlLimit, "internal.sql.limit", 5000, 1, 65'536},
    {Setting::counterResetTime, "internal.counter.resettime", 3600, 0, INT_MAX},
};

consteval bool rowsFollowTheEnum() {
  for (std::size_t i = 0; i < std::size(kBounds); ++i)
    if (kBounds[i].setting != static_cast<Setting>(i)) return false;
  return true;
}
static_assert(rowsFollowTheEnum());

const SettingBounds& boundsOf(Setting setting) {
  return kBounds[static_cast<std::size_t>(setting)];
}

static void warnOnce(const SettingBounds& bounds, long value, long used) {
  static std::atomic<bool> said[std::size(kBounds)];
  if (said[static_cast<std::size_t>(bounds.setting)].exchange(true)) return;
  VeloraBase("Settings")
      ._logWarn(__FILE_NAME__, __LINE__,
                LogText("%s = %ld is outside %ld to %ld, using %ld", bounds.key, value,
                        bounds.least, bounds.most, used));
}

long readSetting(Setting setting) {
  const SettingBounds& bounds = boundsOf(setting);
  const long value = PropertyMgr::getInstance()->getLongProperty(bounds.key, bounds.standard);
  const long used = std::clamp(value, bounds.least, bounds.most);
  if (used != value) warnOnce(bounds, value, used);
  return used;
}
