// The natives of bench.Empty: nothing but the way into a native method and back.
#include <bench_Empty.h>

JNIEXPORT void JNICALL Java_bench_Empty_begin(JNIEnv*, jclass) {}
JNIEXPORT void JNICALL Java_bench_Empty_end(JNIEnv*, jclass) {}
JNIEXPORT void JNICALL Java_bench_Empty_beginSql(JNIEnv*, jclass, jstring, jstring) {}
JNIEXPORT void JNICALL Java_bench_Empty_endSql(JNIEnv*, jclass, jstring, jstring) {}
JNIEXPORT void JNICALL Java_bench_Empty_beginHttp(JNIEnv*, jclass, jstring, jstring, jstring,
                                                  jstring, jstring) {}
JNIEXPORT void JNICALL Java_bench_Empty_endHttp(JNIEnv*, jclass, jstring, jstring, jstring) {}
