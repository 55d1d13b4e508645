#include <com_velora_probe_ProbeUtils.h>

#include "Credentials.h"
#include "fake/FakeJvm.h"

class CredentialsNatives : public testing::Test {
 protected:
  CredentialsNatives() { settings(home, "internal.mask.passwords=YES\n"); }
  ~CredentialsNatives() override {
    EXPECT_EQ(jvm.heldChars(), 0);
    EXPECT_EQ(jvm.localRefs(), 0);
    EXPECT_FALSE(jvm.env()->ExceptionCheck());
  }
  jstring s(const std::string& text) { return jvm.string(text); }
  void generate(jstring user, jstring password, jstring file) {
    testing::internal::CaptureStdout();
    Java_com_velora_probe_ProbeUtils_genPasswordFile(jvm.env(), nullptr, user, password, file);
    testing::internal::GetCapturedStdout();
  }
  std::string text(jstring string) {
    if (!string) return "null";
    const std::string said = jvm.textOf(string);
    jvm.env()->DeleteLocalRef(string);
    return said;
  }
  std::string user(jstring word, jstring file) {
    return text(Java_com_velora_probe_ProbeUtils_getUser(jvm.env(), nullptr, word, file));
  }
  std::string password(jstring word, jstring file) {
    return text(Java_com_velora_probe_ProbeUtils_getPassword(jvm.env(), nullptr, word, file));
  }
  Home home;
  FakeJvm jvm;
  Recorder log;
  const std::string path = home.path("etc/admin");
};

TEST_F(CredentialsNatives, WhatIsWrittenIsRead) {
  const std::pair<std::string, std::string> cases[] = {
      {"ann", "secret"},
      {"", ""},
      {"\xC3\xA4nne", "\xE2\x82\xAC\xED\xA0\xBD\xED\xB8\x80"},  // two, three and six bytes
      {"zero", "a\xC0\x80z"},                                   // an embedded NUL
      {"ann", std::string(1000, 'p')},
  };
  for (const auto& [name, secret] : cases) {
    SCOPED_TRACE(name);
    generate(s(name), s(secret), s(path));
    EXPECT_EQ(user(s(kWord), s(path)), name);
    EXPECT_EQ(password(s(kWord), s(path)), secret);
  }
  EXPECT_TRUE(log.messages().empty());
}

TEST_F(CredentialsNatives, BytesThatAreNoText) {
  const std::pair<std::string, std::string> cases[] = {
      {"a\xFFz", "a\xEF\xBF\xBDz"},
      {"a\x80z", "a\xEF\xBF\xBDz"},
      {"a\xF0\x9F\x98\x80z", "a\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBDz"},
      {"a\xC3", "a\xEF\xBF\xBD"},
      {"a\xE2\x82", "a\xEF\xBF\xBD\xEF\xBF\xBD"},
  };
  for (const auto& [bytes, expected] : cases) {
    SCOPED_TRACE(expected);
    home.write("etc/admin", bytes + ":");
    EXPECT_EQ(user(s(kWord), s(path)), expected);
  }
}
