"""The benchmarks of the library's own pieces, where they are built."""

import json
import subprocess

from harness.process import BUILD, Failed
from harness.table import Row

PROGRAM = BUILD / "bench" / "native" / "native_bench"


def measure(quick):
    if not PROGRAM.exists():
        return None
    command = [PROGRAM, "--benchmark_format=json"]
    if quick:
        command.append("--benchmark_min_time=0.01")
    done = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          check=False)
    if done.returncode:
        raise Failed(f"native_bench: {done.stderr[-2000:]}")
    return json.loads(done.stdout)["benchmarks"]


def rows(benchmarks):
    if benchmarks is None:
        yield Row.missing("native pieces", "not built: libbenchmark-dev")
        return
    for one in benchmarks:
        if one.get("error_occurred"):
            raise Failed(f"{one['name']}: {one['error_message']}")
        yield Row(one["name"], one["cpu_time"], unit=one["time_unit"])
