"""What tests and benchmarks share: a free port, and waiting for a state with a generous bound."""

import socket
import time


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def wait_until(what, condition, seconds=60):
    deadline = time.monotonic() + seconds
    while not (result := condition()):
        if time.monotonic() > deadline:
            raise TimeoutError(f"still not after {seconds} s: {what}")
        time.sleep(0.02)
    return result
