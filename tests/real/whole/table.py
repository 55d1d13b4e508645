"""Every native of the agent: how it is called, and what must arrive of one call.

A scenario is the natives that one thread calls in this order with values of one kind, so that every
level that a begin opens is closed by its end; equal arguments of one scenario are equal texts. Each
native of the jars stands in a scenario, or in ELSEWHERE with the test that calls it.
"""

import re

from javavalues import MAX_TEXT, Raw, arriving


class Native:
    def __init__(self, name, *records, given=None):
        outside = name.startswith(("com.norvik.", "oracle."))
        self.name = name if outside else "com.velora." + name
        self.records = records
        self.given = given or {}  # arguments that are always the same


class Record:
    """Where there is one: a kind, and fields that are functions of the arguments of a call. That is
    the call itself, or an earlier one of its scenario, which told what this one reports.
    """

    def __init__(self, kind, when, sources, before):
        self.kind, self.when, self.sources, self.before = kind, when, sources, before

    def fields(self, calls):
        """The fields that must arrive; None where no record must. `calls` are the arguments so far."""
        args = calls[-1 - self.before]
        return {f: s(args) for f, s in self.sources.items()} if self.when(args) else None


def record(kind, when=lambda args: True, before=0, **sources):
    return Record(kind, when, sources, before)


def text(index):
    return lambda args: arriving(args[index] or "")


def number(index, bits=None):
    return lambda args: args[index] & ((1 << bits) - 1) if bits else args[index]


def constant(value):
    return lambda args: value


def figures(*fields):
    """Fields that are one argument each."""
    return {field: number(index) for index, field in enumerate(fields)}


def pair(begin, end, kind, given=None, **sources):
    """A START with these fields, and an END without any."""
    return [Native(begin, record(kind + "_START", **sources), given=given),
            Native(end, record(kind + "_END"), given=given)]


def single(name, *records, given=None):
    return [Native(name, *records, given=given)]


def silent(*names, given=None):
    """Natives that answer or steer: no record."""
    return [single(name, given=given) for name in names]


THREADS = "probe.ThreadManager."
UTILS = "probe.ProbeUtils."
CONTROL = "probe.ProbeController."
SYSTEM = "probe.ProbeSystem."
PORTAL = "avportal.PortalUtils."
COMMAND = "command.CommandAgent."
HEAP_UTIL = "command.heap.HeapUtil."
PERF = "command.monitoring.PerfSummaryImpl."
EXTREMES = (-(1 << 31), (1 << 31) - 1)


# -- requests, and the calls they make

def named(first, url):
    """0 when both names equal the address."""
    def flag(args):
        return int({args[first] or "", args[first + 1] or ""} != {args[url] or ""})
    return flag


def address(index):
    return lambda args: text(index)(args).partition("?")[0]


def names(first):
    return dict(request_name=text(first), application_name=text(first + 1), url=text(first + 2),
                userName=text(first + 3))


def calls(begin, end, kind, given=None, **sources):
    return pair(f"{UTILS}beginNative{begin}Request", f"{UTILS}endNative{end}Request", kind, given,
                **sources)


def product(args):
    return arriving((args[1] if args[1] is not None else args[0]) or "")


HTTP = dict(named=named(1, 3), **names(1))
EJB = dict(named=named(0, 2), request_name=text(0), application_name=text(1), url=address(2))
SQL = dict(sql=text(0), data_source_name=text(1))
JMS = dict(serverName=text(2), queueOrTopicName=text(1))
JMS_KINDS = {1: "RECEIVE", 2: "BROWSE", 3: "SEND", 4: "PUBLISH"}
IIOP_CLIENT = 45  # the key under which every client call goes; its name goes once
PROXIES = "com.norvik.ejs.cm.proxy.Velora"
STATEMENT_CLASSES = ["oracle.jdbc.driver.OracleStatement"] + [
    package + kind + ending
    for package, ending in ((PROXIES, "Proxy"), ("com.norvik.av.rsadapter.jdbc.Velora", ""))
    for kind in ("Statement", "PreparedStatement", "CallableStatement")]


def message(kind, action):
    selector = {"selector": text(3)} if kind in ("RECEIVE", "BROWSE") else {}
    return calls("JMS", "JMS", "JMS_" + kind, {0: action}, **JMS, **selector)


