#pragma once

#include <jni.h>

#include <atomic>
#include <mutex>
#include <string>

#include "base/Exported.h"
#include "diagnostics/ClassLoadRecord.h"
#include "diagnostics/HeapSummary.h"
#include "jvm/jvmmi.h"
#include "jvm/jvmpi.h"

extern VEL_EXPORTED ClassLoadRecord class_load;
extern VEL_EXPORTED std::atomic<int> doingHeapDump;  // 1 while a requested dump is processed

extern std::atomic<int> heapDumpCount;  // dumps of the profiling interface processed so far
extern HeapTotals heapTotals;           // of the analysis under way, or of the last one

// One analysis: the class table and the totals are the process's, so there is one at a time. They
// are empty when it begins, and the table is when it ends.
class HeapAnalysis {
 public:
  enum class IfBusy { wait, giveUp };
  explicit HeapAnalysis(IfBusy ifBusy);
  ~HeapAnalysis();
  explicit operator bool() const { return held_.owns_lock(); }  // false: given up
  HeapAnalysis(const HeapAnalysis&) = delete;
  HeapAnalysis& operator=(const HeapAnalysis&) = delete;

 private:
  std::unique_lock<std::mutex> held_;
};

// -- from a heap dump of the profiling interface

// The world may stand still around these two: they wait for nobody, and a dump that comes while
// another analysis is under way is dropped.
void processHeapDump(char* begin, char* end);
char* readHeapDump(char* begin, char* end);  // the summary, to be given back with free(), or null
ClassLoadRecord* getClassData(jobjectID class_id);
std::string lastHeapDumpSummary();  // empty before the first one

// -- from the monitoring interface's enumeration of objects (HeapUtilNatives.cc)

constexpr jint kHeapOk = 0;
constexpr jint kHeapJavaException = 3;
constexpr jint kHeapNoInterface = 4;

jint testHeapEnvironment();
// The summary goes to *returnString, to be given back with free(); null when there is none.
jint getHeapDump1(JNIEnv* env, char** returnString);
void agentObjects(JNIEnv* env, JVMMI_Event* event, void* userData, int tid);

// -- the class table: at most 20000 rows, between allocClassTable and freeClassTable. The first row
// in table order that fits is the one found; -1 for none. For the thread of the analysis.

void allocClassTable();
void freeClassTable();
bool addClassEntry(jobjectID classId, const char* name, int size);  // false: the table is full
bool updateClassEntry(jobjectID classId, const char* name, int size);
bool updateClassEntryByName(jobjectID classId, const char* name, int size);
int findClassEntry(jobjectID classId);
int findClassEntryByName(const char* name);
unsigned long getTotalSize();
void sortClassTable();  // by size, the smallest first
char* createClassSummaryString();
std::span<const ClassEntry> classTable();

// The basic type of a field signature's first character, 0 for an unknown one.
constexpr unsigned char getSignatureType(char first) {
  switch (first) {
    case 'B':
      return JVMPI_BYTE;
    case 'C':
      return JVMPI_CHAR;
    case 'D':
      return JVMPI_DOUBLE;
    case 'F':
      return JVMPI_FLOAT;
    case 'I':
      return JVMPI_INT;
    case 'J':
      return JVMPI_LONG;
    case 'L':
    case '[':
      return JVMPI_CLASS;
    case 'S':
      return JVMPI_SHORT;
    case 'Z':
      return JVMPI_BOOLEAN;
    default:
      return 0;
  }
}
