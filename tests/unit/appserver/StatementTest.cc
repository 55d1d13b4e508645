// What the older server's statement classes keep between their preparation and their execution.
#include <com_norvik_ejs_cm_proxy_VeloraPreparedStatementProxy.h>
#include <com_norvik_ejs_cm_proxy_VeloraStatementProxy.h>

#include "Reports.h"

class Statements : public Reports {};

TEST_F(Statements, SetSQLKeepsTheLastStatement) {
  for (const auto setSQL : {Java_com_norvik_ejs_cm_proxy_VeloraStatementProxy_setSQL,
                            Java_com_norvik_ejs_cm_proxy_VeloraPreparedStatementProxy_setSQL}) {
    const auto kept = [&](jstring sql, jstring dataSource) {
      setSQL(env(), nullptr, sql, dataSource);
      const auto orNull = [](const char* text) { return std::string(text ? text : "null"); };
      return orNull(thread().getSQL()) + "/" + orNull(thread().getDSName());
    };
    EXPECT_EQ(kept(s("select 1"), s("db")), "select 1/db");
    EXPECT_EQ(kept(nullptr, s("other")), "select 1/db") << "a null sql changes nothing";
    EXPECT_EQ(kept(s(""), nullptr), "/null");
    MemoryMonitor::uLimitReached_ = true;
    EXPECT_EQ(kept(s("select 2"), nullptr), "/null") << "nothing at the memory ceiling";
    MemoryMonitor::uLimitReached_ = false;
    thread().setSQL(nullptr);
  }
}
