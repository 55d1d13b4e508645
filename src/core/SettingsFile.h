#pragma once

#include <functional>

#include "core/SmallFile.h"

// Hands each line of a text file to take, without its line end; take may write into it. Of a longer
// line only the first 13000 characters: its rest is no setting of its own. False when the file goes
// on after 16 MB; what is beyond is not read.
bool readSettingLines(int fd, const std::function<void(char*)>& take);
