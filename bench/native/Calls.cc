#include "native/Calls.h"

#include <com_velora_probe_ProbeUtils.h>
#include <com_velora_probe_ThreadManager.h>

#include "native/CheapJvm.h"

static const JavaString kRequest(u"CheckoutServlet");
static const JavaString kApplication(u"shop");
static const JavaString kUrl(u"http://shop.example.org:8080/shop/checkout");
static const JavaString kUser(u"anna");
static const JavaString kStatement(
    u"SELECT item, price, amount FROM cart_line WHERE cart = ? AND state <> 'gone' ORDER BY item");
static const JavaString kDataSource(u"jdbc/shop");

static void httpStart(BenchAgent& agent) {
  Java_com_velora_probe_ThreadManager_startNativeHttpRequest(agent.worker(), nullptr, nullptr,
                                                             kRequest, kApplication, kUrl, kUser);
}

static void httpEnd(BenchAgent& agent) {
  Java_com_velora_probe_ThreadManager_finishNativeHttpRequest(agent.worker(), nullptr, kRequest,
                                                              kApplication, kUrl);
}

void httpPair(BenchAgent& agent) {
  httpStart(agent);
  httpEnd(agent);
}

void sqlPair(BenchAgent& agent) {
  JNIEnv* const env = agent.worker();
  Java_com_velora_probe_ProbeUtils_beginNativeSQLRequest(env, nullptr, kStatement, kDataSource);
  Java_com_velora_probe_ProbeUtils_endNativeSQLRequest(env, nullptr, kStatement, kDataSource);
}

void fillQueue(BenchAgent& agent, int events) {
  while (agent.queued() < events) {
    httpStart(agent);
    sqlPair(agent);
    sqlPair(agent);
    httpEnd(agent);
  }
}
