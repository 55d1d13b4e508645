#pragma once

#include <string>
#include <vector>

#include "Jvm.h"
#include "jvm/jvmpi.h"

namespace bridge {

// A class as the class-load event describes it, and the owner of all that the event points to. A
// class that is loaded but not yet prepared has no methods and no fields here: the JVM does not
// tell them, and an error instead would put readers of a heap dump out of step.
class ClassRecord {
 public:
  explicit ClassRecord(jclass klass, bool prepared = true);
  ClassRecord(const ClassRecord&) = delete;
  ClassRecord& operator=(const ClassRecord&) = delete;

  const std::string& name() const { return name_; }
  // Fills the class-load part of an event; valid as long as this record.
  void describe(JVMPI_Event& event, jobjectID id);

 private:
  struct Text {
    std::string name, signature;
  };
  void readMethods(jclass klass);
  void readInterfaces(jclass klass);
  void readFields(jclass klass);
  void pointAtTexts();

  std::string name_, source_;
  jint interfaceCount_ = 0;
  std::vector<Text> methodTexts_, staticTexts_, instanceTexts_;
  std::vector<JVMPI_Method> methods_;
  std::vector<JVMPI_Field> statics_, instances_;
};

bool isPrepared(jclass klass);

// "java/lang/String"; arrays stay "[Ljava/lang/String;", primitive types become words.
std::string slashName(const std::string& signature);

// "java.lang.String[]", "int[][]".
std::string typeName(const std::string& signature);

}  // namespace bridge
