#include "ClassRecord.h"

#include <algorithm>

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

static std::string textOf(const JvmtiPtr<char>& text) { return text.get() ? text.get() : ""; }

ClassRecord::ClassRecord(jclass klass, bool prepared) {
  JvmtiPtr<char> signature, source;
  jvm.jvmti->GetClassSignature(klass, signature.out(), nullptr);
  name_ = slashName(textOf(signature));
  jvm.jvmti->GetSourceFileName(klass, source.out());
  source_ = textOf(source);
  if (!prepared) return;
  readMethods(klass);
  readInterfaces(klass);
  readFields(klass);
  pointAtTexts();
}

// First and last line of a method; a method without line numbers keeps kNoLine in both.
static void readLines(jmethodID method, jint& first, jint& last) {
  first = last = kNoLine;
  jint count = 0;
  JvmtiPtr<jvmtiLineNumberEntry> lines;
  if (jvm.jvmti->GetLineNumberTable(method, &count, lines.out()) != JVMTI_ERROR_NONE) return;
  for (jint i = 0; i < count; ++i) {
    const jint line = lines[i].line_number;
    first = first == kNoLine ? line : std::min(first, line);
    last = std::max(last, line);
  }
}

void ClassRecord::readMethods(jclass klass) {
  jint count = 0;
  JvmtiPtr<jmethodID> methods;
  if (jvm.jvmti->GetClassMethods(klass, &count, methods.out()) != JVMTI_ERROR_NONE) return;
  methodTexts_.reserve(count);
  methods_.reserve(count);
  for (jint i = 0; i < count; ++i) {
    JvmtiPtr<char> name, signature;
    if (jvm.jvmti->GetMethodName(methods[i], name.out(), signature.out(), nullptr) !=
        JVMTI_ERROR_NONE)
      continue;
    methodTexts_.push_back({textOf(name), textOf(signature)});
    JVMPI_Method& m = methods_.emplace_back();
    m.method_id = methods[i];
    readLines(methods[i], m.start_lineno, m.end_lineno);
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
    auto& texts = modifiers & kAccStatic ? staticTexts_ : instanceTexts_;
    texts.push_back({textOf(name), textOf(signature)});
  }
}

// Once all texts are there: until then they may still move.
void ClassRecord::pointAtTexts() {
  for (Text& t : staticTexts_) statics_.push_back({t.name.data(), t.signature.data()});
  for (Text& t : instanceTexts_) instances_.push_back({t.name.data(), t.signature.data()});
  for (std::size_t i = 0; i < methods_.size(); ++i) {
    methods_[i].method_name = methodTexts_[i].name.data();
    methods_[i].method_signature = methodTexts_[i].signature.data();
  }
}

void ClassRecord::describe(JVMPI_Event& event, jobjectID id) {
  auto& load = event.u.class_load;
  load.class_name = name_.c_str();
  load.source_name = source_.empty() ? nullptr : source_.data();
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
