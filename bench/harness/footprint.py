"""How much more memory the shop has resident with the agent, and whose it is."""

import collections
import random
import re
import subprocess
import time
import urllib.request

from harness import figures, shop
from harness.process import Failed, Sink, java
from harness.table import Row

SMALL_PACKETS = shop.Way("small packets", settings=(("internal.probe.event.packet.size", "1"),))
WAYS = [shop.NONE, shop.LIBRARY_ONLY, SMALL_PACKETS, shop.LEVEL_2]
MOST_MORE_MB = 25
MOST_WHEN_IDLE = 0.03  # seconds of processor time in a second
# The heap is resident as a whole, or its filling would drown all else; its objects are counted.
OPTIONS = ["-XX:NativeMemoryTracking=summary", "-Xms64m", "-Xmx64m", "-XX:+AlwaysPreTouch"]
PAGES = ["list?category=1", "item?id=7", "start?id=3"]

# Files in the memory map, by what they belong to.
MAPPED = [("bridge and agent, the library's pages", r"/libvelora\.so$"),
          ("logs, the toolkit's pages", r"/libklg\w+\.so$"),
          ("Java side, its jars", r"/velora-\w+\.jar$")]
# Categories of the JVM's native memory tracking.
TRACKED = [("Java side, the JVM's memory for classes", {"Class", "Metaspace", "Symbol", "Module"}),
           ("stacks and JVM's memory of threads", {"Thread"}),
           ("JVM's tables for tools, and the rest of it", None)]  # None: all others
NOT_RESIDENT = {"Java Heap", "Shared class space", "Arena Chunk"}
OTHER_FILES = "pages of other files"
REST = "queues, buffers, tables, logs: what the agent allocated"
KEPT = "free, but kept by the C library's allocator"
OBJECTS = "Java side, its objects"


def jcmd(pid, *command):
    done = subprocess.run([java().parent / "jcmd", str(pid), *command], text=True, check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode:
        raise Failed(f"jcmd {command[0]}: {done.stdout}")
    return done.stdout


def resident(smaps):
    """KB by mapped file; "" is anonymous memory, of the process's heap and stack too."""
    found, name = collections.Counter(), ""
    for line in smaps.splitlines():
        if re.match(r"[0-9a-f]+-[0-9a-f]+ ", line):
            name = (line.split(None, 5) + [""])[5]
            name = "" if name.startswith("[") else name
        elif line.startswith("Rss:"):
            found[name] += int(line.split()[1])
    return found


def mapped(pid):
    with open(f"/proc/{pid}/smaps", encoding="utf-8") as smaps:
        return resident(smaps.read())


def tracked(summary):
    """KB that the JVM has committed, by category."""
    return {name: int(kb) for name, kb in
            re.findall(r"^- +([\w ]+?) \(reserved=\d+KB, committed=(\d+)KB", summary, re.M)}


def split(files, categories):
    """KB by part; the parts' sum is all that is resident."""
    parts = collections.Counter()
    for name, kb in files.items():
        part = next((part for part, pattern in MAPPED if re.search(pattern, name)), OTHER_FILES)
        parts[part if name else REST] += kb
    for name, kb in categories.items():
        if name in NOT_RESIDENT:
            continue
        part = next(part for part, names in TRACKED if names is None or name in names)
        parts[part] += kb
        parts[REST] -= kb
    return parts


def rest(server, least):
    """So many seconds, and then until the compilers are done, too."""
    time.sleep(least)
    used = server.cpu_seconds()
    while used + MOST_WHEN_IDLE < (used := pause(server)):
        pass


def pause(server):
    time.sleep(1)
    return server.cpu_seconds()


def measure_once(way, sink, idle):
    with shop.running(way, sink.port, OPTIONS) as server:
        for page in PAGES:
            urllib.request.urlopen(f"http://127.0.0.1:{server.port}/shop/{page}").read()
        rest(server, idle)
        pid = server.process.pid
        before = mapped(pid)
        jcmd(pid, "System.trim_native_heap")
        files = mapped(pid)
        parts = split(files, tracked(jcmd(pid, "VM.native_memory", "summary", "scale=KB")))
        parts[KEPT] = sum(before.values()) - sum(files.values())
        jcmd(pid, "GC.run")
        parts[OBJECTS] = int(re.search(r"used (\d+)K", jcmd(pid, "GC.heap_info"))[1])
        return parts


def measure(rounds, idle, say):
    results = {way: [] for way in WAYS}
    with Sink() as sink:
        for number in range(rounds):
            for way in random.sample(WAYS, len(WAYS)):
                results[way].append(measure_once(way, sink, idle))
            say(f"round {number + 1} of {rounds}")
    return results


def more(results, way, than, part):
    return [(a[part] - b[part]) / 1024 for a, b in zip(results[way], results[than])]


def of_part(results, part):
    loaded = figures.median(more(results, shop.LIBRARY_ONLY, shop.NONE, part))
    return Row.of(f"- {part}", more(results, shop.LEVEL_2, shop.NONE, part), unit="MB",
                  note=f"{loaded:.2f} MB once loaded")


def rows(results):
    total = [sum(a.values()) / 1024 - sum(b.values()) / 1024
             for a, b in zip(results[shop.LEVEL_2], results[shop.NONE])]
    yield Row("memory at idle, more", figures.median(total), *figures.interval(total), unit="MB",
              target=MOST_MORE_MB)
    for part in (*(part for part, _ in MAPPED), *(part for part, _ in TRACKED), REST):
        yield of_part(results, part)
    yield Row.of("- of that: packet buffers", more(results, shop.LEVEL_2, SMALL_PACKETS, REST),
                 unit="MB", note="against packets of 1 KB")
    for part in (KEPT, OBJECTS, OTHER_FILES):
        yield of_part(results, part)
    resident_mb = [sum(parts.values()) / 1024 for parts in results[shop.NONE]]
    yield Row.of("none: memory at idle", resident_mb, unit="MB")
