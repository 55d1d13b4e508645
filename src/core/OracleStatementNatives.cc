// Natives of a JDBC driver's own statement class, which reports the statements it executes.
#include <oracle_jdbc_driver_OracleStatement.h>

#include "base/Trace.h"
#include "core/Native.h"
#include "events/EventUtils.h"
#include "events/RecordTypes.h"

VEL_REPORT(Java_oracle_jdbc_driver_OracleStatement_beginSQLRequest,
           (jstring sql, jstring dataSrcName), (DC2PS_SQL_START_RECORD),
           EventUtils::beginJDBCSQLRequest(env, self, sql, dataSrcName))
VEL_REPORT(Java_oracle_jdbc_driver_OracleStatement_endSQLRequest,
           (jstring sql, jstring dataSrcName), (DC2PS_SQL_END_RECORD),
           EventUtils::endJDBCSQLRequest(env, self, sql, dataSrcName))
