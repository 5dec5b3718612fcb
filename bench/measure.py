"""Runs of programs with their time and peak memory."""

import json
import os
import platform
import subprocess
import tempfile
import threading
import time
from dataclasses import dataclass


@dataclass
class Run:
    seconds: float  # of wall time
    peak_mb: float
    status: int  # as os.waitstatus_to_exitcode
    output: str
    errors: str
    timed_out: bool = False

    def statistics(self):
        """What `--stats json` printed, wherever it was printed; {} when nothing was."""
        for line in reversed((self.errors + "\n" + self.output).split("\n")):
            if line.startswith("{"):
                return json.loads(line)
        return {}

    def verdict(self):
        first = self.output.split("\n", 1)[0].strip()
        return first if first in ("sat", "unsat") and not self.timed_out else "none"


def run(command, timeout):
    with tempfile.TemporaryFile("w+") as output, tempfile.TemporaryFile("w+") as errors:
        started = time.perf_counter()
        child = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output, stderr=errors)
        late = threading.Event()

        def end():
            late.set()
            child.kill()

        timer = threading.Timer(timeout, end)
        timer.start()
        _, status, usage = os.wait4(child.pid, 0)
        seconds = time.perf_counter() - started
        timer.cancel()
        child.returncode = os.waitstatus_to_exitcode(status)
        output.seek(0)
        errors.seek(0)
        return Run(seconds, usage.ru_maxrss / 1024, child.returncode, output.read(),
                   errors.read(), late.is_set())


def first_line(command):
    try:
        text = subprocess.run(command, capture_output=True, text=True).stdout.strip()
    except OSError:
        return None
    return text.split("\n")[0]


def machine():
    """Lines that say on what a measurement was made."""
    with open("/proc/cpuinfo") as cpus:
        models = [l.split(":")[1].strip() for l in cpus if l.startswith("model name")]
    with open("/proc/meminfo") as memory:
        kilobytes = int(memory.readline().split()[1])
    with open("/etc/os-release") as release:
        name = dict(l.strip().split("=", 1) for l in release if "=" in l)["PRETTY_NAME"]
    return [
        f"{models[0] if models else platform.machine()}, {os.cpu_count()} cores, "
        f"{kilobytes // 1048576} GB",
        f"{name.strip(chr(34))}; {first_line(['g++', '--version'])}",
        f"{first_line(['z3', '--version'])}; {first_line(['cvc5', '--version'])}",
        f"load average at the start: {os.getloadavg()[0]:.1f}",
    ]
