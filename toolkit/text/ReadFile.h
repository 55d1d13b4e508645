#pragma once

#include <optional>
#include <string>

// The whole of a regular file. Nothing, with errno set, for one that is missing, larger than the
// limit (EFBIG) or no regular file (EISDIR, EINVAL): a FIFO or device is never waited for.
std::optional<std::string> readRegularFile(const char* path, std::size_t limit);
