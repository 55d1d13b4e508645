#pragma once

#include <string>
#include <string_view>

// Where javacore files go and where their paths are told. Both may be in directories that anybody
// can write to, so no link is followed, no file of somebody else's is written to, and what is
// written can be read by its owner alone.
namespace bridge {

// Files that name each dump on a line of their own, the newest last. Readers know these names.
extern const char* const kLocationFiles[2];

// Writes a new file javacore<process id>.<seconds>.<number>.txt, which has its name only once it is
// whole, in the first of these directories that takes it: $NORVIK_JAVACOREDIR, the current one,
// /tmp. Its absolute path; empty when none took it.
std::string writeDumpFile(std::string_view text);

// Writes it into one directory.
std::string writeDumpFileIn(const char* directory, std::string_view text);

// Appends the line "<label> : <path>" to a location file; false when the file is not ours to write
// to, or the path cannot be on a line.
bool appendLocation(const char* locationFile, std::string_view path);

}  // namespace bridge
