// Natives that tie the agent's Java side to the server's own classes.
#include <com_velora_av5_AVSServer.h>
#include <com_velora_av5_ProbeService.h>
#include <com_velora_av5_pmi_VeloraBeanModule.h>
#include <com_velora_av6_ProbeService.h>
#include <com_velora_probe_ProbePMI.h>

#include "base/JniScope.h"
#include "base/Trace.h"
#include "core/Native.h"
#include "events/EventUtils.h"
#include "events/RecordTypes.h"

static jobject staticObject(JNIEnv* env, jclass cls, const char* name, const char* signature) {
  if (!cls || !hasMembers(env, cls)) return nullptr;
  jfieldID field = env->GetStaticFieldID(cls, name, signature);
  if (describeAndClear(env) || !field) return nullptr;
  return env->GetStaticObjectField(cls, field);
}

static jobject systemProperties(JNIEnv* env, jclass AVSSystem) {
  return staticObject(env, AVSSystem, "_props", "Lcom/norvik/av/webcontainer/util/ExProperties;");
}

VEL_ANSWER(jobject, nullptr, Java_com_velora_av6_ProbeService_getSystemProperties,
           (jclass AVSSystem), systemProperties(env, AVSSystem))
VEL_ANSWER(jobject, nullptr, Java_com_velora_av5_ProbeService_getSystemProperties,
           (jclass AVSSystem), systemProperties(env, AVSSystem))
VEL_ANSWER(jobject, nullptr, Java_com_velora_av5_AVSServer_getDataSources,
           (jclass dataSourceFactory),
           staticObject(env, dataSourceFactory, "dataSources", "Ljava/util/Hashtable;"))
VEL_ANSWER(jboolean, JNI_TRUE, Java_com_velora_probe_ProbePMI_initializeProbe, (), JNI_TRUE)

VEL_REPORT(Java_com_velora_av5_pmi_VeloraBeanModule_finishBeanRequest,
           (jstring className, jstring methodName, jstring ejbKey), (DC2PS_EJB_REQUEST_END_RECORD),
           EventUtils::endBeanRequest(env, self, className, methodName, ejbKey))
