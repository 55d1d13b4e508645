#include <gtest/gtest.h>

#include "base/JniScope.h"
#include "fake/FakeJvm.h"

// Every other test rests on these.
TEST(FakeJvm, CallsAndFieldsReachWhatTheTestDescribed) {
  FakeJvm jvm;
  JNIEnv* env = jvm.env();
  jvm.defineClass("a/Greeter")
      .staticField("count", "J", jlong{7})
      .field("name", "Ljava/lang/String;")
      .method("greet", "(Ljava/lang/String;I)Ljava/lang/String;", [](FakeCall& call) {
        const std::string& own = call.self->fields["name"].object->text;
        return FakeValue((own + call.text(0) + std::to_string(call.args[1].raw.i)).c_str());
      });
  const LocalRef<jclass> cls(env, env->FindClass("a/Greeter"));
  FakeObject* greeter = jvm.findClass("a/Greeter")->newInstance();
  env->SetObjectField(jvm.ref(greeter), env->GetFieldID(cls, "name", "Ljava/lang/String;"),
                      jvm.string("me:"));
  EXPECT_EQ(env->GetStaticLongField(cls, env->GetStaticFieldID(cls, "count", "J")), 7);
  const jmethodID greet = env->GetMethodID(cls, "greet", "(Ljava/lang/String;I)Ljava/lang/String;");
  const LocalRef<jstring> text(env,
                               env->CallObjectMethod(jvm.ref(greeter), greet, jvm.string("hi"), 5));
  EXPECT_EQ(jvm.textOf(text), "me:hi5");
  EXPECT_EQ(jvm.localRefs(), 2);
}

TEST(FakeJvm, WhatIsNotThereRaises) {
  FakeJvm jvm;
  JNIEnv* env = jvm.env();
  EXPECT_EQ(env->FindClass("no/Such"), nullptr);
  EXPECT_TRUE(describeAndClear(env));
  EXPECT_FALSE(describeAndClear(env));
  EXPECT_EQ(jvm.attach().described, 1);
}

TEST(FakeJvmDeathTest, FaultsEndTheProgramWithTheirName) {
  FakeJvm jvm;
  JNIEnv* env = jvm.env();
  EXPECT_DEATH(env->GetDirectBufferCapacity(nullptr), "GetDirectBufferCapacity: not provided");
  jvm.throwNew(env, "java/lang/Error", "x");
  EXPECT_DEATH(env->FindClass("java/lang/String"), "FindClass: called with an exception pending");
}
