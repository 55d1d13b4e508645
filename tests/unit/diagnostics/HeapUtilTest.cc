#include "core/AgentState.h"
#include "core/ProbeMgr.h"
#include "diagnostics/heapdump.h"
#include "fake/Bytes.h"
#include "fake/FakeJvm.h"
#include "unit/Test.h"

extern "C" {
jint Java_com_velora_command_heap_HeapUtil_testHeapDumpEnvironmentNative(JNIEnv*, jclass);
jint Java_com_velora_command_heap_HeapUtil_getHeapSnapShotData(JNIEnv*, jclass, jobject);
jint Java_com_velora_command_heap_HeapUtil_getHeapDumpData(JNIEnv*, jclass, jobject);
}

// A JVM with a heap and a StringBuffer that keeps what is appended to it.
class HeapUtil : public testing::Test {
 protected:
  HeapUtil() {
    jvm_ptr = jvm.vm();
    jvm.givesProfiler();
    jvm.defineClass("java/lang/StringBuffer")
        .method("append", "(Ljava/lang/String;)Ljava/lang/StringBuffer;", [this](FakeCall& call) {
          if (full) {
            jvm.throwNew(call.env, "java/lang/OutOfMemoryError", "full");
            return FakeValue(nullptr);
          }
          appended += call.text(0);
          return FakeValue(call.self);
        });
    buffer = jvm.ref(jvm.findClass("java/lang/StringBuffer")->newInstance());
  }
  ~HeapUtil() override {
    jvm_ptr = nullptr;
    AgentState::resetForTest();
  }
  void holds(const char* type, jint classId, jlong size) {
    jvm.heapObjects.push_back({.class_id = classId, .size = size, .type_name = type});
  }
  jint snapshot() {
    return Java_com_velora_command_heap_HeapUtil_getHeapSnapShotData(jvm.env(), nullptr, buffer);
  }
  jint dump() {
    return Java_com_velora_command_heap_HeapUtil_getHeapDumpData(jvm.env(), nullptr, buffer);
  }

  FakeJvm jvm;
  jobject buffer;
  std::string appended;
  bool full = false;
};

TEST_F(HeapUtil, SnapshotOfAnEnumeratedHeap) {
  holds("a.Big", 1, 40);
  holds("java.lang.String[]", 2, 24);
  holds("int[][]", 3, 16);  // begins like an array of ints
  for (const char* array :
       {"char[]", "byte[]", "boolean[]", "short[]", "int[]", "long[]", "float[]", "double[]"})
    holds(array, 5, 1);
  for (const jint loader : {4, 6}) holds("a.Small", loader, 16);
  holds("int", 7, 8);  // begins like nothing
  for (int again = 0; again < 2; ++again) {
    appended.clear();
    EXPECT_EQ(snapshot(), 0);
    EXPECT_EQ(appended,
              "128,14\n"
              "int,8,6.2,1,7.1\n"
              "a.Small,32,25.0,2,14.3\n"
              "a.Big,40,31.2,1,7.1\n"
              "primitive[],24,18.8,9,64.3\n"
              "object[],24,18.8,1,7.1\n");
  }
  EXPECT_EQ(jvm.localRefs(), 0);
}

TEST_F(HeapUtil, JavaExceptionsAreDescribedAndGiveThree) {
  full = true;
  EXPECT_EQ(snapshot(), 3);
  EXPECT_EQ(jvm.attach().described, 1);
  buffer = jvm.ref(jvm.newObject());  // no such method
  EXPECT_EQ(snapshot(), 3);
  EXPECT_EQ(jvm.attach().described, 2);
  buffer = nullptr;
  EXPECT_EQ(snapshot(), 3);
  EXPECT_EQ(jvm.localRefs(), 0);
}

TEST_F(HeapUtil, WithoutTheInterface) {
  const auto available = [this] {
    return Java_com_velora_command_heap_HeapUtil_testHeapDumpEnvironmentNative(jvm.env(), nullptr);
  };
  EXPECT_EQ(available(), 0);
  jvm.refusedVersions = {JVMMI_VERSION_2_1};
  EXPECT_EQ(available(), 4);
  EXPECT_EQ(snapshot(), 4);
  jvm.refusedVersions = {};
  jvm.enumerationResult = JNI_ERR;
  EXPECT_EQ(snapshot(), 4);
  EXPECT_EQ(appended, "");
}

// The JVM answers with a dump of two instances, and with the class when the reader asks for it.
TEST_F(HeapUtil, DumpOnRequest) {
  std::string records = bytes("21 01000000 07000000 00000002 0000 21 02000000 07000000 00000000");
  jobjectID answered = reinterpret_cast<jobjectID>(7);
  jvm.onRequest = [&](jint event, void* argument) {
    if (event == JVMPI_EVENT_HEAP_DUMP) {
      processHeapDump(records.data(), records.data() + records.size());
      return JVMPI_SUCCESS;
    }
    EXPECT_EQ(event, JVMPI_EVENT_CLASS_LOAD);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(argument), 7u);
    std::snprintf(class_load.class_name, sizeof class_load.class_name, "a/Known");
    class_load.class_id = answered;
    return JVMPI_SUCCESS;
  };
  EXPECT_EQ(dump(), 4) << "the probe is off";
  AgentState::setEventMgrReady(true);
  AgentState::setNetworkMgrReady(true);
  EXPECT_EQ(dump(), 0);
  EXPECT_EQ(appended,
            "2,2\na/Known,2,100.0,2,100.0\nprimitive[],0,0.0,0,0.0\nobject[],0,0.0,0,0.0\n");
  answered = nullptr;
  appended.clear();
  EXPECT_EQ(dump(), 0);
  EXPECT_EQ(appended, "2,2\nprimitive[],0,0.0,0,0.0\nobject[],0,0.0,0,0.0\n")
      << "a description that did not arrive is none";
  for (const jint answer : {JVMPI_NOT_AVAILABLE, JVMPI_SUCCESS}) {  // which brings no dump
    jvm.onRequest = [answer](jint, void*) { return answer; };
    EXPECT_EQ(dump(), 4);
  }
}

// The JVM may stand still around a dump: it must not wait for an analysis that stands with it.
TEST_F(HeapUtil, DumpDuringAnotherAnalysisIsDropped) {
  char records[] = {0};
  const std::string last = lastHeapDumpSummary();
  const int before = heapDumpCount;
  const HeapAnalysis other(HeapAnalysis::IfBusy::wait);
  std::thread([&] { processHeapDump(records, records + 1); }).join();
  EXPECT_EQ(heapDumpCount, before);
  EXPECT_EQ(lastHeapDumpSummary(), last);
}
