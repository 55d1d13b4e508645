#include "base/ModifiedUtf8.h"
#include "unit/Test.h"

// At the end of room for three bytes each, as where the text is to stand.
static std::string converted(std::u16string_view units) {
  std::vector<jchar> room(2 * units.size() + 1);
  jchar* const wide = room.data() + room.size() - units.size();
  std::ranges::copy(units, wide);
  auto* const out = reinterpret_cast<char*>(wide) - units.size();
  return {out, toModifiedUtf8(wide, units.size(), out)};
}

TEST(ModifiedUtf8, EachUnitAtEachPlaceOfEachLength) {
  const std::pair<char16_t, std::string> special[] = {
      {u'z', "z"},
      {u'\0', {"\xC0\x80", 2}},
      {u'\x01', "\x01"},
      {u'\x7F', "\x7F"},
      {u'\x80', "\xC2\x80"},
      {u'\xFF', "\xC3\xBF"},
      {u'\x7FF', "\xDF\xBF"},
      {u'\x800', "\xE0\xA0\x80"},
      {static_cast<char16_t>(0x8041), "\xE8\x81\x81"},
      {static_cast<char16_t>(0xD83D), "\xED\xA0\xBD"},
      {static_cast<char16_t>(0xFFFF), "\xEF\xBF\xBF"},
  };
  for (std::size_t length : {1, 7, 8, 15, 16, 17, 24, 31, 40})
    for (std::size_t at = 0; at < length; ++at)
      for (const auto& [unit, bytes] : special) {
        std::u16string units(length, u'a');
        units[at] = unit;
        const std::string expected =
            std::string(at, 'a') + bytes + std::string(length - at - 1, 'a');
        ASSERT_EQ(converted(units), expected) << length << " units, at " << at;
      }
}

TEST(ModifiedUtf8, WrittenInFrontOfItsUnits) {
  EXPECT_EQ(converted(u""), "");
  std::string expected;
  for (int i = 0; i < 100; ++i) expected += "\xE2\x82\xAC";
  EXPECT_EQ(converted(std::u16string(100, u'\u20AC')), expected);
}
