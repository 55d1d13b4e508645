#include "Agent.h"
#include "appserver/PortalMethodMgr.h"

class PortalMethods : public Agent {
 protected:
  int pushed() {
    const auto before = created();
    portal->pushMethodsToPS(jvm.env());
    return static_cast<int>(created() - before);
  }
  PortalMethodMgr* portal = PortalMethodMgr::getInstance();
};

TEST_F(PortalMethods, EachConnectionGetsTheTableOnce) {
  collecting();
  EXPECT_EQ(pushed(), 0) << "nothing was registered";
  portal->putMethod(5, "A");
  portal->putMethod(5, "B");
  portal->putMethod(-128, "C");
  portal->putMethod(0, "no id");
  portal->putMethod(6, nullptr);
  EXPECT_TRUE(portal->isActive());
  EXPECT_EQ(pushed(), 2);
  EXPECT_EQ(pushed(), 2) << "the next connection gets them again";
  EXPECT_EQ(recorded(jvm.env()), 4);
  portal->clear();
  EXPECT_EQ(pushed(), 0);
}