REQUESTS = [
    pair(THREADS + "startNativeHttpRequest", THREADS + "finishNativeHttpRequest",
         "SERVLET_REQUEST", **HTTP),
    [Native(THREADS + "startNativeHttpRequest", record("SERVLET_REQUEST_START", **HTTP)),
     Native(THREADS + "errorNativeHttpRequest", record("SERVLET_REQUEST_ERROR"))],
    *[pair(THREADS + "beginNativeEJBRequest", end, "EJB_REQUEST", given, **EJB)
      for end in (THREADS + "endNativeEJBRequest", "av5.pmi.VeloraBeanModule.finishBeanRequest")
      for given in (None, {2: "/ejb/Stock?item=1?2"})],
    calls("SQL", "SQL", "SQL", **SQL),
    *[pair(c + ".beginSQLRequest", c + ".endSQLRequest", "SQL", **SQL) for c in STATEMENT_CLASSES],
    *[message(JMS_KINDS.get(action, "SEND"), action) for action in (1, 2, 3, 4, 0, 7, *EXTREMES)],
    calls("JCA", "JCA", "JCA", eisName=product),
    calls("JCA", "JCA", "JCA", {1: None}, eisName=product),
    calls("Mail", "Mail", "JAVA_MAIL", serverURL=text(1), subject=text(0)),
    calls("JNDI", "JNDI", "JNDI", providerURL=text(1), lookupName=text(0)),
    calls("JDO", "JDO", "JDO", className=text(0), methodName=text(1), argumentString=text(2)),
    pair(THREADS + "startIIOPClientRequest", THREADS + "finishIIOPClientRequest", "IIOP_CLIENT",
         className=text(0), methodKey=constant(IIOP_CLIENT)),
    pair(THREADS + "startIIOPServerRequest", THREADS + "finishIIOPServerRequest", "IIOP_SERVER",
         className=text(0), methodKey=constant(0), methodName=text(1)),
    single(UTILS + "nativeSendException",
           record("EXCEPTION", exception=text(0), class_name=text(1), method_name=text(2),
                  stacktrace=text(3))),
    single(THREADS + "issueTraceRequest",
           record("TRACE_REQUEST", request_name=constant("system_trace"))),
]


# -- message queues, and calls between processes

PUT, PUT1, GET, BROWSE = 10, 11, 7, 13
MOVES = {PUT: "GPS_PUT", PUT1: "GPS_PUT", GET: "GPS_GET", BROWSE: "GPS_GET"}


def hexadecimal(index):
    return lambda args: "".join(f"{b & 0xFF:02X}" for b in args[index])


def travelled(args):
    """Whether the end of a queue call tells a token."""
    return bool(args[4] and args[3] and len(args[3]) <= MAX_TEXT and args[2] in MOVES)


def queue_call(action):
    moves = MOVES.get(action, "GPS_PUT")
    action_field = dict(action=number(2, bits=8))
    return [
        Native(UTILS + "beginNativeMQRequest",
               record("MQ_START", queueName=text(1), queueMgrName=text(0), **action_field),
               given={2: action}),
        Native(UTILS + "endNativeMQRequest", record("MQ_END", **action_field),
               record(moves + "_START", travelled, queueName=text(1), gpsToken=hexadecimal(3),
                      receive=lambda args: int(args[2] == GET)),
               record(moves + "_END", travelled), given={2: action})]


def queue_figures(args):
    most = min(max(args[6], 0), 65_535)
    columns = [(column or [])[:most] for column in args[3:6]]
    return [{"ctype": t & 0xFF, "count": n, "avgTimeTaken": mean} for t, n, mean in zip(*columns)]


def token(args):
    digits = args[0] or ""
    value = int(digits, 16) if re.fullmatch("[0-9a-fA-F]+", digits) else 0
    return f"{value if value < 1 << 32 else 0:08X}"


PROCESSES = [
    *[queue_call(action) for action in (PUT, PUT1, GET, BROWSE, 0, 14, *EXTREMES)],
    single(UTILS + "sendNativeMQIRecord",
           record("MQI_REQUEST", mgrName=text(0), queueName=text(1), snapShotTime=number(2),
                  calls=queue_figures)),
    single(UTILS + "sendNativeKGWRecord",
           record("KGW_REQUEST", gatewayName=text(0), serverName=text(1), progName=text(2),
                  snapShotTime=number(3), count=number(4), avgTimeTaken=number(5))),
    *[pair(owner + "startNativeGpsInvokeRequest", owner + "endNativeGpsInvokeRequest",
           "GPS_REQUEST_INVOKE") for owner in (UTILS, COMMAND)],
    *[pair(owner + "startNativeGpsReceiveRequest", owner + "completeNativeGpsReceiveRequest",
           "GPS_REQUEST_RECEIVE", given, token=token)
      for owner in (UTILS, COMMAND)
      for given in (None, {0: "C0A80001"}, {0: "ffffffff"}, {0: "100000000"})],
    *silent(UTILS + "getNativeGpsToken", COMMAND + "getNativeGpsToken"),
]


# -- the portal

def counted(*operations):
    return figures(*(o + part for o in operations for part in ("Count", "AvgTime")))


def page(args):
    return arriving("PageNameUnknown" if args[0] is None else args[0])


