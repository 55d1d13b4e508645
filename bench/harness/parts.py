"""What bench/run can measure, each part as a list of rows."""

from harness import footprint, native, pairs, server, startup


def of_pairs(quick, say):
    outputs = {}
    for suite in pairs.SUITES:
        outputs[suite] = pairs.measure(suite, 20 if quick else 200)
        say(f"pairs: {suite}")
    return pairs.rows(outputs, "wall")


def of_native(quick, _):
    return native.rows(native.measure(quick))


def of_startup(quick, say):
    return startup.rows(startup.measure(2 if quick else 20, say))


def of_footprint(quick, say):
    rounds, idle = (2, 2) if quick else (6, 5)
    return footprint.rows(footprint.measure(rounds, idle, say))


def of_server(quick, say):
    return server.rows(say, quick)


PARTS = {"pairs": of_pairs, "native": of_native, "startup": of_startup,
         "footprint": of_footprint, "server": of_server}
