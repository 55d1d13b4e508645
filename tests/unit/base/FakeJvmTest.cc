#include <gtest/gtest.h>

#include "base/JniScope.h"
#include "fake/FakeJvm.h"

// Every other test rests on these.
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
