#pragma once

#include <cstddef>

namespace bridge {

// The agent's rewriter declares an exception with the names that the class's own constant pool has,
// which may be none: then entry 0 stands there. The JVMs of that interface let it pass, a current
// one refuses the whole class. Takes such Exceptions attributes of methods out, in place, and
// returns the new length. Bytes that are not a whole class file stay as they are.
std::size_t dropNamelessExceptions(unsigned char* bytes, std::size_t length);

}  // namespace bridge
