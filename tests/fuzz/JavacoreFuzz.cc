// Javacore and location files of any bytes. What is read lies within the line it was read from.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "diagnostics/javacoreText.h"

static bool liesWithin(std::string_view part, std::string_view whole) {
  return part.empty() ||
         (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string_view newest = newestLocation(text);
  if (!liesWithin(newest, text) || newest.find('\n') != newest.npos) std::abort();
  timeOfJavacore(text, 1);
  JavacoreReader reader(0x2A);
  JavacoreFrame found;
  for (std::size_t at = 0; at < size;) {
    const auto line = text.substr(at, text.find('\n', at) - at);
    const auto meaning = reader.take(line, found);
    if (meaning == JavacoreReader::stackEnds) break;
    if (meaning == JavacoreReader::frame &&
        (!liesWithin(found.className, line) || !liesWithin(found.methodName, line) ||
         found.methodName.find('.') != std::string_view::npos))
      std::abort();
    if (const auto path = pathOfLocation(line); path && !liesWithin(*path, line)) std::abort();
    at += line.size() + 1;
  }
  return 0;
}
