"""Every native of the agent: how it is called, and what must arrive of one call.

A scenario is the natives that one thread calls in this order with one kind of values, so that every
level that a begin opens is closed by its end. Each native of the jars stands in a scenario, or in
ELSEWHERE with the test that calls it.
"""

import re

from javavalues import arriving


class Native:
    def __init__(self, name, *records, given=None):
        self.name = name if name.startswith(("com.norvik.", "oracle.")) else "com.velora." + name
        self.records = records  # from the arguments to (kind, fields), or to None
        self.given = given or {}  # arguments that are always the same


def record(kind, when=lambda args: True, **sources):
    """A record with the given fields, each a function of the arguments."""
    return lambda args: (kind, {f: s(args) for f, s in sources.items()}) if when(args) else None


def text(index):
    return lambda args: arriving(args[index] or "")


def number(index, bits=None):
    return lambda args: args[index] & ((1 << bits) - 1) if bits else args[index]


def constant(value):
    return lambda args: value


def pair(begin, end, kind, given=None, **sources):
    """A START with these fields, and an END without any."""
    return [Native(begin, record(kind + "_START", **sources), given=given),
            Native(end, record(kind + "_END"), given=given)]


def single(name, *records, **given):
    return [Native(name, *records, **given)]


def silent(*names, given=None):
    """Natives that answer or steer: no record."""
    return [[Native(name, given=given)] for name in names]


THREADS = "probe.ThreadManager."
UTILS = "probe.ProbeUtils."
CONTROL = "probe.ProbeController."
SYSTEM = "probe.ProbeSystem."
PORTAL = "avportal.PortalUtils."
PERF = "command.monitoring.PerfSummaryImpl."
PROXIES = "com.norvik.ejs.cm.proxy.Velora"
STATEMENT_CLASSES = ["oracle.jdbc.driver.OracleStatement"] + [
    package + kind + ending
    for package, ending in ((PROXIES, "Proxy"), ("com.norvik.av.rsadapter.jdbc.Velora", ""))
    for kind in ("Statement", "PreparedStatement", "CallableStatement")]

HTTP = dict(request_name=text(1), application_name=text(2), url=text(3), userName=text(4))
SQL = dict(sql=text(0), data_source_name=text(1))


def padded(levels):
    return (list(levels) + [0] * 4)[:4]


RATES = {f"probeLevels{i}": (lambda args, i=i: padded(args[0])[i]) for i in range(4)}


def figures(*fields):
    """Counts and average times that are one argument each."""
    return {field: number(index) for index, field in enumerate(fields)}


def counted(*calls):
    return figures(*(call + part for call in calls for part in ("Count", "AvgTime")))


NAMES = dict(request_name=text(0), application_name=text(1), url=text(2), userName=text(3))
MEAN = figures("count", "avgTimeTaken")
PHASES = {"Authorization": "AUTHORIZATION", "Authentication": "AUTHENTICATION",
          "ModelBuilding": "MODEL_BUILDING", "PageLoading": "PAGE_LOADING",
          "PageRendering": "PAGE_RENDERING", "Action": "ACTION"}
GATEWAY = "PORTAL_GATEWAY_SERVLET"


def page(args):
    return arriving("PageNameUnknown" if args[0] is None else args[0])


PORTAL_SCENARIOS = [
    *[single(PORTAL + name, record(kind, **MEAN)) for name, kind in {
        "sendLoginData": "PORTAL_AUTH", "sendAccessControlData": "PORTAL_AC",
        "sendGatewayServletData": GATEWAY, "sendModelBuildingData": "PORTAL_MODEL_BUILDING",
        "sendPageLoadingData": "PORTAL_PAGE_LOADING"}.items()],
    single(PORTAL + "sendCredentialVaultData", record("PORTAL_CREDENTIALVAULT", **counted(
        "getCredential", "setCredentialBinary", "setCredentialUserPassword", "createSlot",
        "deleteSlot"))),
    single(PORTAL + "sendContentAccessData", record("PORTAL_CONTENTACCESS", **counted(
        "getInputStream", "getMarkup", "getURL", "include"))),
    pair(PORTAL + "startPortalPageRequest", PORTAL + "endPortalPageRequest", "PORTAL_PAGE",
         **NAMES),
    pair(PORTAL + "startPortletRequest", PORTAL + "endPortletRequest", "PORTAL_PORTLET", **NAMES),
    *[pair(PORTAL + f"startPortal{name}Request", PORTAL + f"endPortal{name}Request",
           "PORTAL_" + kind, methodId=number(0, bits=8)) for name, kind in PHASES.items()],
    # The end is reported with the page that the thread named last.
    [Native(PORTAL + "processPortalPageName", record(GATEWAY + "_END", pageName=page)),
     Native(PORTAL + "startGatewayServletRequest", record(GATEWAY + "_START")),
     Native(PORTAL + "endGatewayServletRequest")],
    [Native(PORTAL + "startGatewayServletRequest", record(GATEWAY + "_START")),
     Native(PORTAL + "end502GatewayServletRequest", record(GATEWAY + "_END", pageName=page))],
    # The names behind the ids go out when a connection is made again.
    *silent(PORTAL + "getServletDepth", PORTAL + "pushMonitoredMethodToNative"),
]

