// The natives that hand out the server's own objects.
#include <com_velora_av5_AVSServer.h>
#include <com_velora_av5_ProbeService.h>
#include <com_velora_av6_ProbeService.h>
#include <com_velora_probe_ProbePMI.h>
#include <gtest/gtest.h>

#include "fake/FakeJvm.h"

using Ask = jobject(JNIEnv*, jclass, jclass);

TEST(ServerNatives, StaticObjects) {
  FakeJvm jvm;
  FakeObject* held = jvm.newObject();
  FakeClass& full =
      jvm.defineClass("server/Full")
          .staticField("_props", "Lcom/norvik/av/webcontainer/util/ExProperties;", held)
          .staticField("dataSources", "Ljava/util/Hashtable;", held);
  FakeClass& empty =
      jvm.defineClass("server/Empty")
          .staticField("_props", "Lcom/norvik/av/webcontainer/util/ExProperties;", nullptr)
          .staticField("dataSources", "Ljava/util/Hashtable;", nullptr);
  FakeClass& other = jvm.defineClass("server/Other")
                         .staticField("_props", "Ljava/util/Properties;", held)
                         .staticField("dataSources", "Ljava/util/Map;", held);
  FakeClass& none = jvm.defineClass("server/None");
  Ask* const asks[] = {Java_com_velora_av6_ProbeService_getSystemProperties,
                       Java_com_velora_av5_ProbeService_getSystemProperties,
                       Java_com_velora_av5_AVSServer_getDataSources};
  for (Ask* ask : asks) {
    const auto answer = [&](jclass of) {
      jobject reference = ask(jvm.env(), nullptr, of);
      FakeObject* object = reference ? jvm.objectOf(reference) : nullptr;
      if (reference) jvm.env()->DeleteLocalRef(reference);
      EXPECT_FALSE(jvm.env()->ExceptionCheck());
      return object;
    };
    EXPECT_EQ(answer(jvm.ref(full)), held);
    EXPECT_EQ(answer(jvm.ref(empty)), nullptr);
    EXPECT_EQ(answer(jvm.ref(other)), nullptr) << "a field of another type is another field";
    EXPECT_EQ(answer(jvm.ref(none)), nullptr);
    EXPECT_EQ(answer(nullptr), nullptr);
  }
  EXPECT_EQ(jvm.localRefs(), 0);
}

TEST(ServerNatives, CountersNeedNothing) {
  FakeJvm jvm;
  EXPECT_TRUE(Java_com_velora_probe_ProbePMI_initializeProbe(jvm.env(), nullptr));
}
