#include "RewrittenClass.h"

#include <cstring>
#include <set>
#include <string_view>
#include <vector>

#include "jvm/ByteReader.h"

namespace bridge {

struct Cut {
  std::size_t attributes;  // where the method's attribute count stands
  std::size_t begin, end;
};

struct Walk {
  explicit Walk(std::span<const unsigned char> bytes) : in(bytes), start(bytes.data()) {}
  std::size_t position() const { return static_cast<std::size_t>(in.at() - start); }

  ByteReader in;
  const unsigned char* start;
  std::set<unsigned> names;  // entries that say "Exceptions"
  std::vector<Cut> cuts;
};

// What a rewritten class can have: the kinds of Java 1.4.
static void skipEntry(Walk& walk, unsigned& index) {
  constexpr std::size_t kSizes[] = {0, 0, 0, 4, 4, 8, 8, 2, 2, 4, 4, 4, 4};
  const unsigned tag = walk.in.u1();
  const std::size_t size = tag == 1 ? walk.in.u2() : tag < std::size(kSizes) ? kSizes[tag] : 0;
  const std::string_view text(reinterpret_cast<const char*>(walk.in.at()), size);
  const bool known = tag == 1 || size > 0;
  if (!walk.in.skip(known ? size : SIZE_MAX)) return;
  if (tag == 1 && text == "Exceptions") walk.names.insert(index);
  index += size == 8 && tag != 1 ? 2 : 1;
}

// Entry 0 is no name and no class.
static bool isNameless(const Walk& walk, unsigned name, std::span<const unsigned char> content) {
  if (name == 0) return true;
  if (!walk.names.contains(name)) return false;
  ByteReader in(content);
  for (unsigned count = in.u2(); count > 0 && in.ok(); --count)
    if (in.u2() == 0) return true;
  return false;
}

static void walkMember(Walk& walk) {
  walk.in.skip(6);
  const std::size_t attributes = walk.position();
  for (unsigned count = walk.in.u2(); count > 0 && walk.in.ok(); --count) {
    const std::size_t begin = walk.position();
    const unsigned name = walk.in.u2();
    const std::size_t length = walk.in.u4();
    const auto content = walk.in.rest();
    if (walk.in.skip(length) && isNameless(walk, name, content.first(length)))
      walk.cuts.push_back({attributes, begin, walk.position()});
  }
}

static void walkMembers(Walk& walk) {
  for (unsigned count = walk.in.u2(); count > 0 && walk.in.ok(); --count) walkMember(walk);
}

static bool walkClass(Walk& walk) {
  walk.in.skip(8);
  const unsigned pool = walk.in.u2();
  for (unsigned i = 1; i < pool && walk.in.ok();) skipEntry(walk, i);
  walk.in.skip(6);
  walk.in.skip(std::size_t{2} * walk.in.u2());  // the interfaces
  walkMembers(walk);
  walk.cuts.clear();  // fields declare nothing
  walkMembers(walk);
  return walk.in.ok();
}

std::size_t dropNamelessExceptions(unsigned char* bytes, std::size_t length) {
  Walk walk({bytes, length});
  if (!walkClass(walk)) return length;
  for (auto cut = walk.cuts.rbegin(); cut != walk.cuts.rend(); ++cut) {
    std::memmove(bytes + cut->begin, bytes + cut->end, length - cut->end);
    length -= cut->end - cut->begin;
    if (bytes[cut->attributes + 1]-- == 0) --bytes[cut->attributes];  // a number of two bytes
  }
  return length;
}

}  // namespace bridge
