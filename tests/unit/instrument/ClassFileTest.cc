#include "ClassMaker.h"

using testing::ElementsAreArray;

static int end(const ConstantPool& pool, const std::vector<BYTE>& of) {
  return static_cast<int>(pool.end - of.data());
}

TEST(ClassFile, ConstantPools) {
  const std::tuple<const char*, const char*, int> cases[] = {
      {"no entries", "0001", 2},
      {"every kind with one index",
       "000A 01 0002 'ab' 03 00000001 04 00000001 07 0001 08 0001 "
       "09 0004 0009 0A 0004 0009 0B 0004 0009 0C 0001 0001",
       2 + 5 + 5 + 5 + 3 + 3 + 5 * 4},
      {"long and double take two", "0005 05 0000000000000001 06 0000000000000001", 20},
      {"more than the pool follows", "0002 01 0001 'a' FFFF", 6},
      {"an empty text", "0002 01 0000", 5},
      {"nothing", "", -1},
      {"an entry is missing", "0002", -1},
      {"a text that ends early", "0002 01 0003 'ab'", -1},
      {"a number that ends early", "0002 03 0000", -1},
      {"a Long without its second index", "0002 05 0000000000000001", -1},
      {"tag 0", "0002 00 0000", -1},
      {"tag 2", "0002 02 0000", -1},
      {"method handle", "0002 0F 01 0001", -1},
      {"dynamic call site", "0003 01 0000 12 0001 0001", -1},
  };
  for (const auto& [why, notation, expected] : cases) {
    SCOPED_TRACE(why);
    const auto data = bytes(notation);
    const OwnedConstantPool pool = parseConstantPool(data);
    ASSERT_EQ(pool != nullptr, expected >= 0);
    if (!pool) continue;
    EXPECT_EQ(end(*pool, data), expected);
    EXPECT_EQ(pool->start, data.data() + 2);
  }
}

TEST(ClassFile, EntriesPointIntoTheClass) {
  const auto data = bytes("0006 05 0000000000000001 01 0002 'p/' 07 0003 0C 0003 0003");
  const OwnedConstantPool pool = parseConstantPool(data);
  ASSERT_TRUE(pool);
  EXPECT_EQ(pool->entries[0], nullptr);
  EXPECT_EQ(pool->entries[1], data.data() + 2);
  EXPECT_EQ(pool->entries[2], nullptr);
  EXPECT_EQ(pool->utf8(3), "p/");
  EXPECT_EQ(pool->className(4), "p/");
  EXPECT_EQ(pool->operand(5, 1), 3);
  for (const USHORT outside : {0, 2, 6, 65535}) {
    EXPECT_EQ(pool->tag(outside), 0);
    EXPECT_EQ(pool->utf8(outside), "");
    EXPECT_EQ(pool->operand(outside, 0), 0);
  }
}

TEST(ClassFile, References) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"class", "0003 07 0002 01 0001 'a'", true},
      {"class names a class", "0003 07 0001 01 0001 'a'", false},
      {"string names entry 0", "0002 08 0000", false},
      {"index behind the pool", "0002 07 0002", false},
      {"second half of a Long", "0004 05 0000000000000001 07 0002", false},
      {"method", "0005 01 0001 'a' 07 0001 0C 0001 0001 0A 0002 0003", true},
      {"method of a text", "0005 01 0001 'a' 07 0001 0C 0001 0001 0A 0001 0003", false},
      {"method without a type", "0005 01 0001 'a' 07 0001 0C 0001 0001 0B 0002 0001", false},
      {"type that is no text", "0004 01 0001 'a' 07 0001 0C 0001 0002", false},
  };
  for (const auto& [why, notation, holds] : cases) {
    SCOPED_TRACE(why);
    const auto data = bytes(notation);
    const OwnedConstantPool pool = parseConstantPool(data);
    ASSERT_TRUE(pool);
    EXPECT_EQ(referencesHold(*pool), holds);
  }
}

TEST(ClassFile, Descriptors) {
  const std::tuple<const char*, const char*> cases[] = {
      {"()V", "V"},
      {"(Ljava/lang/String;[BIJ)V", "AAILV"},
      {"([[Ljava/lang/Object;D)J", "ADL"},
      {"(BCSZFDIJ)[[I", "IIIIFDILA"},
      {"([I[[J[La/B;I)La/B;", "AAAIA"},
      {"(Q)V", "QV"},
      {"", nullptr},
      {"(", nullptr},
      {"(I", nullptr},
      {"([", nullptr},
      {"(L;", nullptr},
      {"([)V", nullptr},  // the bracket is the array's element
  };
  for (const auto& [descriptor, letters] : cases) {
    SCOPED_TRACE(descriptor);
    const auto parsed = parseDescriptor(descriptor);
    ASSERT_EQ(parsed.has_value(), letters != nullptr);
    if (letters) {
      EXPECT_EQ(*parsed, letters);
    }
  }
}

// The usual ones are in every rewritten class, whose bytes are compared.
TEST(ClassFile, OtherInstructions) {
  struct Case {
    const char* why;
    void (*emit)(BYTE** code);
    const char* expected;
  };
  const Case cases[] = {
      {"aload 255", [](BYTE** c) { aload(c, 255); }, "19 FF"},
      {"no wide prefix", [](BYTE** c) { aload(c, 300); }, "19 01 2C"},
      {"no such type keeps the byte", [](BYTE** c) { xload(c, 'V', 1); }, "EE 01"},
      {"no such type, high slot", [](BYTE** c) { xload(c, 'V', 256); }, "C4 01 00"},
      {"istore, high slot", [](BYTE** c) { istore(c, 256); }, "36 01 00"},
      {"a word", [](BYTE** c) { appendULONG(c, 0x12345678); }, "12345678"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.why);
    std::vector<BYTE> buffer(8, 0xEE);
    BYTE* code = buffer.data();
    c.emit(&code);
    const auto length = static_cast<std::size_t>(code - buffer.data());
    auto expected = bytes(c.expected);
    EXPECT_EQ(length, expected.size());
    expected.resize(buffer.size(), 0xEE);
    EXPECT_THAT(buffer, ElementsAreArray(expected));
  }
}

TEST(ClassLayout, NothingMayFollow) {
  auto longer = LoaderClass().make();
  longer.push_back(0);
  EXPECT_FALSE(readClassLayout(longer));
}

TEST(ClassLayout, NamesThatJavaCanBeTold) {
  const std::tuple<std::string, bool> cases[] = {
      {"p/\xC3\xA4", true},  {"p/\xE2\x82\xAC", true},
      {"\xC0\x80", true},    {std::string("p\0q", 3), false},
      {"p/\xC3", false},     {"p/\x80", false},
      {"p/\xE2\x82", false}, {"p/\xF0\x9F\x98\x80", false},
      {"", false},
  };
  for (const auto& [name, readable] : cases) {
    LoaderClass cls;
    cls.name = name;
    EXPECT_EQ(readClassLayout(cls.make()).has_value(), readable) << name;
  }
}
