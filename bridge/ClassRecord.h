#pragma once

#include <memory_resource>
#include <string>
#include <vector>

#include "Jvm.h"
#include "jvm/jvmpi.h"

namespace bridge {

// A class as the class-load event describes it, and the owner of all that the event points to.
class ClassRecord {
 public:
  enum class Detail {
    // Names and methods. Each class of a server is announced, on the thread that loads it, and the
    // rest would take as long again.
    announced,
    // No methods, no fields: the JVM does not tell them of a class that is loaded but not yet
    // prepared, and an error instead would put readers of a heap dump out of step.
    unprepared,
    everything,  // interfaces, fields and lines as well, for who asks
  };
  ClassRecord(jclass klass, Detail detail);
  ClassRecord(const ClassRecord&) = delete;
  ClassRecord& operator=(const ClassRecord&) = delete;

  const std::string& name() const { return name_; }
  // Fills the class-load part of an event; valid as long as this record.
  void describe(JVMPI_Event& event, jobjectID id);

 private:
  char* keep(const JvmtiPtr<char>& text);
  void readMethods(jclass klass, bool withLines);
  void readInterfaces(jclass klass);
  void readFields(jclass klass);

  std::string name_;
  JvmtiPtr<char> source_;
  jint interfaceCount_ = 0;
  // What the following point to. Copies, so that the JVM has each text's memory back at once and
  // takes it for the next one: kept to the end, it has left the processor's caches by then.
  std::pmr::monotonic_buffer_resource texts_;
  std::vector<JVMPI_Method> methods_;
  std::vector<JVMPI_Field> statics_, instances_;
};

bool isPrepared(jclass klass);

// "java/lang/String"; arrays stay "[Ljava/lang/String;", primitive types become words.
std::string slashName(const std::string& signature);

// "java.lang.String[]", "int[][]".
std::string typeName(const std::string& signature);

}  // namespace bridge
