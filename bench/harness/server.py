"""The shop under load, without the agent and with it."""

import concurrent.futures
import contextlib
import dataclasses
import itertools
import random
import subprocess

from harness import figures, shop
from harness.process import BUILD, Failed, Sink, java
from harness.table import Row

NONE, LEVEL_1, LEVEL_2 = WAYS = [shop.NONE, shop.LEVEL_1, shop.LEVEL_2]
MOST_LOSS_OF_THROUGHPUT = {LEVEL_1: 3, LEVEL_2: 5}  # percent
MOST_P99 = 5
CONNECTIONS = 8
# Room for seconds of garbage: pauses for collections are then rarer than one request in a hundred.
HEAP = ("-Xms768m", "-Xmx768m", "-Xmn512m", "-XX:+AlwaysPreTouch")
# As installed a thread's queue has room for the events of some 400 requests between two packets; the
# agent drops the rest, which would be cheap. So: packets ten times a second, queues for seconds of
# events, and a connection that is written to as soon as there is something.
ROOMY = (("internal.probe.publishing.frequency", 100),
         ("internal.probe.event.queue.size.limit", 200_000), ("internal.memory.limit", 500),
         ("networkagent.publish.frequency", 20))


@dataclasses.dataclass(frozen=True)
class Load:
    rate: int  # requests a second; 0: as many as get answered
    trials: int  # fresh servers each, so that the chance of one process's layout counts once
    rounds: int
    seconds: float
    warm_up_rate: int = 2_000  # to all servers at once
    warm_up_seconds: float = 15

    def shortened(self):
        return dataclasses.replace(self, trials=1, rounds=2, seconds=1, warm_up_seconds=5)


FIXED = Load(rate=1_000, trials=4, rounds=10, seconds=2)
HIGHEST = Load(rate=0, trials=2, rounds=5, seconds=3)

BUCKETS = 2_000  # of latencies; the last one ends at 7 minutes


@dataclasses.dataclass
class Answer:
    rate: float
    cpu: float  # microseconds of the server's processor time for a request
    latencies: list  # requests by bucket, each 1 % longer than the one before


class Client:
    def __init__(self):
        self.process = subprocess.Popen(
            [java(), "-Xms256m", "-Xmx256m", "-cp", BUILD / "bench" / "bench.jar", "bench.Load"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def load(self, server, seconds, rate):
        before = server.cpu_seconds()
        self.process.stdin.write(f"{server.port} {CONNECTIONS} {seconds} {rate}\n")
        self.process.stdin.flush()
        done, wrong, *counts = self.process.stdout.readline().split()
        if wrong != "0" or float(done) == 0:
            raise Failed(f"{wrong} requests failed ({server.way.name})")
        cpu = (server.cpu_seconds() - before) / (float(done) * seconds) * 1e6
        latencies = [0] * BUCKETS
        for bucket, count in (map(int, pair.split(":")) for pair in counts):
            latencies[min(bucket, BUCKETS - 1)] += count
        return Answer(float(done), cpu, latencies)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()


def measure(load, say):
    """Trials, each a list of rounds, each of them an answer by way."""
    trials = []
    with Sink() as sink, Client() as client:
        for trial in range(load.trials):
            with contextlib.ExitStack() as servers:
                started = {way: servers.enter_context(shop.running(
                    dataclasses.replace(way, settings=(*way.settings, *ROOMY)),
                    sink.port, HEAP)) for way in random.sample(WAYS, len(WAYS))}
                warm_up(load, started.values())
                trials.append([{way: client.load(started[way], load.seconds, load.rate)
                                for way in random.sample(WAYS, len(WAYS))}
                               for _ in range(load.rounds)])
                check_losses(started.values())
            say(f"{load.rate or 'all'} requests/s: trial {trial + 1} of {load.trials}")
    return trials


def warm_up(load, servers):
    def one(server):
        with Client() as client:
            client.load(server, load.warm_up_seconds, load.warm_up_rate)
    with concurrent.futures.ThreadPoolExecutor(len(servers)) as pool:
        list(pool.map(one, servers))


def check_losses(servers):
    for server in servers:
        server.stop()
        if lost := server.losses():
            raise Failed(f"the agent lost events ({server.way.name}): {lost}")


def percentile(answers, share):
    """Of the latencies of all answers together."""
    pooled = list(map(sum, zip(*(answer.latencies for answer in answers))))
    wanted = share * sum(pooled)
    reached = itertools.accumulate(pooled)
    return 1.01 ** next(i for i, count in enumerate(reached) if count >= wanted)


def more_in_rounds(trials, way, of):
    """Percent more than without the agent, the middle of the rounds, and its interval."""
    return figures.nested_interval(
        [[(of(each[way]) / of(each[NONE]) - 1) * 100 for each in rounds] for rounds in trials])


def more_at_percentile(trials, way, share):
    """The same of a percentile. Not round by round: a round has too few of the slow ones."""
    def of(chosen):
        rounds = [each for trial in chosen for each in trial]
        ours, theirs = (percentile([each[w] for each in rounds], share) for w in (way, NONE))
        return (ours / theirs - 1) * 100
    return figures.nested_interval(trials, of, draws=300)


def fixed_rows(trials):
    for way in WAYS[1:]:
        less, low, high = more_in_rounds(trials, way, lambda a: a.rate)
        yield Row(f"{way.name}: throughput, less", -less, -high, -low, unit="%",
                  target=MOST_LOSS_OF_THROUGHPUT[way], note=f"{FIXED.rate} requests/s")
        yield Row(f"{way.name}: p99, more", *more_at_percentile(trials, way, 0.99), unit="%",
                  target=MOST_P99)
        yield Row(f"{way.name}: p50, more", *more_at_percentile(trials, way, 0.5), unit="%")
        yield Row(f"{way.name}: server's CPU for a request, more",
                  *more_in_rounds(trials, way, lambda a: a.cpu), unit="%")
    for way in WAYS:
        each = [answers[way] for rounds in trials for answers in rounds]
        yield Row.of(f"{way.name}: throughput", [a.rate for a in each], unit="/s")
        for name, share in (("p50", 0.5), ("p99", 0.99)):
            yield Row.of(f"{way.name}: {name} of a round", [percentile([a], share) for a in each],
                         unit="us")
        yield Row.of(f"{way.name}: server's CPU", [a.cpu for a in each], unit="us")


def highest_rows(trials):
    for way in WAYS[1:]:
        less, low, high = more_in_rounds(trials, way, lambda a: a.rate)
        yield Row(f"{way.name}: requests a second at most, less", -less, -high, -low, unit="%")
    for way in WAYS:
        yield Row.of(f"{way.name}: requests a second at most",
                     [answers[way].rate for rounds in trials for answers in rounds], unit="/s")


def rows(say, quick=False):
    for load, rows_of in ((FIXED, fixed_rows), (HIGHEST, highest_rows)):
        yield from rows_of(measure(load.shortened() if quick else load, say))
