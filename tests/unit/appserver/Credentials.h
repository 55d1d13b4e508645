#pragma once

#include "appserver/VelEncryptor.h"
#include "core/Core.h"

constexpr const char* kWord = "Hx3&w!#9k(*pR7$e^2#uZ";

// "A" as the file has it: halves 4 and 1, each XORed with the 15 characters of the key.
constexpr const char* kScrambledA =
    "\x75\x27\x50\x7E\x3C\x25\x69\x73\x5A\x56\x36\x6F\x21\x48\x74"
    "\x70\x22\x55\x7B\x39\x20\x6C\x76\x5F\x53\x33\x6A\x24\x4D\x71";
