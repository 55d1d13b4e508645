#pragma once

#include "unit/Test.h"

// Archives as tests need them: directories that say what a case wants, without the files' data.

inline std::string littleEndian(unsigned long value, int bytes) {
  std::string text;
  for (; bytes > 0; --bytes, value >>= 8) text += static_cast<char>(value & 0xFF);
  return text;
}

inline std::string archiveEntry(const std::string& name, const std::string& extra = "",
                                const std::string& comment = "") {
  return "PK\x01\x02" + std::string(24, '\0') + littleEndian(name.size(), 2) +
         littleEndian(extra.size(), 2) + littleEndian(comment.size(), 2) + std::string(12, '\0') +
         name + extra + comment;
}

inline std::string archiveEnd(unsigned entries, unsigned long size, unsigned long offset) {
  return "PK\x05\x06" + std::string(4, '\0') + littleEndian(entries, 2) + littleEndian(entries, 2) +
         littleEndian(size, 4) + littleEndian(offset, 4) + std::string(2, '\0');
}

// With something in front of the directory, as the files' data would be.
inline std::string archiveOf(const std::vector<std::string>& names) {
  std::string directory;
  for (const std::string& name : names) directory += archiveEntry(name);
  const std::string data = "PK data";
  return data + directory +
         archiveEnd(static_cast<unsigned>(names.size()), directory.size(), data.size());
}
