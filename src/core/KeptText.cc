#include "core/KeptText.h"

#include <mutex>
#include <string>
#include <unordered_set>

const char* keptText(const char* text) {
  static std::mutex mutex;
  static auto* const texts = new std::unordered_set<std::string>;
  if (!text) return nullptr;
  const std::lock_guard keeping(mutex);
  return texts->emplace(text).first->c_str();
}
