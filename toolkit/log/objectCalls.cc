// The calls that open the toolkit and work on its objects.
#include <cstdlib>
#include <cstring>

#include "base/Words.h"
#include "jvm/klg.h"
#include "log/Toolkit.h"
#include "text/Guarded.h"

static constexpr int kDone = 0;
static constexpr int kNotDone = -1;

int KlgOpenToolkit(const char* propertiesPath) noexcept {
  return guarded(kNotDone, [&] {
    return Toolkit::instance().open(orEmpty(propertiesPath)) ? kDone : kNotDone;
  });
}

void KlgCloseToolkit() noexcept {
  guarded([] { Toolkit::instance().close(); });
}

KlgObject* KlgGetObject(const char* name, const char* type) noexcept {
  return guarded<KlgObject*>(
      nullptr, [&] { return Toolkit::instance().find(orEmpty(name), orEmpty(type)); });
}

void KlgReleaseObject(KlgObject* object) noexcept {
  guarded([&] {
    if (object) object->release();
  });
}

char* KlgGetObjProp(KlgObject* object, const char* name) noexcept {
  return guarded<char*>(nullptr, [&]() -> char* {
    if (!object || !name) return nullptr;
    const auto value = object->get(name);
    return value ? ::strdup(value->c_str()) : nullptr;  // the caller's, freed by KosMemoryFree
  });
}

// Handlers are joined to a logger while the file is read; a logger in use keeps them.
static bool isFixed(const KlgObject& object, const char* name) {
  return object.kind == KlgObject::Kind::logger && std::strcmp(name, "handlers") == 0;
}

int KlgSetObjProp(KlgObject* object, const char* name, const char* value) noexcept {
  return guarded(kNotDone, [&] {
    if (!object || !name || !value || isFixed(*object, name)) return kNotDone;
    return object->set(name, value) ? kDone : kNotDone;
  });
}

int KlgSetObjPropInt(KlgObject* object, const char* name, int value) noexcept {
  return guarded(kNotDone,
                 [&] { return KlgSetObjProp(object, name, std::to_string(value).c_str()); });
}

void KosMemoryFree(void* memory) noexcept { std::free(memory); }
