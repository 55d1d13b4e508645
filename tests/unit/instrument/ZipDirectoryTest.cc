#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Archive.h"
#include "instrument/ZipDirectory.h"

using testing::ElementsAre;
using testing::IsEmpty;

static std::vector<std::string> namesIn(const std::string& directory, unsigned entries) {
  // A copy of its own: the sanitizers see every byte beyond it.
  const std::vector<BYTE> bytes(directory.begin(), directory.end());
  std::vector<std::string> names;
  const unsigned seen =
      forEachZipName(bytes, entries, [&](std::string_view name) { names.emplace_back(name); });
  EXPECT_EQ(seen, names.size());
  return names;
}

static std::optional<ZipEnd> endOf(const std::string& record) {
  std::array<BYTE, kZipEndSize> bytes{};
  std::ranges::copy(record, bytes.begin());
  return zipEnd(bytes);
}

TEST(ZipDirectory, End) {
  const auto end = endOf(archiveEnd(0x0201, 0x04030201, 0xFFFFFFFF));
  ASSERT_TRUE(end);
  EXPECT_EQ(end->entries, 0x0201u);
  EXPECT_EQ(end->directorySize, 0x04030201u);
  EXPECT_EQ(end->directoryOffset, 0xFFFFFFFFu);
  std::string other = archiveEnd(1, 1, 1);
  other[3] = 7;
  EXPECT_FALSE(endOf(other));
}

TEST(ZipDirectory, Names) {
  const std::string directory =
      archiveEntry("a/A.class") + archiveEntry("b", "extra", "comment") + archiveEntry("");
  EXPECT_THAT(namesIn(directory, 3), ElementsAre("a/A.class", "b", ""));
  EXPECT_THAT(namesIn(directory, 2), ElementsAre("a/A.class", "b"));
  EXPECT_THAT(namesIn(directory, 65535), ElementsAre("a/A.class", "b", "")) << "counts may lie";
  EXPECT_THAT(namesIn("", 1), IsEmpty());
  EXPECT_THAT(namesIn(archiveEntry("a") + "junk" + archiveEntry("b"), 2), ElementsAre("a"));
}

TEST(ZipDirectory, LyingLengths) {
  for (const std::size_t lengthAt : {28u, 30u, 32u}) {
    SCOPED_TRACE(lengthAt);
    std::string last = archiveEntry("b/B.class", "x", "y");
    last[lengthAt] = last[lengthAt + 1] = '\xFF';
    EXPECT_THAT(namesIn(archiveEntry("a/A.class") + last, 2), ElementsAre("a/A.class"));
  }
}
