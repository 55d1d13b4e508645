#include <algorithm>
#include <cstring>

#include "fake/FakeJvm.h"
#include "fake/NotProvided.h"

// -- text

static std::vector<jchar> utf16(const std::string& utf8) {
  std::vector<jchar> units;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto byte = [&](std::size_t at) { return at < utf8.size() ? utf8[at] & 0xFF : 0; };
    const int lead = byte(i);
    if (lead < 0x80) {
      units.push_back(static_cast<jchar>(lead));
      i += 1;
    } else if (lead < 0xE0) {
      units.push_back(static_cast<jchar>((lead & 0x1F) << 6 | (byte(i + 1) & 0x3F)));
      i += 2;
    } else {
      units.push_back(static_cast<jchar>((lead & 0xF) << 12 | (byte(i + 1) & 0x3F) << 6 |
                                         (byte(i + 2) & 0x3F)));
      i += 3;
    }
  }
  return units;
}

static std::string utf8(const jchar* units, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    const jchar c = units[i];
    if (c != 0 && c < 0x80) {
      text += static_cast<char>(c);
    } else if (c < 0x800) {
      text += static_cast<char>(0xC0 | c >> 6);
      text += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      text += static_cast<char>(0xE0 | c >> 12);
      text += static_cast<char>(0x80 | (c >> 6 & 0x3F));
      text += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return text;
}

// -- values of each Java type

template <class T>
struct Typed;
#define TYPED(type, member)                                       \
  template <>                                                     \
  struct Typed<type> {                                            \
    static type from(const FakeValue& v) { return v.raw.member; } \
    static FakeValue of(type value) {                             \
      FakeValue v;                                                \
      v.raw.member = value;                                       \
      return v;                                                   \
    }                                                             \
  }
TYPED(jint, i);
TYPED(jlong, j);
#undef TYPED

struct FakeJni {
  static FakeJvm& jvm() { return FakeJvm::current(); }
  static FakeThread& thread(JNIEnv* env) { return *static_cast<FakeThread::Env*>(env)->thread; }
  // Most calls are undefined while an exception waits; a native that makes one has a fault.
  static FakeThread& ready(JNIEnv* env, const char* call) {
    FakeThread& caller = thread(env);
    if (caller.pending_) fakeJvmFails(call, "called with an exception pending");
    return caller;
  }
  template <class T = jobject>
  static T local(JNIEnv* env, FakeObject* object) {
    return static_cast<T>(jvm().makeRef(object, FakeJvm::Reference::local, &thread(env)));
  }
  static FakeObject* object(jobject reference, const char* call) {
    if (!reference) fakeJvmFails(call, "null reference");
    return jvm().objectOf(reference);
  }
  static FakeClass& classOf(jclass reference, const char* call) {
    FakeClass* cls = object(reference, call)->mirrors;
    if (!cls) fakeJvmFails(call, "the object is no class");
    return *cls;
  }
  template <class T>
  static T handOver(JNIEnv* env, const FakeValue& value) {
    if constexpr (std::is_same_v<T, jobject>)
      return local(env, value.object);
    else
      return Typed<T>::from(value);
  }
  template <class T>
  static FakeValue takeOver(T value) {
    if constexpr (std::is_same_v<T, jobject>)
      return jvm().objectOf(value);
    else
      return Typed<T>::of(value);
  }

  // -- classes and exceptions

  static jclass JNICALL FindClass(JNIEnv* env, const char* name) {
    ready(env, "FindClass");
    if (FakeClass* cls = jvm().findClass(name)) return local<jclass>(env, cls->mirror());
    jvm().throwNew(env, "java/lang/NoClassDefFoundError", name);
    return nullptr;
  }
  static jclass JNICALL GetObjectClass(JNIEnv* env, jobject of) {
    ready(env, "GetObjectClass");
    return local<jclass>(env, object(of, "GetObjectClass")->type->mirror());
  }
  static bool derives(const FakeClass* type, const FakeClass& wanted) {
    while (type && type != &wanted) type = type->superclass();
    return type != nullptr;
  }
  static jboolean JNICALL IsAssignableFrom(JNIEnv* env, jclass sub, jclass super) {
    ready(env, "IsAssignableFrom");
    return derives(&classOf(sub, "IsAssignableFrom"), classOf(super, "IsAssignableFrom"));
  }
  static void JNICALL ExceptionDescribe(JNIEnv* env) {
    if (thread(env).pending_) ++thread(env).described;
    thread(env).pending_ = nullptr;
  }
  static void JNICALL ExceptionClear(JNIEnv* env) { thread(env).pending_ = nullptr; }
  static jboolean JNICALL ExceptionCheck(JNIEnv* env) { return thread(env).pending_ != nullptr; }

  // -- references

  static jobject JNICALL NewGlobalRef(JNIEnv* env, jobject of) {
    ready(env, "NewGlobalRef");
    return jvm().makeRef(jvm().objectOf(of), FakeJvm::Reference::global, nullptr);
  }
  static void JNICALL DeleteGlobalRef(JNIEnv*, jobject reference) {
    jvm().dropRef(reference, FakeJvm::Reference::global, "DeleteGlobalRef");
  }
  static void JNICALL DeleteLocalRef(JNIEnv*, jobject reference) {
    jvm().dropRef(reference, FakeJvm::Reference::local, "DeleteLocalRef");
  }

  // -- methods

  static std::vector<FakeValue> arguments(const std::string& signature, va_list args) {
    std::vector<FakeValue> values;
    for (std::size_t i = 1; i < signature.size() && signature[i] != ')'; ++i) {
      const char type = signature[i];
      while (signature[i] == '[') ++i;
      if (signature[i] == 'L') i = signature.find(';', i);
      if (type == 'L' || type == '[')
        values.emplace_back(jvm().objectOf(va_arg(args, jobject)));
      else if (type == 'J')
        values.emplace_back(va_arg(args, jlong));
      else if (type == 'D' || type == 'F')
        values.emplace_back(va_arg(args, double));
      else
        values.emplace_back(va_arg(args, int));
    }
    return values;
  }
  template <bool Static>
  static jmethodID methodId(JNIEnv* env, jclass cls, const char* name, const char* signature) {
    ready(env, "GetMethodID");
    FakeMethod* found = classOf(cls, "GetMethodID").findMethod(name, signature, Static);
    if (!found) jvm().throwNew(env, "java/lang/NoSuchMethodError", name);
    return reinterpret_cast<jmethodID>(found);
  }
  static FakeValue run(JNIEnv* env, FakeObject* self, FakeMethod* method, va_list args) {
    ready(env, method->name.c_str());
    if (self && method->name != "<init>")
      if (FakeMethod* own = self->type->findMethod(method->name, method->signature, false))
        method = own;
    FakeCall call{env, self, arguments(method->signature, args)};
    return method->body(call);
  }
  template <class T>
  static T JNICALL call(JNIEnv* env, jobject self, jmethodID method, va_list args) {
    const FakeValue result =
        run(env, object(self, "Call...Method"), reinterpret_cast<FakeMethod*>(method), args);
    if constexpr (!std::is_void_v<T>) return handOver<T>(env, result);
  }
  template <class T>
  static T JNICALL callStatic(JNIEnv* env, jclass, jmethodID method, va_list args) {
    const FakeValue result = run(env, nullptr, reinterpret_cast<FakeMethod*>(method), args);
    if constexpr (!std::is_void_v<T>) return handOver<T>(env, result);
  }

  // -- fields

  static jfieldID JNICALL GetStaticFieldID(JNIEnv* env, jclass cls, const char* name,
                                           const char* signature) {
    ready(env, "GetStaticFieldID");
    FakeField* found = classOf(cls, "GetStaticFieldID").findField(name, signature);
    if (!found) jvm().throwNew(env, "java/lang/NoSuchFieldError", name);
    return reinterpret_cast<jfieldID>(found);
  }
  static const std::string& nameOf(jfieldID id) { return reinterpret_cast<FakeField*>(id)->name; }
  template <class T>
  static T JNICALL getStatic(JNIEnv* env, jclass, jfieldID id) {
    ready(env, "GetStatic...Field");
    return handOver<T>(env, reinterpret_cast<FakeField*>(id)->owner->statics_[nameOf(id)]);
  }
  template <class T>
  static void JNICALL setStatic(JNIEnv* env, jclass, jfieldID id, T value) {
    ready(env, "SetStatic...Field");
    reinterpret_cast<FakeField*>(id)->owner->statics_[nameOf(id)] = takeOver(value);
  }

  // -- strings

  static jstring JNICALL NewStringUTF(JNIEnv* env, const char* text) {
    ready(env, "NewStringUTF");
    return text ? local<jstring>(env, jvm().newString(text)) : nullptr;
  }
  static jstring JNICALL NewString(JNIEnv* env, const jchar* units, jsize count) {
    ready(env, "NewString");
    return local<jstring>(env, jvm().newString(utf8(units, static_cast<std::size_t>(count))));
  }
  static jsize JNICALL GetStringLength(JNIEnv* env, jstring text) {
    ready(env, "GetStringLength");
    return static_cast<jsize>(utf16(object(text, "GetStringLength")->text).size());
  }
  static const char* JNICALL GetStringUTFChars(JNIEnv* env, jstring text, jboolean* isCopy) {
    ready(env, "GetStringUTFChars");
    if (isCopy) *isCopy = JNI_TRUE;
    ++jvm().heldChars_;
    return strdup(object(text, "GetStringUTFChars")->text.c_str());
  }
  static void JNICALL ReleaseStringUTFChars(JNIEnv*, jstring, const char* chars) {
    --jvm().heldChars_;
    free(const_cast<char*>(chars));
  }
  // The units of the region; empty, and an exception, when it is not within the text.
  static std::vector<jchar> region(JNIEnv* env, jstring text, jsize start, jsize length) {
    ready(env, "GetString...Region");
    const auto units = utf16(object(text, "GetString...Region")->text);
    if (start < 0 || length < 0 || start + length > static_cast<jsize>(units.size())) {
      jvm().throwNew(env, "java/lang/StringIndexOutOfBoundsException", "region");
      return {};
    }
    return {units.begin() + start, units.begin() + start + length};
  }
  static void JNICALL GetStringUTFRegion(JNIEnv* env, jstring text, jsize start, jsize length,
                                         char* out) {
    const auto units = region(env, text, start, length);
    const std::string bytes = utf8(units.data(), units.size());
    std::memcpy(out, bytes.c_str(), bytes.size() + 1);
  }

  static void JNICALL GetStringRegion(JNIEnv* env, jstring text, jsize start, jsize length,
                                      jchar* out) {
    std::ranges::copy(region(env, text, start, length), out);
  }

  // -- arrays

  static jsize JNICALL GetArrayLength(JNIEnv* env, jarray array) {
    ready(env, "GetArrayLength");
    const FakeObject* of = object(array, "GetArrayLength");
    const auto size = of->elementSize ? of->bytes.size() / of->elementSize : of->elements.size();
    return static_cast<jsize>(size);
  }
  static jobjectArray JNICALL NewObjectArray(JNIEnv* env, jsize size, jclass, jobject initial) {
    ready(env, "NewObjectArray");
    return local<jobjectArray>(env, jvm().newObjectArray(std::vector<FakeObject*>(
                                        static_cast<std::size_t>(size), jvm().objectOf(initial))));
  }
  static FakeObject** element(JNIEnv* env, jobjectArray array, jsize index) {
    ready(env, "ObjectArrayElement");
    auto& elements = object(array, "ObjectArrayElement")->elements;
    if (index >= 0 && static_cast<std::size_t>(index) < elements.size())
      return &elements[static_cast<std::size_t>(index)];
    jvm().throwNew(env, "java/lang/ArrayIndexOutOfBoundsException", "element");
    return nullptr;
  }
  static jobject JNICALL GetObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index) {
    FakeObject** found = element(env, array, index);
    return found ? local(env, *found) : nullptr;
  }
  static void JNICALL SetObjectArrayElement(JNIEnv* env, jobjectArray array, jsize index,
                                            jobject value) {
    if (FakeObject** found = element(env, array, index)) *found = jvm().objectOf(value);
  }
  template <class T, class Array>
  static Array JNICALL newArray(JNIEnv* env, jsize size) {
    ready(env, "New...Array");
    FakeObject* array = jvm().newBytes(std::string(static_cast<std::size_t>(size) * sizeof(T), 0));
    array->elementSize = sizeof(T);
    return local<Array>(env, array);
  }
  // Where the region lies; null, and an exception, when it is not within the array.
  template <class T>
  static char* place(JNIEnv* env, jarray array, jsize start, jsize length) {
    ready(env, "...ArrayRegion");
    auto& bytes = object(array, "...ArrayRegion")->bytes;
    const auto size = static_cast<jsize>(bytes.size() / sizeof(T));
    if (start >= 0 && length >= 0 && start + length <= size)
      return bytes.data() + static_cast<std::size_t>(start) * sizeof(T);
    jvm().throwNew(env, "java/lang/ArrayIndexOutOfBoundsException", "region");
    return nullptr;
  }
  template <class T, class Array>
  static void JNICALL getRegion(JNIEnv* env, Array array, jsize start, jsize length, T* out) {
    if (const char* from = place<T>(env, array, start, length))
      std::memcpy(out, from, static_cast<std::size_t>(length) * sizeof(T));
  }
  template <class T, class Array>
  static void JNICALL setRegion(JNIEnv* env, Array array, jsize start, jsize length, const T* in) {
    if (char* to = place<T>(env, array, start, length))
      std::memcpy(to, in, static_cast<std::size_t>(length) * sizeof(T));
  }

  // -- the rest

  static jint JNICALL RegisterNatives(JNIEnv* env, jclass cls, const JNINativeMethod* natives,
                                      jint count) {
    ready(env, "RegisterNatives");
    for (jint i = 0; i < count; ++i)
      classOf(cls, "RegisterNatives")
          .natives_.push_back({natives[i].name, natives[i].signature, natives[i].fnPtr});
    return 0;
  }
};

