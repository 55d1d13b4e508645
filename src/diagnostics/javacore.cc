#include "diagnostics/javacore.h"

#include <signal.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "base/Gate.h"
#include "base/JniScope.h"
#include "base/Trace.h"
#include "core/AgentState.h"
#include "core/PropertyMgr.h"
#include "diagnostics/dumpSurroundings.h"
#include "diagnostics/javacoreText.h"

constexpr int kLineSize = 2048;
constexpr int kTextsPerFrame = 3;
constexpr int kWritingMs = 5000;  // what the JVM gets to write its dump, unless a setting says so
constexpr int kAttempts = 20;
constexpr int kPauseMs = 1000;

// A line as far as it fits the buffer. What is longer belongs to it all the same and is passed
// over: taken for a line of its own it would end a stack in its middle.
static bool readLine(std::FILE* file, char (&line)[kLineSize]) {
  if (!std::fgets(line, kLineSize, file)) return false;
  if (std::strchr(line, '\n')) return true;
  for (int c = std::getc(file); c != EOF && c != '\n';) c = std::getc(file);
  return true;
}

static bool store(JNIEnv* env, jobjectArray texts, jsize index, std::string_view text) {
  const LocalRef<jstring> string(env, env->NewStringUTF(std::string(text).c_str()));
  if (describeAndClear(env) || !string.get()) return false;
  env->SetObjectArrayElement(texts, index, string);
  return !describeAndClear(env);
}

static bool storeFrame(JNIEnv* env, jobjectArray texts, int frames, const JavacoreFrame& found) {
  const jsize at = kTextsPerFrame * frames;
  return store(env, texts, at, found.className) && store(env, texts, at + 1, found.methodName) &&
         store(env, texts, at + 2, "");
}

int processJavaCore(JNIEnv* env, std::FILE* javacore, ULONG tid, jobjectArray& arry) {
  VEL_TRACE();
  const int room = env->GetArrayLength(arry) / kTextsPerFrame;
  JavacoreReader reader(tid);
  JavacoreFrame found;
  char line[kLineSize];
  int frames = 0;
  while (frames < room && readLine(javacore, line)) {
    const auto meaning = reader.take(line, found);
    if (meaning == JavacoreReader::stackEnds) break;
    if (meaning != JavacoreReader::frame) continue;
    if (!storeFrame(env, arry, frames, found)) break;
    ++frames;
  }
  return frames;
}

char* getJavaCorePath() {
  VEL_TRACE();
  const OwnedFile file = asFile(openOwnFile(dumpSurroundings.javacoreLocations));
  std::string path;
  char line[kLineSize];
  while (file && readLine(file.get(), line)) path = pathOfLocation(line).value_or("");
  if (path.empty()) return nullptr;
  auto made = std::make_unique<char[]>(path.size() + 1);
  path.copy(made.get(), path.size());
  return made.release();  // the caller's from here
}

// A signal that nobody handles would end the process, and one that is ignored writes no dump.
static bool isQuitHandled() {
  struct sigaction now {};
  return sigaction(SIGQUIT, nullptr, &now) == 0 &&
         ((now.sa_flags & SA_SIGINFO) || (now.sa_handler != SIG_DFL && now.sa_handler != SIG_IGN));
}

// Where the JVM does not listen to the signal, it is asked the other way.
static bool request(JNIEnv* env) {
  if (!isQuitHandled()) return askForDump(env);
  if (kill(getpid(), SIGQUIT) != 0) return false;
  traceMax("Signal sent to obtain stack trace for thread");
  return true;
}

// The gate is held for the look alone: a shutdown need not wait for a dump.
static int writingMs() {
  const Gate::Scope managersStay(managersGate);
  if (!managersStay) return kWritingMs;
  const int ms =
      PropertyMgr::getInstance()->getIntProperty("internal.stacktrace.sleep", kWritingMs);
  return ms < 0 ? kWritingMs : ms;
}

// Servers of these versions are not asked for a dump.
static bool isSpared(std::string_view serverVersion) {
  return serverVersion == "4.0.1" || serverVersion == "4.0.2";
}

static int framesIn(JNIEnv* env, const char* path, ULONG tid, jobjectArray& arry) {
  const OwnedFile file = asFile(openRegularFile(path));
  return file ? processJavaCore(env, file.get(), tid, arry) : 0;
}

int readJavaCore(JNIEnv* env, ULONG tid, jobjectArray& arry) {
  VEL_TRACE();
  if (isSpared(AgentState::appServerVersion()) || !request(env)) return 0;
  dumpSurroundings.sleep(writingMs());
  const std::unique_ptr<char[]> path(getJavaCorePath());
  if (!path) {
    traceMin("Cannot get path of javacore file");
    return 0;
  }
  int frames = framesIn(env, path.get(), tid, arry);
  for (int attempt = 1; frames == 0 && attempt < kAttempts; ++attempt) {
    dumpSurroundings.sleep(kPauseMs);
    frames = framesIn(env, path.get(), tid, arry);
  }
  const unsigned long thread = tid;
  traceMax("Searched thread dump in %s for thread id %lu", static_cast<const char*>(path.get()),
           thread);
  if (frames == 0) traceMin("Stack trace for thread id %lu was not found", thread);
  return frames;
}

int processFile(JNIEnv* env, const char* directory, const char* name, const time_t filetime,
                ULONG tid, jobjectArray& arry) {
  VEL_TRACE();
  const auto written = timeOfJavacore(name, getProcessId());
  if (!written || *written < filetime) return 0;
  return framesIn(env, (std::string(directory) + '/' + name).c_str(), tid, arry);
}
