// The three libraries as they are installed, opened as the agent opens them.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

#include "support/Scratch.h"
#include "jvm/klg.h"

static void* symbol(const std::string& library, const char* name) {
  void* handle = ::dlopen((KLG_BUILT_HOME "/lib/" + library).c_str(), RTLD_NOW | RTLD_LOCAL);
  EXPECT_TRUE(handle) << ::dlerror();
  return handle ? ::dlsym(handle, name) : nullptr;
}

TEST(Libraries, HoldEveryCall) {
#define EXPECT_CALL_IN(library, name) EXPECT_TRUE(symbol(library, #name)) << #name;
  KLG_CALLS(EXPECT_CALL_IN)
#undef EXPECT_CALL_IN
}

#define CALL(library, name) reinterpret_cast<decltype(&name)>(symbol(library, #name))

// The file that is shipped, with its log file and captures moved to where a test may write.
TEST(Libraries, ShippedPropertiesServeTheAgent) {
  Scratch scratch;
  testing::internal::CaptureStderr();
  ASSERT_EQ(CALL(KLG_LOG_LIBRARY, KlgOpenToolkit)(KLG_BUILT_HOME "/etc/vel-klglog.properties"), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  const auto get = CALL(KLG_LOG_LIBRARY, KlgGetObject);
  for (const char* name : {"logger.dc.msg", "logger.dc.trace", "handler.ffdc.dc"})
    EXPECT_TRUE(get(name, nullptr)) << name;
  for (const char* name : {"handler.file.dc.msg", "handler.file.dc.trace"})
    EXPECT_TRUE(get(name, "klg_filehandler")) << name;

  const auto loggable = CALL(KLG_LOG_LIBRARY, KlgIsLoggable);
  EXPECT_TRUE(loggable(get("logger.dc.msg", nullptr), KLG_INFO));
  EXPECT_FALSE(loggable(get("logger.dc.trace", nullptr), KLG_DEBUG_MIN));

  const auto set = CALL(KLG_LOG_LIBRARY, KlgSetObjProp);
  set(get("handler.file.dc.msg", nullptr), "fileName", scratch.path("VEL/logs/msg.log").c_str());
  CALL(KLG_FDC_LIBRARY, KlgFFDCTriggerHandlerSetBaseDir)
  (get("handler.ffdc.dc", nullptr), scratch.path("VEL/FFDC").c_str());
  CALL(KLG_FDC_LIBRARY, KlgInitFFDCExtensions)(1);
  testing::internal::CaptureStderr();
  CALL(KLG_LOG_LIBRARY, KlgLogFatal)
  (get("logger.dc.msg", nullptr), nullptr, 1, 9, "gone: %s", KLG_STRING, "all", 0);
  testing::internal::GetCapturedStderr();
  ASSERT_EQ(scratch.lines("VEL/logs/msg.log").size(), 1u);
  EXPECT_TRUE(scratch.lines("VEL/logs/msg.log")[0].ends_with(" 9 gone: all"));
  EXPECT_TRUE(scratch.exists("VEL/FFDC"));
  CALL(KLG_LOG_LIBRARY, KlgCloseToolkit)();
}
