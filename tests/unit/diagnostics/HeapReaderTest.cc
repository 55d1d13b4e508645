#include "diagnostics/HeapReader.h"
#include "fake/Bytes.h"
#include "unit/Test.h"

// Class 7 is "a.Plain" with two interfaces; class 8 is "a.Static" with a static field of each
// width and one of an unknown type; 9 is named like 7. Nobody knows any other class.
static ClassLoadRecord* described(jobjectID id) {
  static auto& record = *new ClassLoadRecord;
  static const unsigned char types[] = {JVMPI_BOOLEAN, JVMPI_CHAR, JVMPI_CLASS, JVMPI_LONG, 0};
  const auto number = reinterpret_cast<std::uintptr_t>(id);
  if (number < 7 || number > 9) return nullptr;
  EXPECT_EQ(record.static_types, nullptr) << "the reader frees what the last request brought";
  const bool hasStatics = number == 8;
  std::snprintf(record.class_name, sizeof record.class_name, hasStatics ? "a.Static" : "a.Plain");
  record.num_interfaces = hasStatics ? 0 : 2;
  record.num_static_fields = hasStatics ? 5 : 0;
  record.static_types = new unsigned char[std::size(types)];
  std::copy(std::begin(types), std::end(types), record.static_types);
  return &record;
}

// "instances 2/16 arrays 1/40 primitives 0/0 | a.Plain 2/16"
static std::string summed(std::string_view dump) {
  std::map<std::string, std::pair<int, unsigned>> rows;
  const HeapTotals t =
      readHeapRecords(dump, {described, [&](jobjectID, const auto& of, ULONG size) {
                               ++rows[of.class_name].first;
                               rows[of.class_name].second += size;
                             }});
  EXPECT_EQ(t.TotalObjectCount, t.InstanceCount + t.ObjectArrayCount + t.PrimitiveArrayCount);
  EXPECT_EQ(t.TotalObjectSize, t.InstanceSize + t.ObjectArraySize + t.PrimitiveArraySize);
  const auto pair = [](auto count, auto size) {
    return std::to_string(count) + "/" + std::to_string(size);
  };
  std::string text = "instances " + pair(t.InstanceCount, t.InstanceSize) + " arrays " +
                     pair(t.ObjectArrayCount, t.ObjectArraySize) + " primitives " +
                     pair(t.PrimitiveArrayCount, t.PrimitiveArraySize) + " |";
  for (const auto& [name, row] : rows) text += " " + name + " " + pair(row.first, row.second);
  return text;
}

// Ids are in host order, all else is big-endian. A class's six further ids say nothing here.
#define SIX_IDS "AAAAAAAA BBBBBBBB CCCCCCCC DDDDDDDD EEEEEEEE FFFFFFFF "
#define INSTANCE_OF_7 "21 01000000 07000000 00000004 DEADBEEF "
#define INT_ARRAY "23 04000000 00000003 0A 000000010000000200000003 "

TEST(HeapReader, Records) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"nothing", "", "instances 0/0 arrays 0/0 primitives 0/0 |"},
      {"every root, each hiding instance tags in its body",
       "FF 21212121 01 2121212121212121 02 212121212121212121212121 "
       "03 212121212121212121212121 04 2121212121212121 05 21212121 06 2121212121212121 "
       "07 21212121 " INSTANCE_OF_7,
       "instances 1/4 arrays 0/0 primitives 0/0 | a.Plain 1/4"},
      {"unknown tags are one byte each", "00 08 24 80 FE " INSTANCE_OF_7,
       "instances 1/4 arrays 0/0 primitives 0/0 | a.Plain 1/4"},
      {"interfaces and pool: 7 bytes for each of 3 entries, whatever their types",
       "20 07000000 " SIX_IDS "00000004 21212121 21212121 0003 "
       "21210421212121 21210B21212121 21210221212121 " INSTANCE_OF_7,
       "instances 1/4 arrays 0/0 primitives 0/0 | a.Plain 1/4"},
      {"static values by their types, nothing for an unknown one",
       "20 08000000 " SIX_IDS "00000004 0000 21 2121 21212121 2121212121212121 " INSTANCE_OF_7,
       "instances 1/4 arrays 0/0 primitives 0/0 | a.Plain 1/4"},
      {"a class that nobody knows: the rest of its record is read as records",
       "20 63000000 " SIX_IDS "00000004 " INT_ARRAY "0000",
       "instances 0/0 arrays 0/0 primitives 1/12 |"},
      {"an instance of an unknown class counts, and its values are read as records",
       "21 01000000 63000000 0000001A " INT_ARRAY, "instances 1/26 arrays 0/0 primitives 1/12 |"},
      {"two classes of one name share a row",
       INSTANCE_OF_7 "21 02000000 09000000 00000001 23 21 03000000 08000000 00000000 ",
       "instances 3/5 arrays 0/0 primitives 0/0 | a.Plain 2/5 a.Static 1/0"},
      {"object array", "22 01000000 00000002 07000000 21212121 21212121 " INSTANCE_OF_7,
       "instances 1/4 arrays 1/8 primitives 0/0 | a.Plain 1/4"},
      {"primitive arrays of one element each",
       "23 01000000 00000001 04 21 23 01000000 00000001 05 2121 23 01000000 00000001 06 21212121 "
       "23 01000000 00000001 08 21 23 01000000 00000001 09 2121 23 01000000 00000001 0A 21212121",
       "instances 0/0 arrays 0/0 primitives 6/14 |"},
      {"elements of 8 bytes are counted with 4",
       "23 01000000 00000002 07 21212121212121212121212121212121 "
       "23 01000000 00000001 0B 2121212121212121 " INSTANCE_OF_7,
       "instances 1/4 arrays 0/0 primitives 2/12 | a.Plain 1/4"},
      {"an array of no primitive type is neither counted nor skipped",
       "23 01000000 00000004 02 23 01000000 00000001 04 21",
       "instances 0/0 arrays 0/0 primitives 1/1 |"},
      {"more announced than there is: counted, and the end",
       "22 01000000 FFFFFFFF 07000000 " INSTANCE_OF_7,
       "instances 0/0 arrays 1/17179869180 primitives 0/0 |"},
      {"8 bytes for each of many elements do not wrap", "23 01000000 FFFFFFFF 0B " INSTANCE_OF_7,
       "instances 0/0 arrays 0/0 primitives 1/17179869180 |"},
  };
  for (const auto& [why, hex, expected] : cases) EXPECT_EQ(summed(bytes(hex)), expected) << why;
}
