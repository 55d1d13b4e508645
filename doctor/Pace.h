#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace doctor {

// Of a settings file that lets the event agents make packets faster than the network agents send
// them: what that means, in words. Under load the packets that are too many are lost.
std::optional<std::string> tooFastPace(std::string_view settings);

}  // namespace doctor
