#include "Support.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

#include "fake/Bytes.h"

namespace collector {

ByteString bytes(std::string_view hex) {
  const std::string named = ::bytes(hex);
  return {named.begin(), named.end()};
}

ByteString operator+(ByteString left, const ByteString& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

ByteString packet(const std::vector<ByteString>& records) {
  ByteString result = bytes("00 00000000 7F7F");
  result[3] = static_cast<std::uint8_t>(records.size() >> 8);
  result[4] = static_cast<std::uint8_t>(records.size());
  for (const ByteString& record : records) result = std::move(result) + record;
  return result;
}

// An example is some lines of hexadecimal digits and then one of JSON.
static std::vector<Example> readPage() {
  std::vector<Example> examples;
  std::istringstream page(contentOf(PROTOCOL_PAGE));
  std::string hex;
  bool inBlock = false;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("```")) {
      inBlock = line == "```record";
    } else if (inBlock && line.starts_with('{')) {
      examples.push_back({bytes(hex), line});
      hex.clear();
    } else if (inBlock) {
      hex += line;
    }
  }
  return examples;
}

const std::vector<Example>& pageExamples() {
  static const std::vector<Example> examples = readPage();
  return examples;
}

const ByteString& exampleOf(std::string_view record) {
  const auto found = std::ranges::find_if(pageExamples(), [&](const Example& example) {
    return nlohmann::json::parse(example.json)["record"] == record;
  });
  if (found == pageExamples().end()) throw std::invalid_argument("no example");
  return found->bytes;
}

void Story::onMalformed(const Malformed& malformed) {
  told.push_back(std::string("! ") + textOf(malformed.reason) + " at " +
                 std::to_string(malformed.offset) + " in " +
                 std::to_string(malformed.recordOffset));
}

void Story::onSkipped(const Skipped& skipped) {
  told.push_back("> " + std::to_string(skipped.bytes) + " skipped");
}

std::vector<std::string> storyOf(const ByteString& stream, std::size_t pieceSize) {
  Story story;
  Decoder decoder(story);
  for (Bytes rest(stream); !rest.empty();) {
    const Bytes piece = rest.first(std::min(pieceSize, rest.size()));
    decoder.feed(piece);
    rest = rest.subspan(piece.size());
  }
  decoder.finish();
  return story.told;
}

}  // namespace collector
