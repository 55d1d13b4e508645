#pragma once

#include <optional>
#include <string>
#include <vector>

namespace doctor {

// Loads libraries, in this order, in a process made for it, which ends right after. The symbol is
// looked for in the last one. Nothing: they load; else why they do not.
std::optional<std::string> whyNotLoaded(const std::vector<std::string>& paths,
                                        const std::string& symbol);

// Loading a library runs code of it. A file that a third user could have written is not loaded;
// then this says why.
std::optional<std::string> whyNotTried(const std::string& path);

}  // namespace doctor
