"""What is said of repeated measurements: medians, spreads, intervals."""

import random
import statistics

median = statistics.median


def quartiles(values):
    if len(values) < 2:
        return values[0], values[0]
    low, _, high = statistics.quantiles(values, n=4)
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
