// What the test client does with the heap: an exacting reader of dumps, which knows nothing of the
// agent's, and a listener to enumerations.
#include <cstring>
#include <map>

#include "jvm/jvmmi.h"
#include "probe.h"

extern JVMMI_Interface* jvmmi;

struct DumpedClass {
  std::string name;
  long instances = 0, instanceBytes = 0;  // of each
  bool dumped = false;
};

static unsigned width(char type) {
  return strchr("BZ", type) ? 1 : strchr("CS", type) ? 2 : strchr("DJ", type) ? 8 : 4;
}

// Reads until something is wrong, and says what and where.
class DumpReader {
 public:
  DumpReader(const char* begin, const char* end) : begin_(begin), at_(begin), end_(end) {}

  std::string read(const std::string& wanted) {
    while (at_ != end_ && wrong_.empty()) record();
    if (!wrong_.empty()) return wrong_ + " at " + std::to_string(at_ - begin_);
    std::string all;
    for (const auto& [id, known] : classes_)
      if (known.name == wanted)
        all += std::to_string(id) + ": " + std::to_string(known.instances) + " of " +
               std::to_string(known.instanceBytes);
    return all + ", arrays " + std::to_string(arrays_ > 100);
  }

 private:
  unsigned long number(unsigned size) {
    unsigned long value = 0;
    for (const char* byte = take(size); byte && size-- > 0; ++byte)
      value = value << 8 | static_cast<unsigned char>(*byte);
    return value;
  }
  long id() {
    unsigned value = 0;
    if (const char* bytes = take(sizeof value)) memcpy(&value, bytes, sizeof value);
    return value;
  }
  const char* take(unsigned long size) {
    if (size > static_cast<unsigned long>(end_ - at_)) {
      fail("a record beyond the end");
      return nullptr;
    }
    return (at_ += size) - size;
  }
  void fail(const std::string& what) {
    if (wrong_.empty()) wrong_ = what;
  }
  void values(unsigned long size) {
    const char* byte = take(size);
    for (; byte && byte != at_; ++byte)
      if (*byte) return fail("a value that is not zero");
  }
  void object() {
    if (id() != ++lastObject_) fail("object ids do not count up");
  }
  void record() {
    switch (number(1)) {
      case JVMPI_GC_CLASS_DUMP:
        return classDump();
      case JVMPI_GC_INSTANCE_DUMP:
        return instance();
      case JVMPI_GC_OBJ_ARRAY_DUMP: {
        object();
        const auto length = number(4);
        if (id() == 0) fail("an array of no class");
        ++arrays_;
        return values(4 * length);
      }
      case JVMPI_GC_PRIM_ARRAY_DUMP: {
        object();
        const auto length = number(4);
        const auto type = number(1);
        if (type < JVMPI_BOOLEAN || type > JVMPI_LONG) return fail("an odd element type");
        ++arrays_;
        return values(length * width("ZCFDBSIJ"[type - JVMPI_BOOLEAN]));
      }
      default:
        return fail("an unknown tag");
    }
  }
  void classDump() {
    const long self = id(), super = id();
    for (int i = 0; i < 5; ++i) id();
    const auto size = static_cast<long>(number(4));
    if (jvmpi->RequestEvent(JVMPI_EVENT_CLASS_LOAD, reinterpret_cast<jobjectID>(self)) != 0)
      return fail("a class that nobody describes");
    const ClassShape shape = lastShape();
    DumpedClass& dumped = classes_[self];
    if (dumped.dumped) fail("a class twice");
    dumped = {shape.name, 0, size, true};
    if (shape.name.starts_with("Heap$") && super == 0) fail("a class of no superclass");
    for (int i = 0; i < shape.interfaces; ++i)
      if (id() == 0) fail("an interface of no class");
    if (number(2) != 0) fail("constants");
    for (char type : shape.statics) values(width(type));
  }
  void instance() {
    object();
    DumpedClass& known = classes_[id()];
    if (!known.dumped) return fail("an instance before its class");
    if (static_cast<long>(number(4)) != known.instanceBytes) fail("an instance of another size");
    ++known.instances;
    values(static_cast<unsigned long>(known.instanceBytes));
  }

  const char *begin_, *at_, *end_;
  std::map<long, DumpedClass> classes_;
  long lastObject_ = 0, arrays_ = 0;
  std::string wrong_;
};

static thread_local const std::string* wantedClass = nullptr;
static thread_local std::string* found = nullptr;

// The dump comes on the thread that asked for it, with Java running: Heap.whileRead makes another
// thread load a class meanwhile.
void onHeapDump(const JVMPI_Event& event, int (*classLoads)()) {
  JNIEnv* env = event.env_id;
  const int before = classLoads();
  jclass program = env->FindClass("Heap");
  env->CallStaticVoidMethod(program, env->GetStaticMethodID(program, "whileRead", "()V"));
  const bool failed = env->ExceptionCheck();
  const auto& dump = event.u.heap_dump;
  if (!found)
    say("a dump that nobody asked for");
  else if (failed || classLoads() != before)
    *found = "a class load came between";
  else if (jvmpi->RequestEvent(JVMPI_EVENT_HEAP_DUMP, nullptr) == 0)
    *found = "a dump within a dump";
  else if (dump.dump_level != JVMPI_DUMP_LEVEL_2)
    *found = "another level";
  else
    *found = DumpReader(dump.begin, dump.end).read(*wantedClass);
}

static std::string chars(JNIEnv* env, jstring from) {
  const char* utf = env->GetStringUTFChars(from, nullptr);
  std::string copy = utf;
  env->ReleaseStringUTFChars(from, utf);
  return copy;
}

struct Listened {
  std::string type;
  long count = 0, bytes = 0, id = 0;
  bool wrong = false;
};

extern "C" {
// "ID: COUNT of FIELD BYTES" of the class with this name in slash form, or what is wrong.
JNIEXPORT jstring JNICALL Java_Probe_dump(JNIEnv* env, jclass, jstring name) {
  const std::string wanted = chars(env, name);
  std::string answer = "no dump";
  wantedClass = &wanted;
  found = &answer;
  JVMPI_HeapDumpArg level{JVMPI_DUMP_LEVEL_1};
  if (jvmpi->RequestEvent(JVMPI_EVENT_HEAP_DUMP, &level) != 0) answer = "refused";
  found = nullptr;
  return env->NewStringUTF(answer.c_str());
}

// "ID: COUNT, BYTES" of the objects of this type.
JNIEXPORT jstring JNICALL Java_Probe_enumerate(JNIEnv* env, jclass, jstring type) {
  Listened heard{chars(env, type)};
  const auto listen = [](JNIEnv* caller, JVMMI_Event* e, void* userData, int tid) {
    auto& to = *static_cast<Listened*>(userData);
    if (e->event != JVMMI_EVENT_OBJECT || e->env_id != caller || e->size <= 0 || !*e->type_name ||
        tid != static_cast<int>(reinterpret_cast<intptr_t>(caller)))
      to.wrong = true;
    if (to.type != e->type_name) return;
    ++to.count;
    to.bytes += e->size;
    to.id = e->class_id;
  };
  if (jvmmi->Enumerate(env, JVMMI_ENUMERATE_OBJECTS, JVMMI_ENUMERATE_ALL, listen, &heard) != 0 ||
      heard.wrong)
    return nullptr;
  return env->NewStringUTF((std::to_string(heard.id) + ": " + std::to_string(heard.count) + ", " +
                            std::to_string(heard.bytes))
                               .c_str());
}
}
