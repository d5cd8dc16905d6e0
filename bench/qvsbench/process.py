"""Runs programs and reads what the kernel charged them."""
import os
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass


@dataclass
class Usage:
    cpu_s: float
    wall_s: float
    peak_rss_kib: list  # one entry a process
    output: str  # standard output of the first process


def run_together(commands, cores=None):
    """Starts all commands at once, waits for all. `cores`: the processors they share, all of them when None."""
    outputs = [tempfile.TemporaryFile(mode="w+") for _ in commands]
    errors = tempfile.TemporaryFile(mode="w+")
    before = os.sched_getaffinity(0)
    if cores:
        os.sched_setaffinity(0, cores)  # children inherit it
    start = time.monotonic()
    try:
        children = [
            subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output, stderr=errors)
            for command, output in zip(commands, outputs)
        ]
    finally:
        os.sched_setaffinity(0, before)
    cpu, peaks = 0.0, []
    for child, command in zip(children, commands):
        _, status, usage = os.wait4(child.pid, 0)
        child.returncode = os.waitstatus_to_exitcode(status)
        cpu += usage.ru_utime + usage.ru_stime
        peaks.append(usage.ru_maxrss)
        if child.returncode != 0:
            errors.seek(0)
            sys.exit(f"bench: {' '.join(command)} ended with {child.returncode}:\n{errors.read()}")
    wall = time.monotonic() - start
    outputs[0].seek(0)
    return Usage(cpu, wall, peaks, outputs[0].read())


def run(command, cores=None):
    return run_together([command], cores)