MEAN = figures("count", "avgTimeTaken")
PHASES = {"Authorization": "AUTHORIZATION", "Authentication": "AUTHENTICATION",
          "ModelBuilding": "MODEL_BUILDING", "PageLoading": "PAGE_LOADING",
          "PageRendering": "PAGE_RENDERING", "Action": "ACTION"}
GATEWAY = "PORTAL_GATEWAY_SERVLET"

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
         **names(0)),
    pair(PORTAL + "startPortletRequest", PORTAL + "endPortletRequest", "PORTAL_PORTLET",
         **names(0)),
    *[pair(PORTAL + f"startPortal{name}Request", PORTAL + f"endPortal{name}Request",
           "PORTAL_" + kind, methodId=number(0, bits=8)) for name, kind in PHASES.items()],
    # The end is reported with the page that the thread named last.
    [Native(PORTAL + "processPortalPageName"),
     Native(PORTAL + "startGatewayServletRequest", record(GATEWAY + "_START")),
     Native(PORTAL + "endGatewayServletRequest",
            record(GATEWAY + "_END", before=2, pageName=page))],
    [Native(PORTAL + "startGatewayServletRequest", record(GATEWAY + "_START")),
     Native(PORTAL + "end502GatewayServletRequest", record(GATEWAY + "_END", pageName=page))],
    # The names behind the ids go out when a connection is made again.
    *silent(PORTAL + "getServletDepth", PORTAL + "pushMonitoredMethodToNative"),
]


# -- instrumented code

MODULE = "command.MethodLevelModule."
RUNTIME = "probe.l3trace.BcmRuntime."
HEAP = "probe.heap.HeapAnalysisRuntime."
LOCK = "probe.lock.LockAnalysisRuntime.appendEvent"
METHOD = dict(method_id=number(0, bits=32))
LOCKED = dict(method_id=number(2, bits=32), className=text(1))
OWNED = dict(owningRequestType=number(3, bits=8), owningRequestName=text(4),
             owningApplicationName=text(5), owning_method_id=number(6, bits=32))
MOST_METHODS = 65_535


def complete(first):
    """A class comes with its name and three arrays of one length."""
    def whole(args):
        arrays = args[first + 1:first + 4]
        return (args[first] is not None and None not in arrays
                and len(set(map(len, arrays))) == 1 and len(arrays[0]) <= MOST_METHODS)
    return whole


def class_load(first, no_signature):
    def methods(args):
        return [{"id": i & 0xFFFF_FFFF, "name": arriving(name or ""),
                 "signature": arriving(no_signature if signature is None else signature)}
                for i, name, signature in zip(*args[first + 1:first + 4])]
    return record("CLASS_LOAD", complete(first), className=text(first), methods=methods)


def class_unload(ids, when, before=0):
    return record("CLASS_UNLOAD", when, before,
                  methods=lambda args: [{"id": i & 0xFFFF_FFFF} for i in args[ids]])


def unloadable(args):
    return args[1] is not None and args[2] is not None and len(args[2]) <= MOST_METHODS


def lock(kind, begin, **fields):
    return [Native(LOCK, record(f"LOCK_{kind}_START", **LOCKED, **fields), given={0: begin}),
            Native(LOCK, record(f"LOCK_{kind}_END"), given={0: begin + 1})]


CODE = [
    single(RUNTIME + "sendClassEventNative", class_load(1, " ")),
    single(RUNTIME + "sendClassUnloadEventNative", class_unload(2, unloadable)),
    [Native(MODULE + "beforeMethod", record("METHOD_ENTRY", **METHOD)),
     Native(MODULE + "afterMethod", record("METHOD_EXIT", **METHOD))],
    *[single(RUNTIME + "appendL3Event", record(kind, method_id=number(1, bits=32)),
             given={0: flag})
      for flag, kind in ((0, "METHOD_ENTRY"), (1, "METHOD_EXIT"), (-1, "METHOD_EXIT"))],
    pair(HEAP + "nativeHeapAllocationStart", HEAP + "nativeHeapAllocationEnd", "HEAP_ALLOCATION",
         line_number=number(1), instantiated_class_name=text(2), **METHOD),
    lock("ACQUIRE", 1), lock("CONTEND", 3, **OWNED), lock("RELEASE", 5),
    *[s for kind in (0, 7, -1) for s in silent(LOCK, given={0: kind})],
]
# For one thread at a time: a name that several announce is unloaded once for all of them.
ANNOUNCED = [
    [Native(MODULE + "initializeClass", class_load(0, "")),
     Native(MODULE + "unloadClass", class_unload(1, complete(0), before=1))],
]


# -- answers, and the agent itself

def padded(levels):
    return (list(levels) + [0] * 4)[:4]


