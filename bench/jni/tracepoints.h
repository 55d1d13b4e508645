// The tracepoints of bench.Lttng, in the form that LTTng's generator reads more than once.
#undef LTTNG_UST_TRACEPOINT_PROVIDER
#define LTTNG_UST_TRACEPOINT_PROVIDER velora_bench

#undef LTTNG_UST_TRACEPOINT_INCLUDE
#define LTTNG_UST_TRACEPOINT_INCLUDE "./tracepoints.h"

#if !defined(VELORA_BENCH_TRACEPOINTS_H) || defined(LTTNG_UST_TRACEPOINT_HEADER_MULTI_READ)
#define VELORA_BENCH_TRACEPOINTS_H

#include <lttng/tracepoint.h>

// clang-format off
LTTNG_UST_TRACEPOINT_EVENT(velora_bench, request_begin,
  LTTNG_UST_TP_ARGS(const char*, name, const char*, application, const char*, url, const char*, user),
  LTTNG_UST_TP_FIELDS(
    lttng_ust_field_string(name, name)
    lttng_ust_field_string(application, application)
    lttng_ust_field_string(url, url)
    lttng_ust_field_string(user, user)))
LTTNG_UST_TRACEPOINT_EVENT(velora_bench, request_end,
  LTTNG_UST_TP_ARGS(void),
  LTTNG_UST_TP_FIELDS())
// clang-format on

#endif

#include <lttng/tracepoint-event.h>
