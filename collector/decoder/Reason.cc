#include "decoder/Reason.h"

#include <iterator>

namespace collector {

static constexpr const char* kTexts[] = {
    "unknown record id",
    "record id 0 inside a packet",
    "not a packet header",
    "record outside a packet",
    "init record inside a packet",
    "packet ended early",
    "wrong value",
    "zero byte in a text",
    "list too long",
    "record too large",
    "missing trailer",
    "connection ended inside a record",
    "connection ended inside a packet",
};
static_assert(std::size(kTexts) == kReasonCount);

const char* textOf(Reason reason) { return kTexts[static_cast<std::size_t>(reason)]; }

}  // namespace collector
