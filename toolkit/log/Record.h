#pragma once

#include <chrono>
#include <string_view>

#include "text/LineBuffer.h"

// What every record begins with: "2024-05-06T07:08:09.123Z INFO  logger.dc.msg [4711:4712] ".
// Time is UTC; the brackets hold the process and the thread.
void appendHead(LineBuffer& line, int level, std::string_view logger,
                std::chrono::system_clock::time_point now, int process, int thread);
