// The statement classes' natives, and the end of a bean's request.
#include <com_norvik_av_rsadapter_jdbc_VeloraCallableStatement.h>
#include <com_norvik_av_rsadapter_jdbc_VeloraPreparedStatement.h>
#include <com_norvik_av_rsadapter_jdbc_VeloraStatement.h>
#include <com_norvik_ejs_cm_proxy_VeloraCallableStatementProxy.h>
#include <com_norvik_ejs_cm_proxy_VeloraPreparedStatementProxy.h>
#include <com_norvik_ejs_cm_proxy_VeloraStatementProxy.h>
#include <com_velora_av5_pmi_VeloraBeanModule.h>

#include "Reports.h"

class Statements : public Reports {};

using Call = void(JNIEnv*, jclass, jstring, jstring);

#define STATEMENT(cls) \
  { #cls, Java_com_norvik_##cls##_beginSQLRequest, Java_com_norvik_##cls##_endSQLRequest }
static constexpr struct {
  const char* name;
  Call* begin;
  Call* end;
} kStatements[] = {
    STATEMENT(ejs_cm_proxy_VeloraStatementProxy),
    STATEMENT(ejs_cm_proxy_VeloraPreparedStatementProxy),
    STATEMENT(ejs_cm_proxy_VeloraCallableStatementProxy),
    STATEMENT(av_rsadapter_jdbc_VeloraStatement),
    STATEMENT(av_rsadapter_jdbc_VeloraPreparedStatement),
    STATEMENT(av_rsadapter_jdbc_VeloraCallableStatement),
};
static constexpr Call* kSetSQL[] = {
    Java_com_norvik_ejs_cm_proxy_VeloraStatementProxy_setSQL,
    Java_com_norvik_ejs_cm_proxy_VeloraPreparedStatementProxy_setSQL,
};

TEST_F(Statements, EachClassReportsBothSides) {
  for (const auto& statement : kStatements) {
    SCOPED_TRACE(statement.name);
    const auto begun = recordsOf([&] { statement.begin(env(), nullptr, s("select 1"), s("db")); });
    ASSERT_EQ(begun.size(), 1u);
    EXPECT_EQ(begun[0][0], DC2PS_SQL_START_RECORD);
    EXPECT_NE(begun[0].find(bytes("0002 6462 0008 73656C6563742031")), std::string::npos)
        << hex(begun[0]);
    EXPECT_EQ(thread().getServletDepth(), 1);
    EXPECT_EQ(recordId([&] { statement.end(env(), nullptr, s("select 1"), s("db")); }),
              DC2PS_SQL_END_RECORD);
    EXPECT_EQ(thread().getServletDepth(), 0);
  }
}

TEST_F(Statements, SetSQLKeepsTheLastStatement) {
  for (Call* setSQL : kSetSQL) {
    const auto kept = [&](jstring sql, jstring dataSource) {
      setSQL(env(), nullptr, sql, dataSource);
      const auto orNull = [](const char* text) { return std::string(text ? text : "null"); };
      return orNull(thread().getSQL()) + "/" + orNull(thread().getDSName());
    };
    EXPECT_EQ(kept(s("select 1"), s("db")), "select 1/db");
    EXPECT_EQ(kept(nullptr, s("other")), "select 1/db") << "a null sql changes nothing";
    EXPECT_EQ(kept(s(""), nullptr), "/null");
    thread().setSQL(nullptr);
  }
  EXPECT_EQ(recorded(env()), 0);
}

TEST_F(Statements, NothingAtTheMemoryCeiling) {
  expectNothingAtTheMemoryCeiling([&] {
    for (const auto& statement : kStatements) {
      statement.begin(env(), nullptr, s("select 1"), s("db"));
      statement.end(env(), nullptr, s("select 1"), s("db"));
    }
    for (Call* setSQL : kSetSQL) setSQL(env(), nullptr, s("select 1"), s("db"));
    Java_com_velora_av5_pmi_VeloraBeanModule_finishBeanRequest(env(), nullptr, s("C"), s("m"),
                                                               s("k"));
  });
  EXPECT_EQ(thread().getSQL(), nullptr);
}

TEST_F(Statements, BeanRequestEnds) {
  thread().setServletDepth(2);
  for (jstring text : {s("name"), jstring{}}) {
    EXPECT_EQ(recordId([&] {
                Java_com_velora_av5_pmi_VeloraBeanModule_finishBeanRequest(env(), nullptr, text,
                                                                           text, text);
              }),
              DC2PS_EJB_REQUEST_END_RECORD);
  }
  EXPECT_EQ(thread().getServletDepth(), 0);
}
