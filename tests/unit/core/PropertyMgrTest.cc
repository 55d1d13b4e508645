#include <sys/stat.h>

#include "Core.h"
#include "core/PropertyMgr.h"

TEST(PropertyMgr, Lines) {
  const Home home;
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"plain", "key=value", "key", "value"},
      {"blanks and control characters around both", " \tkey \x1f=\x01 value \r", "key", "value"},
      {"blanks inside stay", "a key=a value", "a key", "a value"},
      {"two equals signs: the text between them", "key=one=two", "key", "one"},
      {"equals signs side by side are one", "key==value", "key", "value"},
      {"a leading equals sign is skipped", "=key=value", "key", "value"},
      {"no value", "key=", "key", nullptr},
      {"a blank value", "key = \t= x", "key", nullptr},
      {"no key", "=value", "value", nullptr},
      {"no equals sign", "key", "key", nullptr},
      {"comment", "#key=value", "#key", nullptr},
      {"indented comment", "   #key=value", "#key", nullptr},
      {"letters above 127 are no blanks", "key=\xC3\xA9", "key", "\xC3\xA9"},
  };
  for (const auto& [why, line, key, value] : cases) {
    SCOPED_TRACE(why);
    const char* stored = settings(home, std::string("x=y\n") + line + "\n").getProperty(key);
    EXPECT_STREQ(stored, value);
    EXPECT_STREQ(propMgr->getProperty("x"), "y");
  }
}

TEST(PropertyMgr, WhichFile) {
  const std::string standard = "datacollector.properties";
  const std::string specific = "n1.s1." + standard, profiled = "n1.s1(p1)." + standard;
  struct Case {
    const char *node, *server, *profile;
    std::vector<std::string> files;  // below etc/, each says its own name
    std::string used;                // none is told of the standard one
  };
  const Case cases[] = {
      {"n1", "s1", "", {standard, specific}, specific},
      {"n1", "s1", "p1", {standard, specific, profiled}, profiled},
      {"n1", "s1", "p1", {standard, specific}, standard},
      {"", "s1", "", {standard, specific}, standard},
      {"n1", "", "p1", {standard, specific}, standard},
      {"n1", "s1", "", {}, ""},
  };
  for (const Case& c : cases) {
    const Home home;
    Recorder log;
    setIdentity(velIdentity.nodeName, c.node);
    setIdentity(velIdentity.appServerName, c.server);
    setIdentity(velIdentity.profileName, c.profile);
    for (const std::string& file : c.files) home.write("etc/" + file, "file=" + file + "\n");
    EXPECT_EQ(PropertyMgr::getInstance()->getStringProperty("file", ""), c.used);
    EXPECT_EQ(log.said("1069 " + home.path("etc/") + standard), c.used.empty());
  }
}

TEST(PropertyMgr, FilesThatAreNone) {
  const std::pair<const char*, int (*)(const char*)> kinds[] = {
      {"directory", [](const char* path) { return mkdir(path, 0700); }},
      {"FIFO that nobody writes to", [](const char* path) { return mkfifo(path, 0600); }},
  };
  for (const auto& [why, make] : kinds) {
    SCOPED_TRACE(why);
    const Home home;
    home.write("etc/datacollector.properties", "x=y\n");
    ASSERT_EQ(make(home.path("etc/n1.s1.datacollector.properties").c_str()), 0);
    EXPECT_STREQ(PropertyMgr::getInstance()->getProperty("x"), "y");
    PropertyMgr::destroy();
    std::filesystem::remove(home.path("etc/datacollector.properties"));
    ASSERT_EQ(make(home.path("etc/datacollector.properties").c_str()), 0);
    EXPECT_EQ(PropertyMgr::getInstance()->getProperty("x"), nullptr);
    PropertyMgr::destroy();
    velIdentity.veloraHome[0] = '\0';
    EXPECT_EQ(PropertyMgr::getInstance()->getProperty("x"), nullptr) << "no home";
  }
}

