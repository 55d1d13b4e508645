#pragma once

#include <algorithm>
#include <iterator>

#include "bridge/RewrittenClass.h"
#include "instrument/LoadInjector.h"

// What must hold for any bytes at all, good or bad, for corpus and fuzzer alike.

// The class put together again from its parts, members and attributes one by one.
inline std::vector<BYTE> reassembled(const ClassLayout& layout) {
  std::vector<BYTE> copy(layout.bytes.size());
  BYTE* out = copy.data();
  appendBuffer(&out, layout.bytes.first(8));
  appendUSHORT(&out, layout.pool->count);
  appendBuffer(&out, layout.between(layout.pool->start, layout.pool->end));
  appendBuffer(&out, layout.between(layout.pool->end, layout.fieldsEnd));
  appendUSHORT(&out, layout.methodCount);
  const BYTE* at = layout.methods;
  for (int i = 0; i < layout.methodCount; ++i) {
    const int length = getMemberLength(layout.from(at));
    appendBuffer(&out, layout.between(at, at + length));
    at += length;
  }
  if (at != layout.methodsEnd) return {};
  appendBuffer(&out, layout.from(layout.methodsEnd));
  return copy;
}

inline std::vector<USHORT> methodrefs(const ConstantPool& pool) {
  std::vector<USHORT> found;
  for (USHORT i = 1; i < pool.count; ++i)
    if (pool.tag(i) == kMethodref) found.push_back(i);
  return found;
}

inline const char* complaintAboutRewritten(const ClassLayout& before, std::vector<BYTE> rewritten) {
  const auto after = readClassLayout(rewritten);
  if (!after) return "the rewritten class is none";
  if (after->pool->count != before.pool->count + 10) return "not ten entries more";
  if (after->methodCount != before.methodCount + 1) return "not one method more";
  if (after->name != before.name) return "another class";
  rewritten.resize(bridge::dropNamelessExceptions(rewritten.data(), rewritten.size()));
  const auto shown = readClassLayout(rewritten);
  if (!shown) return "without nameless exceptions it is no class";
  return namesHold(*shown) || !namesHold(before) ? nullptr : "it has names that it had not";
}

// Null when all is well. `pick` chooses the call that is redirected.
inline const char* complaintAbout(ClassBytes bytes, std::size_t pick) {
  const auto layout = readClassLayout(bytes);
  if (!layout) return nullptr;
  if (!std::ranges::equal(reassembled(*layout), bytes)) return "the parts are not the whole";
  const ConstantPool& pool = *layout->pool;
  const auto calls = methodrefs(pool);
  if (calls.empty()) return nullptr;
  const USHORT call = calls[pick % calls.size()];
  const std::string to(pool.className(pool.operand(call, 0)));
  const USHORT type = pool.operand(call, 1);
  const std::string name(pool.utf8(pool.operand(type, 0)));
  const std::string descriptor(pool.utf8(pool.operand(type, 1)));
  const DefineClassMethod method{"",
                                 0,
                                 to.c_str(),
                                 static_cast<ULONG>(to.size()),
                                 name.c_str(),
                                 descriptor.c_str(),
                                 {0, 1, 2, 3, 4},
                                 0};
  auto rewritten = instrumentDefineClass(*layout, method);
  return rewritten ? complaintAboutRewritten(*layout, std::move(*rewritten)) : nullptr;
}