SCENARIOS = [
    pair(THREADS + "startNativeHttpRequest", THREADS + "finishNativeHttpRequest",
         "SERVLET_REQUEST", **HTTP),
    [Native(THREADS + "startNativeHttpRequest", record("SERVLET_REQUEST_START", **HTTP)),
     Native(THREADS + "errorNativeHttpRequest", record("SERVLET_REQUEST_ERROR"))],
    pair(UTILS + "beginNativeSQLRequest", UTILS + "endNativeSQLRequest", "SQL", **SQL),
    *[pair(c + ".beginSQLRequest", c + ".endSQLRequest", "SQL", **SQL) for c in STATEMENT_CLASSES],
    *silent(PROXIES + "StatementProxy.setSQL", PROXIES + "PreparedStatementProxy.setSQL"),
    *PORTAL_SCENARIOS,
    [Native(PORTAL + "startPortletRequest", record("PORTAL_PORTLET_START", **NAMES)),
     Native("av5.pmi.VeloraBeanModule.finishBeanRequest", record("EJB_REQUEST_END"))],
    single(SYSTEM + "setNativeSamplingRates",
           record("SAMPLING_RATE", when=lambda args: args[0] is not None, **RATES,
                  useDefault=lambda args: int(args[1]))),
    *silent(
        UTILS + "getBuildTime", UTILS + "genPasswordFile", UTILS + "getUser",
        UTILS + "getPassword",
        "av5.AVSServer.getDataSources", "av5.ProbeService.getSystemProperties",
        "av6.ProbeService.getSystemProperties", "probe.ProbePMI.initializeProbe",
        THREADS + "getEnv", THREADS + "getNativeLossReport", THREADS + "getNativeProbeStatus",
        THREADS + "getNativeStoppedThreadIDs",
        CONTROL + "getMonitoringLevel", CONTROL + "isJvmpiEnabled",
        CONTROL + "isNativeProbeEnabled", CONTROL + "setIncludeExcludeList",
        SYSTEM + "getArgumentVector", SYSTEM + "getProcessId",
        SYSTEM + "nativeGetCurrentThreadCPUTime", SYSTEM + "nativeGetCurrentThreadID",
        SYSTEM + "nativeGetTimeMicroSeconds", SYSTEM + "nativeUpdateAppServerCPUTime",
        SYSTEM + "nativeUpdatePlatformCPUTime",
        "bcm.bootstrap.BcmBootstrap.defineNativeMethodsForClassNative",
        PERF + "getDiskSpace", PERF + "getTotalPhysicalMemory", PERF + "getVM",
        "network.NetworkAgent.initCppSide",
        "probe.event.EventAgent.getEvtAgentCount", "probe.event.NetworkAgent.getNetAgentCount",
        "probe.log.ProbeLogger.getLogFileName", "probe.log.ProbeLogger.setNativeProbeLoggingLevel",
        "probe.log.ProbeLogger.write"),
    # An agent's own thread is in this call for life; an id that no agent has returns at once.
    *silent("probe.event.EventAgent.startThread", "probe.event.EventAgent.stopThread",
            "probe.event.NetworkAgent.startThread", "probe.event.NetworkAgent.stopThread",
            given={0: 1_000}),
]

# Natives that watch the machine for a second or two, or for as long as they are told.
SAMPLERS = [*silent(SYSTEM + "nativeUpdateAppServerCPU", SYSTEM + "nativeUpdatePlatformCPU",
                    PERF + "getDiskIO", PERF + "getNetworkIO"),
            *[s for ms in (1, 0, -1, -1 << 31) for s in silent(PERF + "getPagingRate", given={0: ms})]]

# Natives that end or change the probe, and the tests that call them.
ELSEWHERE = {
    "com.velora." + name: test
    for test, names in {
        "Lifecycle": [CONTROL + "initializeJVMPI", CONTROL + "flushNativeProbe",
                      CONTROL + "restartOnToFromL1", CONTROL + "setModLevel",
                      CONTROL + "startNativeProbe", CONTROL + "stopNativeProbe",
                      SYSTEM + "initializeProbe",
                      UTILS + "customServiceStart", UTILS + "customServiceShutDown"],
        "StopNative": [SYSTEM + "stopNative"],
    }.items() for name in names}
