#pragma once

#include <cstdio>

#include "instrument/LoadInjector.h"
#include "unit/Test.h"

// Class files as a reader of their format writes them down: hexadecimal digits, texts in quotes,
// blanks wherever they help.
inline std::vector<BYTE> bytes(std::string_view notation) {
  std::vector<BYTE> result;
  std::string digits;
  bool quoted = false;
  for (const char c : notation) {
    if (c == '\'') {
      quoted = !quoted;
    } else if (quoted) {
      result.push_back(static_cast<BYTE>(c));
    } else if (c != ' ') {
      digits += c;
      if (digits.size() < 2) continue;
      result.push_back(static_cast<BYTE>(std::stoi(digits, nullptr, 16)));
      digits.clear();
    }
  }
  return result;
}

inline std::string u2(std::size_t value) {
  char text[5];
  std::snprintf(text, sizeof text, "%04X", static_cast<unsigned>(value & 0xFFFF));
  return text;
}
inline std::string utf8(const std::string& text) {
  return "01" + u2(text.size()) + "'" + text + "'";
}

constexpr const char* kDefineClass = "(Ljava/lang/String;[BII)Ljava/lang/Class;";

// p/Loader, which calls ClassLoader.defineClass. 14 entries, of which one is a Long.
struct LoaderClass {
  std::string version = "0000 002F";
  std::string name = "p/Loader";
  std::string calls = "0A 0004 0007";  // entry 8
  std::string code = utf8("Code");     // entry 9
  std::string thrown = utf8("java/lang/ClassFormatError");
  std::string access = "0021";
  std::string methods = "0001  0001 0005 0001 0001  0009 00000003 'abc'";

  std::string pool() const {
    return utf8(name) + "07 0001" + utf8("java/lang/ClassLoader") + "07 0003" +
           utf8("defineClass") + utf8(kDefineClass) + "0C 0005 0006" + calls + code +
           utf8("Exceptions") + thrown + "07 000B" + "05 0123456789ABCDEF";
  }
  std::string fields() const {
    return access + "0002 0004  0001 0004  0001  0002 0001 0003 0001  0005 00000001 'f'";
  }
  static std::string attributes() { return "0001 0005 00000002 'ok'"; }
  std::string notation() const {
    return "CAFEBABE" + version + "000F" + pool() + fields() + methods + attributes();
  }
  std::vector<BYTE> make() const { return bytes(notation()); }
};

inline DefineClassMethod defineClassMethod(const char* from = "p/Loader",
                                           const char* to = "java/lang/ClassLoader",
                                           const char* descriptor = kDefineClass,
                                           const char* name = "defineClass") {
  return {from,
          static_cast<ULONG>(std::string_view(from).size()),
          to,
          static_cast<ULONG>(std::string_view(to).size()),
          name,
          descriptor,
          {0, 1, 2, 3, 4},
          0};
}
