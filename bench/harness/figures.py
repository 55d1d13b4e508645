"""What is said of repeated measurements: medians, spreads, intervals."""

import random
import statistics

median = statistics.median


def quartiles(values):
    if len(values) < 2:
        return values[0], values[0]
    low, _, high = statistics.quantiles(values, n=4, method="inclusive")
    return low, high


def ratios(ours, theirs):
    """Round by round, which takes out what changed from one round to the next."""
    return [a / b for a, b in zip(ours, theirs)]


def interval(values, of=statistics.median, draws=2000, confidence=0.95):
    """Bootstrap: between which values `of` lies with this confidence, were the runs repeated."""
    chance = random.Random(1)
    found = sorted(of(chance.choices(values, k=len(values))) for _ in range(draws))
    rest = (1 - confidence) / 2
    return found[int(rest * draws)], found[int((1 - rest) * draws) - 1]


def mean_of_medians(trials):
    return statistics.fmean(statistics.median(rounds) for rounds in trials)


def nested_interval(trials, of=mean_of_medians, draws=2000, confidence=0.95):
    """`of` the trials, each a list of rounds, and its bootstrap interval: trials are drawn first,
    as their rounds have a process in common, then rounds within each."""
    chance = random.Random(1)
    found = sorted(
        of([chance.choices(rounds, k=len(rounds))
            for rounds in chance.choices(trials, k=len(trials))]) for _ in range(draws))
    rest = (1 - confidence) / 2
    return of(trials), found[int(rest * draws)], found[int((1 - rest) * draws) - 1]
