#pragma once

#include <jni.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

class FakeClass;
class FakeJvm;

// A Java object as far as the agent looks at one. Lives as long as its JVM.
struct FakeObject {
  FakeClass* type = nullptr;
  std::string text;                   // a string's modified UTF-8
  FakeClass* mirrors = nullptr;       // a class object's class
  std::vector<FakeObject*> elements;  // an object array's
  std::vector<char> bytes;            // a primitive array's
  std::size_t elementSize = 0;        // 0: no primitive array
};

// A field's value or a call's result: a primitive or an object.
struct FakeValue {
  FakeValue() { raw.j = 0; }
  FakeValue(bool z) : FakeValue() { raw.z = z; }
  FakeValue(int i) : FakeValue() { raw.i = i; }
  FakeValue(jlong j) : FakeValue() { raw.j = j; }
  FakeValue(double d) : FakeValue() { raw.d = d; }
  FakeValue(FakeObject* o) : FakeValue() { object = o; }
  FakeValue(std::nullptr_t) : FakeValue() {}
  FakeValue(const char* text);  // a new Java string
  jvalue raw;
  FakeObject* object = nullptr;
};

// What a method of the test is called with.
struct FakeCall {
  JNIEnv* env;
  FakeObject* self;  // null in a static method
  std::vector<FakeValue> args;
  const std::string& text(std::size_t index) const { return args.at(index).object->text; }
};
using FakeBody = std::function<FakeValue(FakeCall&)>;

struct FakeMethod {
  FakeClass* owner;
  std::string name, signature;
  bool isStatic;
  FakeBody body;
};

struct FakeField {  // static
  FakeClass* owner;
  std::string name, signature;
};

struct FakeNative {
  std::string name, signature;
  void* function;
};

// A class as the test describes it; what it does not describe does not exist and raises.
class FakeClass {
 public:
  FakeClass(FakeJvm& jvm, std::string name, FakeClass* superclass);

  FakeClass& method(const char* name, const char* signature, FakeBody body);
  FakeClass& staticMethod(const char* name, const char* signature, FakeBody body);
  FakeClass& staticField(const char* name, const char* signature, FakeValue value);

  FakeObject* newInstance();
  FakeValue& staticValue(const char* name) { return statics_[name]; }
  const std::string& name() const { return name_; }  // with slashes
  FakeClass* superclass() const { return superclass_; }
  FakeObject* mirror() const { return mirror_; }
  const std::vector<FakeNative>& natives() const { return natives_; }  // as registered

 private:
  friend struct FakeJni;
  FakeMethod* findMethod(const std::string& name, const std::string& signature, bool isStatic);
  FakeField* findField(const std::string& name, const std::string& signature);

  FakeJvm& jvm_;
  std::string name_;
  FakeClass* superclass_;
  FakeObject* mirror_;
  std::vector<std::unique_ptr<FakeMethod>> methods_;
  std::vector<std::unique_ptr<FakeField>> fields_;
  std::map<std::string, FakeValue> statics_;
  std::vector<FakeNative> natives_;
};
