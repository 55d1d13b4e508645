#include "fake/FakeObjects.h"

#include "fake/FakeJvm.h"

FakeValue::FakeValue(const char* text) : FakeValue(FakeJvm::current().newString(text)) {}

FakeClass::FakeClass(FakeJvm& jvm, std::string name, FakeClass* superclass)
    : jvm_(jvm), name_(std::move(name)), superclass_(superclass) {
  FakeObject object;
  object.mirrors = this;
  mirror_ = jvm_.add(std::move(object));
  mirror_->type = jvm_.findClass("java/lang/Class");
}

FakeClass& FakeClass::method(const char* name, const char* signature, FakeBody body) {
  methods_.push_back(
      std::make_unique<FakeMethod>(FakeMethod{this, name, signature, false, std::move(body)}));
  return *this;
}

FakeClass& FakeClass::staticMethod(const char* name, const char* signature, FakeBody body) {
  methods_.push_back(
      std::make_unique<FakeMethod>(FakeMethod{this, name, signature, true, std::move(body)}));
  return *this;
}

FakeClass& FakeClass::staticField(const char* name, const char* signature, FakeValue value) {
  fields_.push_back(std::make_unique<FakeField>(FakeField{this, name, signature}));
  statics_[name] = value;
  return *this;
}

FakeObject* FakeClass::newInstance() {
  FakeObject object;
  object.type = this;
  return jvm_.add(std::move(object));
}

// The last one described counts, so that a test can replace what its fixture set up.
FakeMethod* FakeClass::findMethod(const std::string& name, const std::string& signature,
                                  bool isStatic) {
  for (FakeClass* cls = this; cls; cls = cls->superclass_)
    for (auto it = cls->methods_.rbegin(); it != cls->methods_.rend(); ++it)
      if ((*it)->name == name && (*it)->signature == signature && (*it)->isStatic == isStatic)
        return it->get();
  return nullptr;
}

FakeField* FakeClass::findField(const std::string& name, const std::string& signature) {
  for (FakeClass* cls = this; cls; cls = cls->superclass_)
    for (const auto& field : cls->fields_)
      if (field->name == name && field->signature == signature) return field.get();
  return nullptr;
}
