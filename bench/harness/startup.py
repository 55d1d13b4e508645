"""How much longer the shop takes to start with the agent."""

import random
import re

from harness import figures, shop
from harness.process import Failed, Sink
from harness.table import Row

WAYS = [shop.NONE, shop.LEVEL_2, shop.HOOK_OFF]
MOST_MORE_MS = 100
HOOK = re.compile(r"Class-load hook handled \d+ classes in \d+ ms")


def start_once(way, sink):
    with shop.running(way, sink.port) as server:
        wall, cpu = server.wall * 1e3, server.cpu * 1e3
        server.stop()
        logs = "".join(log.read_text(errors="replace") for log in (server.home / "logs").rglob("*.log"))
    if way.agent and not HOOK.search(logs):
        raise Failed(f"the agent did not run ({way.name})")
    return wall, cpu, HOOK.findall(logs)[-1] if way.agent else ""


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
    for way in WAYS[1:]:
        for clock, what in enumerate(("start, more", "CPU until the start, more")):
            more = [a[clock] - b[clock] for a, b in zip(results[way], results[shop.NONE])]
            yield Row(f"{way.name}: {what}", figures.median(more), *figures.interval(more), unit="ms",
                      target=None if clock else MOST_MORE_MS,
                      note="" if clock else results[way][-1][2])
    for way in WAYS:
        yield Row.of(f"{way.name}: start", [wall for wall, _, _ in results[way]], unit="ms")
        yield Row.of(f"{way.name}: CPU until the start", [cpu for _, cpu, _ in results[way]], unit="ms")