TEST(PropertyMgr, LongLinesAndHugeFiles) {
  const Home home;
  const std::string value(20000, 'v');
  PropertyMgr& properties =
      settings(home, "long=" + value + "\n#" + value + "=z\nno=end" + std::string(1, '\0') + "=x");
  EXPECT_EQ(std::string(properties.getProperty("long")).size(), 13000u - 5);
  EXPECT_EQ(properties.getProperty(value.substr(0, 7001).c_str()), nullptr)
      << "the rest of a comment is no setting";
  EXPECT_STREQ(properties.getProperty("no"), "end");

  std::string huge = "first=1\n";
  huge.append((16u << 20) - huge.size() - 3, '\n');
  huge += "last=1\n";  // begins within the 16 MB
  PropertyMgr& cut = settings(home, huge);
  EXPECT_STREQ(cut.getProperty("first"), "1");
  EXPECT_EQ(cut.getProperty("last"), nullptr);
}

// Run with the thread sanitizer this fails on any unprotected access.
TEST(PropertyMgr, ReadersWhileSettingsChange) {
  const Home home;
  PropertyMgr& properties = settings(home, "k=value\n");
  const char* first = properties.getProperty("k");
  std::thread writer([&] {
    for (int i = 0; i < 2000; ++i) {
      properties.putProperty("k", i % 2 ? "value" : "other");
      properties.putProperty(std::to_string(i % 50).c_str(), "x");
    }
  });
  for (int i = 0; i < 2000; ++i) {
    const std::string seen = properties.getProperty("k");
    EXPECT_TRUE(seen == "value" || seen == "other");
  }
  writer.join();
  EXPECT_STREQ(first, "value") << "what was handed out stays";
}

TEST(PropertyMgr, TypedReadsAndWrites) {
  const Home home;
  PropertyMgr& properties = settings(home, "n=12abc\nword=twelve\nbig=9000000000\nreal=2.5e3\n");
  EXPECT_EQ(properties.getIntProperty("n", 1), 12);
  EXPECT_EQ(properties.getIntProperty("word", 1), 0) << "what is no number reads as 0";
  EXPECT_EQ(properties.getIntProperty("method.hash.cleanup", 150), 150);
  EXPECT_EQ(properties.getIntProperty(nullptr, 7), 7);
  EXPECT_EQ(properties.getLongProperty("big", 1), 9'000'000'000);
  EXPECT_DOUBLE_EQ(properties.getFloatProperty("real", 0), 2500);
  EXPECT_STREQ(properties.getStringProperty("absent", "d"), "d");
  EXPECT_EQ(properties.getStringProperty("absent", nullptr), nullptr);

  properties.putIntProperty("i", -5);
  properties.putLongProperty("l", (1L << 32) + 6);
  properties.putFloatProperty("f", 1.5);
  properties.putProperty("null", nullptr);
  properties.putProperty(nullptr, "x");
  EXPECT_STREQ(properties.getProperty("i"), "-5");
  EXPECT_STREQ(properties.getProperty("l"), "6") << "stored as an int";
  EXPECT_STREQ(properties.getProperty("f"), "1.500000");
  EXPECT_EQ(properties.getProperty("null"), nullptr);
}

struct Told : PropertyListener {
  void propertyChanged(const char* key, const char* value) override {
    texts.push_back(std::string(key) + "=" + value);
  }
  std::vector<std::string> texts;
};

TEST(PropertyMgr, ListenersHearOfExistingSettingsOnly) {
  const Home home;
  PropertyMgr& properties = settings(home, "known=1\n");
  Told one, two, gone;
  EXPECT_FALSE(properties.addPropertyListener(nullptr));
  EXPECT_FALSE(properties.removePropertyListener(nullptr));
  for (Told* told : {&one, &two, &gone}) EXPECT_TRUE(properties.addPropertyListener(told));
  EXPECT_TRUE(properties.removePropertyListener(&gone));
  properties.updateProperty("new", "1");
  properties.updateProperty("known", "2");
  properties.updateProperty(nullptr, "3");
  properties.putProperty("known", "4");
  const std::vector<std::string> expected = {"known=2"};
  EXPECT_EQ(one.texts, expected);
  EXPECT_EQ(two.texts, expected);
  EXPECT_TRUE(gone.texts.empty());
  EXPECT_STREQ(properties.getProperty("new"), "1");
  EXPECT_STREQ(properties.getProperty("known"), "4");
}
