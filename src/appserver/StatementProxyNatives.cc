// Natives of the statement classes that the agent puts into the server's JDBC layer: the older
// server's connection-manager proxies and the newer one's resource-adapter statements.
#include <com_norvik_av_rsadapter_jdbc_VeloraCallableStatement.h>
#include <com_norvik_av_rsadapter_jdbc_VeloraPreparedStatement.h>
#include <com_norvik_av_rsadapter_jdbc_VeloraStatement.h>
#include <com_norvik_ejs_cm_proxy_VeloraCallableStatementProxy.h>
#include <com_norvik_ejs_cm_proxy_VeloraPreparedStatementProxy.h>
#include <com_norvik_ejs_cm_proxy_VeloraStatementProxy.h>

#include "appserver/StatementProxy.h"
#include "base/Trace.h"
#include "core/Native.h"
#include "events/EventUtils.h"
#include "events/RecordTypes.h"

// A class that reports the beginning and the end of its statements.
#define VEL_STATEMENT(begin, end)                                                 \
  VEL_REPORT(begin, (jstring sql, jstring dataSrcName), (DC2PS_SQL_START_RECORD), \
             EventUtils::beginSQLRequest(env, self, sql, dataSrcName))            \
  VEL_REPORT(end, (jstring sql, jstring dataSrcName), (DC2PS_SQL_END_RECORD),     \
             EventUtils::endSQLRequest(env, self, sql, dataSrcName))

VEL_STATEMENT(Java_com_norvik_ejs_cm_proxy_VeloraStatementProxy_beginSQLRequest,
              Java_com_norvik_ejs_cm_proxy_VeloraStatementProxy_endSQLRequest)
VEL_STATEMENT(Java_com_norvik_ejs_cm_proxy_VeloraPreparedStatementProxy_beginSQLRequest,
              Java_com_norvik_ejs_cm_proxy_VeloraPreparedStatementProxy_endSQLRequest)
VEL_STATEMENT(Java_com_norvik_ejs_cm_proxy_VeloraCallableStatementProxy_beginSQLRequest,
              Java_com_norvik_ejs_cm_proxy_VeloraCallableStatementProxy_endSQLRequest)
VEL_STATEMENT(Java_com_norvik_av_rsadapter_jdbc_VeloraStatement_beginSQLRequest,
              Java_com_norvik_av_rsadapter_jdbc_VeloraStatement_endSQLRequest)
VEL_STATEMENT(Java_com_norvik_av_rsadapter_jdbc_VeloraPreparedStatement_beginSQLRequest,
              Java_com_norvik_av_rsadapter_jdbc_VeloraPreparedStatement_endSQLRequest)
VEL_STATEMENT(Java_com_norvik_av_rsadapter_jdbc_VeloraCallableStatement_beginSQLRequest,
              Java_com_norvik_av_rsadapter_jdbc_VeloraCallableStatement_endSQLRequest)

VEL_REPORT(Java_com_norvik_ejs_cm_proxy_VeloraStatementProxy_setSQL,
           (jstring sql, jstring DataSourceName), (), setSQL(env, self, sql, DataSourceName))
VEL_REPORT(Java_com_norvik_ejs_cm_proxy_VeloraPreparedStatementProxy_setSQL,
           (jstring sql, jstring DataSourceName), (), setSQL(env, self, sql, DataSourceName))
