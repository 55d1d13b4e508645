#pragma once

#include "base/CheckedText.h"
#include "base/Published.h"
#include "jvm/klg.h"

// The calls of the logging toolkit that the agent uses. The toolkit is opened at run time; until
// then, and for good when it is missing, every call is one that does nothing.
struct KlgCalls {
#define VEL_KLG_POINTER(library, name) decltype(&::name) name;
  KLG_CALLS(VEL_KLG_POINTER)
#undef VEL_KLG_POINTER
};

// Looks for the toolkit's libraries beside this one, then where the system looks. False when one is
// missing, which is said on standard error once; the calls then go on doing nothing.
bool loadToolkit();
bool toolkitLoaded();  // whether calls go to a toolkit at all

const KlgCalls& klgCalls();
void useKlgCalls(const KlgCalls* calls);  // null: the calls that do nothing

// An argument list as the toolkit takes it: each value behind its type tag, 0 at the end.
inline int typeTag(int) { return KLG_INT; }
inline int typeTag(long long) { return KLG_LONG; }
inline int typeTag(double) { return KLG_DOUBLE; }
inline int typeTag(const char*) { return KLG_STRING; }

template <class T>
auto asToolkitValue(T value) {
  constexpr ArgKind kind = argKindOf<T>();
  if constexpr (kind == ArgKind::integer)
    return static_cast<int>(value);
  else if constexpr (kind == ArgKind::longInteger)
    return static_cast<long long>(value);
  else if constexpr (kind == ArgKind::real)
    return static_cast<double>(value);
  else
    return value ? static_cast<const char*>(value) : "(null)";
}

template <class Call>
void withTypedArgs(Call call) {
  call(0);
}
template <class Call, class First, class... Rest>
void withTypedArgs(Call call, First first, Rest... rest) {
  withTypedArgs([&](auto... more) { call(typeTag(first), first, more...); }, rest...);
}
