"""The shop under load, without the agent and with it."""

import collections
import contextlib
import dataclasses
import random
import subprocess

from harness import figures, shop
from harness.process import BUILD, Failed, Sink, java
from harness.table import Row

# As installed the agent drops events at these rates, which would be cheap. So: packets ten times a
# second, queues for seconds of them, and a connection that is written to as soon as there is
# something.
ROOMY = (("internal.probe.publishing.frequency", 100),
         ("internal.probe.event.queue.size.limit", 200_000), ("internal.memory.limit", 500),
         ("networkagent.publish.frequency", 20))
NONE = shop.NONE
LEVEL_1, LEVEL_2 = (dataclasses.replace(way, settings=(*way.settings, *ROOMY))
                    for way in (shop.LEVEL_1, shop.LEVEL_2))
WAYS = [NONE, LEVEL_1, LEVEL_2]
MOST_LOSS_OF_THROUGHPUT = {LEVEL_1: 3, LEVEL_2: 5}  # percent
MOST_P99 = 5
SHARE_OF_MAXIMUM = 0.4  # the fixed rate, of what the server can do without the agent
CONNECTIONS = 8


@dataclasses.dataclass(frozen=True)
class Plan:
    trials: int = 2  # fresh servers each, so that the chance of one process's layout counts once
    rounds: int = 5
    seconds: float = 3
    warm_up: int = 40_000  # requests to each server, after which its code is compiled


QUICK = Plan(trials=1, rounds=2, seconds=1, warm_up=20_000)


@dataclasses.dataclass
class Answer:
    rate: float
    p50: float
    p99: float
    cpu: float  # microseconds of the server's processor time for a request


class Client:
    def __init__(self):
        self.process = subprocess.Popen(
            [java(), "-Xms256m", "-Xmx256m", "-cp", BUILD / "bench" / "bench.jar", "bench.Load"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def load(self, server, seconds, rate=0):
        before = server.cpu_seconds()
        self.process.stdin.write(f"{server.port} {CONNECTIONS} {seconds} {rate}\n")
        self.process.stdin.flush()
        done, wrong, p50, p99 = self.process.stdout.readline().split()
        if wrong != "0" or float(done) == 0:
            raise Failed(f"{wrong} requests failed ({server.way.name})")
        cpu = (server.cpu_seconds() - before) / (float(done) * seconds) * 1e6
        return Answer(float(done), float(p50), float(p99), cpu)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()


def measure(plan, say):
    """Answers by load, way, trial and round: of the highest and of the fixed rate."""
    highest = collections.defaultdict(list)
    fixed = collections.defaultdict(list)
    rate = None
    with Sink() as sink, Client() as client:
        for trial in range(plan.trials):
            with contextlib.ExitStack() as servers:
                started = {way: servers.enter_context(shop.running(way, sink.port))
                           for way in random.sample(WAYS, len(WAYS))}
                for server in started.values():
                    warm_up(client, server, plan)
                rate = rate or calibrated(client, started[NONE], plan.seconds)
                found = alternate(plan, client, started, rate)
                check_losses(started.values())
            for way in WAYS:
                highest[way].append(found[way, 0])
                fixed[way].append(found[way, rate])
            say(f"trial {trial + 1} of {plan.trials}")
    return highest, fixed, rate


def warm_up(client, server, plan):
    done = 0
    while done < plan.warm_up:
        done += client.load(server, plan.seconds).rate * plan.seconds


def calibrated(client, server, seconds):
    return round(SHARE_OF_MAXIMUM * client.load(server, seconds).rate)


def alternate(plan, client, started, rate):
    found = collections.defaultdict(list)
    for _ in range(plan.rounds):
        for load in (0, rate):
            for way in random.sample(WAYS, len(WAYS)):
                found[way, load].append(client.load(started[way], plan.seconds, load))
    return found


def check_losses(servers):
    for server in servers:
        server.stop()
        if lost := server.losses():
            raise Failed(f"the agent lost events ({server.way.name}): {lost}")


def more(answers, way, of):
    """Percent more than without the agent, by trial and round."""
    return [[(of(a) / of(b) - 1) * 100 for a, b in zip(ours, theirs)]
            for ours, theirs in zip(answers[way], answers[NONE])]


def row(what, trials, **more_of_row):
    middle, low, high = figures.nested_interval(trials)
    return Row(what, middle, low, high, unit="%", **more_of_row)


def rows(highest, fixed, rate):
    for way in WAYS[1:]:
        less = [[-value for value in trial] for trial in more(highest, way, lambda a: a.rate)]
        yield row(f"{way.name}: throughput, less", less, target=MOST_LOSS_OF_THROUGHPUT[way])
        yield row(f"{way.name}: p99 at a fixed rate, more", more(fixed, way, lambda a: a.p99),
                  target=MOST_P99, note=f"{rate} requests/s")
        yield row(f"{way.name}: p50 at a fixed rate, more", more(fixed, way, lambda a: a.p50))
        yield row(f"{way.name}: server's CPU for a request, more",
                  more(fixed, way, lambda a: a.cpu))
    for way in WAYS:
        each = [answer for trial in highest[way] for answer in trial]
        yield Row.of(f"{way.name}: requests a second at most", [a.rate for a in each],
                     unit="/s")
        each = [answer for trial in fixed[way] for answer in trial]
        for what, of in (("p50", lambda a: a.p50), ("p99", lambda a: a.p99),
                         ("server's CPU", lambda a: a.cpu)):
            yield Row.of(f"{way.name}: {what}", [of(a) for a in each], unit="us")
