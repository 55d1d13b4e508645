// The natives of bench.Lttng: each text is copied from Java to the stack, then traced.
#define LTTNG_UST_TRACEPOINT_CREATE_PROBES
#define LTTNG_UST_TRACEPOINT_DEFINE
#include <bench_Lttng.h>

#include "tracepoints.h"

constexpr jsize kLongest = 256;

// The benchmark's texts are short; a longer one would not be comparable, so it is left out.
static const char* copied(JNIEnv* env, jstring text, char* to) {
  const jsize bytes = env->GetStringUTFLength(text);
  if (bytes >= kLongest) return "";
  env->GetStringUTFRegion(text, 0, env->GetStringLength(text), to);
  to[bytes] = 0;
  return to;
}

JNIEXPORT void JNICALL Java_bench_Lttng_begin(JNIEnv* env, jclass, jstring name,
                                              jstring application, jstring url, jstring user) {
  char texts[4][kLongest];
  lttng_ust_tracepoint(velora_bench, request_begin, copied(env, name, texts[0]),
                       copied(env, application, texts[1]), copied(env, url, texts[2]),
                       copied(env, user, texts[3]));
}

JNIEXPORT void JNICALL Java_bench_Lttng_end(JNIEnv*, jclass) {
  lttng_ust_tracepoint(velora_bench, request_end);
}
