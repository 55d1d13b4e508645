// Natives that keep an administrator's user id and password in a file.
#include <com_velora_probe_ProbeUtils.h>

#include <climits>

#include "appserver/SecretJavaText.h"
#include "appserver/VelEncryptor.h"
#include "base/Trace.h"
#include "core/Native.h"

// What is longer than this is no name of a file, nor anything else that is taken: it fails below as
// it would whole.
constexpr jsize kLongestArgument = PATH_MAX;

static SecretText argument(JNIEnv* env, jstring string) {
  return secretText(env, string, kLongestArgument);
}

static jstring stored(JNIEnv* env, jstring permit, jstring fname,
                      SecretText VelEncryptor::Credentials::*which) {
  VelEncryptor encryptor;
  const auto found =
      encryptor.readCredentials(argument(env, fname).get(), argument(env, permit).get());
  return found ? javaString(env, ((*found).*which).get()) : nullptr;
}

VEL_ANSWER(jstring, nullptr, Java_com_velora_probe_ProbeUtils_getUser,
           (jstring permit, jstring fname),
           stored(env, permit, fname, &VelEncryptor::Credentials::user))
VEL_ANSWER(jstring, nullptr, Java_com_velora_probe_ProbeUtils_getPassword,
           (jstring permit, jstring fname),
           stored(env, permit, fname, &VelEncryptor::Credentials::password))

VEL_COMMAND(Java_com_velora_probe_ProbeUtils_genPasswordFile,
            (jstring uid, jstring pswd, jstring filename),
            VelEncryptor().generatePasswordFile(argument(env, uid).get(), argument(env, pswd).get(),
                                                argument(env, filename).get()))
