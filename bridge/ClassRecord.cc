#include "ClassRecord.h"

#include <algorithm>
#include <cstring>

namespace bridge {

constexpr jint kAccStatic = 0x0008;
constexpr jint kNoLine = -1;

std::string slashName(const std::string& signature) {
  constexpr std::pair<char, const char*> kPrimitives[] = {
      {'B', "byte"}, {'C', "char"},  {'D', "double"},  {'F', "float"}, {'I', "int"},
      {'J', "long"}, {'S', "short"}, {'Z', "boolean"}, {'V', "void"},
  };
  if (signature.size() > 2 && signature[0] == 'L') return signature.substr(1, signature.size() - 2);
  if (signature.size() == 1)
    for (const auto& [code, word] : kPrimitives)
      if (signature[0] == code) return word;
  return signature;
}

std::string typeName(const std::string& signature) {
  const auto dimensions = std::min(signature.find_first_not_of('['), signature.size());
  std::string name = slashName(signature.substr(dimensions));
  std::ranges::replace(name, '/', '.');
  for (std::size_t i = 0; i < dimensions; ++i) name += "[]";
  return name;
}

bool isPrepared(jclass klass) {
  jint status = 0;
  return jvm.jvmti->GetClassStatus(klass, &status) == JVMTI_ERROR_NONE &&
         (status & JVMTI_CLASS_STATUS_PREPARED) != 0;
}

ClassRecord::ClassRecord(jclass klass, Detail detail) {
  JvmtiPtr<char> signature;
  if (jvm.jvmti->GetClassSignature(klass, signature.out(), nullptr) == JVMTI_ERROR_NONE)
    name_ = slashName(signature.get());
  if (detail != Detail::unprepared) readMethods(klass, detail == Detail::everything);
  if (detail == Detail::announced) return;
  jvm.jvmti->GetSourceFileName(klass, source_.out());
  if (detail == Detail::unprepared) return;
  readInterfaces(klass);
  readFields(klass);
}

// First and last line of a method; a method without line numbers keeps kNoLine in both.
static void readLines(jmethodID method, jint& first, jint& last) {
  jint count = 0;
  JvmtiPtr<jvmtiLineNumberEntry> lines;
  if (jvm.jvmti->GetLineNumberTable(method, &count, lines.out()) != JVMTI_ERROR_NONE) return;
  for (jint i = 0; i < count; ++i) {
    const jint line = lines[i].line_number;
    first = first == kNoLine ? line : std::min(first, line);
    last = std::max(last, line);
  }
}

char* ClassRecord::keep(const JvmtiPtr<char>& text) {
  if (!text.get()) return nullptr;
  const std::size_t size = std::strlen(text.get()) + 1;
  return static_cast<char*>(std::memcpy(texts_.allocate(size, 1), text.get(), size));
}

void ClassRecord::readMethods(jclass klass, bool withLines) {
  jint count = 0;
  JvmtiPtr<jmethodID> methods;
  if (jvm.jvmti->GetClassMethods(klass, &count, methods.out()) != JVMTI_ERROR_NONE) return;
  methods_.reserve(static_cast<std::size_t>(count));
  for (jint i = 0; i < count; ++i) {
    JvmtiPtr<char> name, signature;
    if (jvm.jvmti->GetMethodName(methods[i], name.out(), signature.out(), nullptr) !=
        JVMTI_ERROR_NONE)
      continue;
    JVMPI_Method& m = methods_.emplace_back();
    m.method_name = keep(name);
    m.method_signature = keep(signature);
    m.start_lineno = m.end_lineno = kNoLine;
    m.method_id = methods[i];
    if (withLines) readLines(methods[i], m.start_lineno, m.end_lineno);
  }
}

void ClassRecord::readInterfaces(jclass klass) {
  JvmtiPtr<jclass> interfaces;
  if (jvm.jvmti->GetImplementedInterfaces(klass, &interfaceCount_, interfaces.out()) !=
      JVMTI_ERROR_NONE)
    return;
  JNIEnv* env = currentEnv();
  for (jint i = 0; env && i < interfaceCount_; ++i) env->DeleteLocalRef(interfaces[i]);
}

void ClassRecord::readFields(jclass klass) {
  jint count = 0;
  JvmtiPtr<jfieldID> fields;
  if (jvm.jvmti->GetClassFields(klass, &count, fields.out()) != JVMTI_ERROR_NONE) return;
  for (jint i = 0; i < count; ++i) {
    JvmtiPtr<char> name, signature;
    jint modifiers = 0;
    if (jvm.jvmti->GetFieldName(klass, fields[i], name.out(), signature.out(), nullptr) !=
            JVMTI_ERROR_NONE ||
        jvm.jvmti->GetFieldModifiers(klass, fields[i], &modifiers) != JVMTI_ERROR_NONE)
      continue;
    auto& kind = modifiers & kAccStatic ? statics_ : instances_;
    kind.push_back({keep(name), keep(signature)});
  }
}

void ClassRecord::describe(JVMPI_Event& event, jobjectID id) {
  auto& load = event.u.class_load;
  load.class_name = name_.c_str();
  load.source_name = source_.get();
  load.num_interfaces = interfaceCount_;
  load.num_methods = static_cast<jint>(methods_.size());
  load.methods = methods_.data();
  load.num_static_fields = static_cast<jint>(statics_.size());
  load.statics = statics_.data();
  load.num_instance_fields = static_cast<jint>(instances_.size());
  load.instances = instances_.data();
  load.class_id = id;
}

}  // namespace bridge
