#include <sys/stat.h>

#include <climits>

#include "Credentials.h"
#include "appserver/PrivateFile.h"

using testing::ElementsAre;
using testing::IsEmpty;

class CredentialsFile : public testing::Test {
 protected:
  CredentialsFile() { settings(home); }
  int generate(const std::string& user, const std::string& password) {
    testing::internal::CaptureStdout();
    const int result = encryptor.generatePasswordFile(user.c_str(), password.c_str(), path.c_str());
    said = testing::internal::GetCapturedStdout();
    return result;
  }
  std::string stored() {
    const auto found = encryptor.readCredentials(path.c_str(), kWord);
    return found ? std::string(found->user.get()) + "/" + found->password.get() : "null";
  }
  mode_t mode() const {
    struct stat status {};
    lstat(path.c_str(), &status);
    return status.st_mode;
  }

  Home home;
  Recorder log;
  VelEncryptor encryptor;
  const std::string path = home.path("etc/admin");
  std::string said;
};

TEST_F(CredentialsFile, WrittenExactly) {
  EXPECT_EQ(generate("ann", "A"), 0);
  EXPECT_EQ(home.read("etc/admin"), std::string("ann:") + kScrambledA);
  EXPECT_EQ(mode(), S_IFREG | 0600u);
  EXPECT_EQ(said, std::string("Encrypted password: ") + kScrambledA +
                      " \nDecrypted password: A \npassword file " + path + " was properly created");
  EXPECT_EQ(stored(), "ann/A");
  EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(CredentialsFile, WhatIsRefused) {
  const std::tuple<std::string, std::string, std::vector<std::string>> cases[] = {
      {"ann", std::string(1000, 'p'), {}},
      {"ann", std::string(1001, 'p'), {"1036 1000"}},
      {"", "", {}},
      {std::string(1023, 'u'), "p", {}},
      {std::string(1024, 'u'), "p", {"1023"}},
      {"a:b", "p", {"1031"}},
  };
  for (const auto& [user, password, messages] : cases) {
    SCOPED_TRACE(user + " " + std::to_string(password.size()));
    log.clear();
    EXPECT_EQ(generate(user, password), messages.empty() ? 0 : -1);
    EXPECT_EQ(log.messages(), messages);
    if (messages.empty()) {
      EXPECT_EQ(stored(), user + "/" + password);
    }
  }
}

TEST_F(CredentialsFile, HostileFiles) {
  const std::string endless(100'000, 'x');
  const std::string longPassword = [&] {
    const SecretBytes bytes = encryptor.encode(std::string(1001, 'x').c_str());
    return std::string(reinterpret_cast<const char*>(bytes.get()), 30'030);
  }();
  const std::tuple<const char*, std::string, const char*, std::vector<std::string>> cases[] = {
      {"empty", "", "null", {"1025 " + path}},
      {"one byte", "x", "null", {"1023"}},
      {"no colon", "ann\xFF!", "null", {"1023"}},
      {"no colon anywhere", endless, "null", {"1023"}},
      {"colon too far behind", std::string(1024, 'u') + ":", "null", {"1023"}},
      {"colon only", ":", "/", {}},
      {"no user", std::string(":") + kScrambledA, "/A", {}},
      {"no password", "ann:", "ann/", {}},
      {"a second colon", std::string("a:b:") + kScrambledA, "null", {"1034", "1035"}},
      {"with its end byte", std::string("ann:") + kScrambledA + "\xFF", "ann/A", {}},
      {"with an end of a line", std::string("ann:") + kScrambledA + "\n", "null", {"1034", "1035"}},
      {"longer than anybody writes", "ann:" + endless, "null", {"1028"}},
      {"password longer than allowed", "ann:" + longPassword, "null", {"1036 1000"}},
      {"NULs", std::string("a\0n:\0\0", 6), "null", {"1034", "1035"}},
  };
  for (const auto& [why, content, expected, messages] : cases) {
    SCOPED_TRACE(why);
    home.write("etc/admin", content);
    log.clear();
    EXPECT_EQ(stored(), expected);
    EXPECT_EQ(log.messages(), messages);
  }
}

TEST_F(CredentialsFile, WideRightsAndLinksAreReplaced) {
  home.write("etc/admin", "old");
  std::filesystem::permissions(path, std::filesystem::perms(0644));
  EXPECT_EQ(generate("ann", "A"), 0);
  EXPECT_EQ(mode(), S_IFREG | 0600u);

  home.write("etc/other", "somebody else's");
  std::filesystem::remove(path);
  std::filesystem::create_symlink(home.path("etc/other"), path);
  EXPECT_EQ(generate("ann", "A"), 0);
  EXPECT_EQ(mode(), S_IFREG | 0600u);
  EXPECT_EQ(home.read("etc/other"), "somebody else's");
}

TEST_F(CredentialsFile, WhatIsNoFileStays) {
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"directory", [&] { std::filesystem::create_directory(path); }},
      {"FIFO", [&] { mkfifo(path.c_str(), 0600); }},
  };
  for (const auto& [why, make] : cases) {
    SCOPED_TRACE(why);
    make();
    log.clear();
    const mode_t before = mode();
    EXPECT_EQ(stored(), "null");
    EXPECT_EQ(generate("ann", "A"), -1);
    EXPECT_THAT(log.messages(), ElementsAre("1024 " + path, "1027 " + path));
    EXPECT_EQ(mode(), before);
    std::filesystem::remove(path);
  }
}

TEST_F(CredentialsFile, TheLongestNameOfAFile) {
  const std::string_view text = "text";
  const std::string name = "etc/" + std::string(NAME_MAX, 'n');
  EXPECT_TRUE(replacePrivateFile(home.path(name).c_str(), {&text, 1}));
  EXPECT_EQ(home.read(name), text);
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(home.path("etc"));
  EXPECT_TRUE(replacePrivateFile("here", {&text, 1}));
  std::filesystem::current_path(before);
  EXPECT_EQ(home.read("etc/here"), text);
}

TEST_F(CredentialsFile, AFailedReplacementLeavesNothingBehind) {
  std::filesystem::create_directories(home.path("etc/sub"));
  const auto filesBeside = [&] {
    return std::distance(std::filesystem::directory_iterator(home.path("etc")), {});
  };
  const auto before = filesBeside();
  const std::string_view text = "text";
  EXPECT_FALSE(replacePrivateFile(home.path("etc/sub").c_str(), {&text, 1}));
  EXPECT_FALSE(replacePrivateFile(home.path("etc/sub/none/file").c_str(), {&text, 1}));
  EXPECT_FALSE(replacePrivateFile("", {&text, 1}));
  EXPECT_EQ(filesBeside(), before);
}

TEST_F(CredentialsFile, PasswordsAreMaskedWhenConfigured) {
  settings(home, "internal.mask.passwords=yes\n");
  EXPECT_EQ(generate("ann", "A"), 0);
  EXPECT_EQ(said, "Encrypted password: ******** \nDecrypted password: ******** \npassword file " +
                      path + " was properly created");
  EXPECT_EQ(stored(), "ann/A");
}
