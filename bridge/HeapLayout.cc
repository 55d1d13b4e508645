#include "HeapLayout.h"

#include "ClassRecord.h"
#include "ObjectIds.h"

namespace bridge {

constexpr jint kAccStatic = 0x0008;

std::uint32_t valueWidth(char signature) {
  switch (signature) {
    case 'B':
    case 'Z':
      return 1;
    case 'C':
    case 'S':
      return 2;
    case 'D':
    case 'J':
      return 8;
    default:  // F, I and references
      return 4;
  }
}

static void readFields(jclass klass, ClassLayout& layout) {
  jint count = 0;
  JvmtiPtr<jfieldID> fields;
  if (jvm.jvmti->GetClassFields(klass, &count, fields.out()) != JVMTI_ERROR_NONE) return;
  for (jint i = 0; i < count; ++i) {
    JvmtiPtr<char> signature;
    jint modifiers = 0;
    if (jvm.jvmti->GetFieldName(klass, fields[i], nullptr, signature.out(), nullptr) !=
            JVMTI_ERROR_NONE ||
        jvm.jvmti->GetFieldModifiers(klass, fields[i], &modifiers) != JVMTI_ERROR_NONE)
      continue;
    (modifiers & kAccStatic ? layout.staticBytes : layout.ownBytes) += valueWidth(signature[0]);
  }
}

static void readInterfaces(JNIEnv* env, jclass klass, ClassLayout& layout) {
  jint count = 0;
  JvmtiPtr<jclass> interfaces;
  if (jvm.jvmti->GetImplementedInterfaces(klass, &count, interfaces.out()) != JVMTI_ERROR_NONE)
    return;
  for (jint i = 0; i < count; ++i) {
    const LocalRef interface(env, interfaces[i]);
    layout.interfaces.push_back(tagOf(idOf(env, interface.get(), ObjectKind::klass)));
  }
}

static jlong elementTagOf(JNIEnv* env, jclass array) {
  ExceptionFence fence(env);
  const LocalRef kind(env, env->FindClass("java/lang/Class"));
  const jmethodID get =
      kind ? env->GetMethodID(kind.get(), "getComponentType", "()Ljava/lang/Class;") : nullptr;
  if (!get) return 0;
  const LocalRef element(env, env->CallObjectMethod(array, get));
  return fence.check() ? 0 : tagOf(idOf(env, element.get(), ObjectKind::klass));
}

static ClassLayout layoutOf(JNIEnv* env, jclass klass) {
  ClassLayout layout;
  JvmtiPtr<char> signature;
  if (jvm.jvmti->GetClassSignature(klass, signature.out(), nullptr) != JVMTI_ERROR_NONE)
    return layout;
  if (signature[0] == '[') {
    const bool ofObjects = signature[1] == '[' || signature[1] == 'L';
    layout.kind = ofObjects ? ClassLayout::Kind::objectArray : ClassLayout::Kind::primitiveArray;
    layout.element = signature[1];
    if (ofObjects) layout.elementTag = elementTagOf(env, klass);
    return layout;
  }
  const LocalRef superclass(env, env->GetSuperclass(klass));
  layout.superclass = tagOf(idOf(env, superclass.get(), ObjectKind::klass));
  layout.prepared = isPrepared(klass);
  if (!layout.prepared) return layout;
  readInterfaces(env, klass, layout);
  readFields(klass, layout);
  return layout;
}

HeapLayouts::HeapLayouts(JNIEnv* env, const LoadedClasses& classes) {
  layouts_.reserve(classes.all().size());
  for (const auto& [tag, klass] : classes.all()) layouts_.emplace(tag, layoutOf(env, klass));
  for (auto& [tag, layout] : layouts_)
    for (const ClassLayout* at = &layout; at; at = find(at->superclass))
      layout.instanceBytes += at->ownBytes;
}

const ClassLayout* HeapLayouts::find(jlong tag) const {
  const auto found = layouts_.find(tag);
  return found == layouts_.end() ? nullptr : &found->second;
}

std::unordered_set<jlong> HeapLayouts::unprepared() const {
  std::unordered_set<jlong> tags;
  for (const auto& [tag, layout] : layouts_)
    if (!layout.prepared) tags.insert(tag);
  return tags;
}

}  // namespace bridge