RATES = {f"probeLevels{i}": (lambda args, i=i: padded(args[0])[i]) for i in range(4)}

AGENT = [
    single(SYSTEM + "setNativeSamplingRates",
           record("SAMPLING_RATE", when=lambda args: args[0] is not None, **RATES,
                  useDefault=lambda args: int(args[1]))),
    single("probe.PSStatusThread.sendStatusEvent", record("PSSTATUS", status_=text(0))),
    *silent(
        UTILS + "getBuildTime", UTILS + "genPasswordFile", UTILS + "getUser",
        UTILS + "getPassword",
        THREADS + "getEnv", THREADS + "getNativeLossReport", THREADS + "getNativeProbeStatus",
        THREADS + "getNativeStoppedThreadIDs", THREADS + "getNativeThreadStatus",
        THREADS + "getStackTrace", THREADS + "setThreadStatus",
        COMMAND + "getThreadId", COMMAND + "generateThreadDump",
        CONTROL + "getMonitoringLevel", CONTROL + "isJvmpiEnabled",
        CONTROL + "isNativeProbeEnabled", CONTROL + "setIncludeExcludeList",
        SYSTEM + "getArgumentVector", SYSTEM + "getProcessId",
        SYSTEM + "nativeGetCurrentThreadCPUTime", SYSTEM + "nativeGetCurrentThreadID",
        SYSTEM + "nativeGetTimeMicroSeconds", SYSTEM + "nativeUpdateAppServerCPUTime",
        SYSTEM + "nativeUpdatePlatformCPUTime",
        "av5.AVSServer.getDataSources", "av5.ProbeService.getSystemProperties",
        "av6.ProbeService.getSystemProperties", "probe.ProbePMI.initializeProbe",
        "bcm.bootstrap.BcmBootstrap.defineNativeMethodsForClassNative",
        HEAP_UTIL + "testHeapDumpEnvironmentNative",
        PERF + "getDiskSpace", PERF + "getTotalPhysicalMemory", PERF + "getVM",
        "network.NetworkAgent.initCppSide",
        "probe.event.EventAgent.getEvtAgentCount", "probe.event.NetworkAgent.getNetAgentCount",
        "probe.log.ProbeLogger.getLogFileName", "probe.log.ProbeLogger.setNativeProbeLoggingLevel",
        "probe.log.ProbeLogger.write",
        PROXIES + "StatementProxy.setSQL", PROXIES + "PreparedStatementProxy.setSQL"),
    # Natives that do not belong to the class they are to be bound to.
    *silent("bcm.bootstrap.BcmBootstrap.defineNativeMethodsForClassNative",
            given={0: Raw("@java.lang.String"), 1: "com.velora." + RUNTIME.rstrip(".")}),
    # A primitive type has no members; the JVM that is asked for them ends.
    *silent("bcm.bootstrap.BcmBootstrap.defineNativeMethodsForClassNative",
            given={0: Raw("@int"), 1: "com.velora." + RUNTIME.rstrip(".")}),
    *silent("av5.AVSServer.getDataSources", "av5.ProbeService.getSystemProperties",
            "av6.ProbeService.getSystemProperties", given={0: Raw("@int")}),
    # An agent's own thread is in this call for life; an id that no agent has returns at once.
    *silent("probe.event.EventAgent.startThread", "probe.event.EventAgent.stopThread",
            "probe.event.NetworkAgent.startThread", "probe.event.NetworkAgent.stopThread",
            given={0: 1_000}),
]

SCENARIOS = REQUESTS + PROCESSES + PORTAL_SCENARIOS + CODE + AGENT

# Natives that watch the machine for a second or two, or for as long as they are told; and those
# that stop the JVM to count its objects.
SAMPLERS = [
    *silent(SYSTEM + "nativeUpdateAppServerCPU", SYSTEM + "nativeUpdatePlatformCPU",
            PERF + "getDiskIO", PERF + "getNetworkIO",
            HEAP_UTIL + "getHeapSnapShotData", HEAP_UTIL + "getHeapDumpData"),
    *[s for millis in (1, 0, -1, EXTREMES[0])
      for s in silent(PERF + "getPagingRate", given={0: millis})],
]

# Natives that end or change the probe, and the tests that call them.
ELSEWHERE = {
    "com.velora." + name: test
    for test, natives in {
        "test_life_of_the_probe": [
            CONTROL + "initializeJVMPI", CONTROL + "flushNativeProbe",
            CONTROL + "restartOnToFromL1", CONTROL + "setModLevel", CONTROL + "setupGps",
            CONTROL + "startNativeProbe", CONTROL + "stopNativeProbe", SYSTEM + "initializeProbe",
            UTILS + "customServiceStart", UTILS + "customServiceShutDown"],
        "test_stop_native": [SYSTEM + "stopNative"],
    }.items() for name in natives}
