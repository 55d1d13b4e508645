#pragma once

#include <unistd.h>

#include "base/Identity.h"
#include "base/UniqueFd.h"
#include "events/GPSTokenUtils.h"
#include "fake/FakeJvm.h"
#include "fake/FakeToolkit.h"
#include "unit/Test.h"

namespace fs = std::filesystem;

struct GPSTokenProbe {
  static unsigned region() { return GPSTokenUtils::regionId; }
  static unsigned mask() { return GPSTokenUtils::gpsMask; }
  static void setCushion(int tokens) { GPSTokenUtils::gpsCushion = tokens; }
  // As a process that has just begun.
  static void forget() {
    GPSTokenUtils::tokenPtr[0] = GPSTokenUtils::tokenPtr[1] = 0;
    GPSTokenUtils::regionId = GPSTokenUtils::gpsMask = 0;
    GPSTokenUtils::counterFile[0] = '\0';
    GPSTokenUtils::left_ = 0;
    GPSTokenUtils::kept_ = true;
    GPSTokenUtils::shared_ = false;
  }
};

// A home with room for a counter file.
class Tokens : public testing::Test {
 protected:
  void SetUp() override {
    home = place() / ("tokens." + std::to_string(getpid()));
    fs::create_directories(home / "etc");
    velIdentity = {};
    setIdentity(velIdentity.veloraHome, home.string());
    setIdentity(velIdentity.nodeName, "n");
    setIdentity(velIdentity.appServerName, "s");
    GPSTokenProbe::forget();
    jvm.givesProfiler();
  }
  void TearDown() override {
    fs::remove_all(home);
    velIdentity = {};
  }
  virtual fs::path place() const { return testing::TempDir(); }
  fs::path file() const { return home / "etc" / "n.s.veloraGpsCounter.txt"; }
  std::string counter() const {
    std::ifstream in(file());
    return {std::istreambuf_iterator<char>(in), {}};
  }
  void put(const std::string& content) { std::ofstream(file()) << content; }
  void startWith(const char* content, const char* mask) {
    put(content);
    restart(mask);
  }
  void restart(const char* mask) {
    GPSTokenProbe::forget();
    setUpAgain(mask);
  }
  void setUpAgain(const char* mask) { GPSTokenUtils::setUpGps(jvm.env(), jvm.string(mask)); }

  FakeJvm jvm;
  FakeToolkit toolkit;
  fs::path home;
};
