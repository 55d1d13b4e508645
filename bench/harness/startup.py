"""How much longer the shop takes to start with the agent."""

import random
import re

from harness import figures, shop
from harness.process import Failed, Sink
from harness.table import Row

WAYS = [shop.NONE, shop.WEB_ONLY, shop.LIBRARY_ONLY, shop.LEVEL_2, shop.HOOK_OFF]
WITH_TARGET = [shop.LEVEL_2, shop.HOOK_OFF]
MOST_MORE_MS = 100
HOOK = re.compile(r"Class-load hook handled \d+ classes in \d+ ms")


def start_once(way, sink):
    with shop.running(way, sink.port) as server:
        wall, cpu = server.wall * 1e3, server.cpu * 1e3
        server.stop()
        logs = [log.read_text(errors="replace") for log in (server.home / "logs").rglob("*.log")]
    hook = HOOK.findall("".join(logs))
    if way in WITH_TARGET and not hook:
        raise Failed(f"the agent did not run ({way.name})")
    return wall, cpu, hook[-1] if hook else ""


def measure(rounds, say):
    results = {way: [] for way in WAYS}
    with Sink() as sink:
        start_once(shop.LEVEL_2, sink)  # fills the page cache
        for number in range(rounds):
            for way in random.sample(WAYS, len(WAYS)):
                results[way].append(start_once(way, sink))
            say(f"round {number + 1} of {rounds}")
    return results


def rows(results):
    clocks = [(0, "start"), (1, "CPU until the start")]
    for way in WAYS[1:]:
        for clock, what in clocks:
            more = [a[clock] - b[clock] for a, b in zip(results[way], results[shop.NONE])]
            aimed = way in WITH_TARGET and clock == 0
            yield Row(f"{way.name}: {what}, more", figures.median(more), *figures.interval(more),
                      unit="ms", target=MOST_MORE_MS if aimed else None,
                      note=results[way][-1][2] if clock == 0 else "")
    for way in WAYS:
        for clock, what in clocks:
            yield Row.of(f"{way.name}: {what}", [one[clock] for one in results[way]], unit="ms")