template <class Provider>
static JNINativeInterface_ makeTable() {
  JNINativeInterface_ table{};
#include "jniSlots.def"
  table.GetMethodID = FakeJni::methodId<false>;
  table.GetStaticMethodID = FakeJni::methodId<true>;
  table.CallVoidMethodV = FakeJni::call<void>;
  table.CallObjectMethodV = FakeJni::call<jobject>;
  table.CallStaticVoidMethodV = FakeJni::callStatic<void>;
#define TYPED(Name, type)                                      \
  table.CallStatic##Name##MethodV = FakeJni::callStatic<type>; \
  table.GetStatic##Name##Field = FakeJni::getStatic<type>;     \
  table.SetStatic##Name##Field = FakeJni::setStatic<type>
  TYPED(Object, jobject);
  TYPED(Int, jint);
  TYPED(Long, jlong);
#undef TYPED
#define ARRAY(Name, type)                                               \
  table.New##Name##Array = FakeJni::newArray<type, type##Array>;        \
  table.Get##Name##ArrayRegion = FakeJni::getRegion<type, type##Array>; \
  table.Set##Name##ArrayRegion = FakeJni::setRegion<type, type##Array>
  ARRAY(Byte, jbyte);
  ARRAY(Int, jint);
  ARRAY(Long, jlong);
#undef ARRAY
  return table;
}

const JNINativeInterface_* fakeJniTable() {
  static const JNINativeInterface_ table = makeTable<FakeJni>();
  return &table;
}
