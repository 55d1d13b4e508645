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
    """Pairs by way: a start without the agent and one in that way. Next to each other, for a
    machine is faster in one minute than in another."""
    results = {way: [] for way in WAYS[1:]}
    with Sink() as sink:
        start_once(shop.LEVEL_2, sink)  # fills the page cache
        for number in range(rounds):
            for way in random.sample(WAYS[1:], len(WAYS) - 1):
                pair = {each: start_once(each, sink) for each in random.sample([shop.NONE, way], 2)}
                results[way].append((pair[shop.NONE], pair[way]))
            say(f"round {number + 1} of {rounds}")
    return results


def rows(results):
    clocks = [(0, "start"), (1, "CPU until the start")]
    for way, pairs in results.items():
        for clock, what in clocks:
            more = [ours[clock] - none[clock] for none, ours in pairs]
            aimed = way in WITH_TARGET and clock == 0
            yield Row(f"{way.name}: {what}, more", figures.median(more), *figures.interval(more),
                      unit="ms", target=MOST_MORE_MS if aimed else None,
                      note=pairs[-1][1][2] if clock == 0 else "")
    starts = {shop.NONE: [none for pairs in results.values() for none, _ in pairs],
              **{way: [ours for _, ours in pairs] for way, pairs in results.items()}}
    for way, found in starts.items():
        for clock, what in clocks:
            yield Row.of(f"{way.name}: {what}", [one[clock] for one in found], unit="ms")
