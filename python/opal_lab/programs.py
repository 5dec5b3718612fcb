"""Programs as children: what they print, their time and peak memory, and an end to them."""

import contextlib
import json
import os
import platform
import signal
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


def text_file():
    return tempfile.TemporaryFile("w+", encoding="utf-8", errors="surrogateescape")


def run(command, seconds=None, text="", **settings):
    """Runs a command with a text on its standard input; it and all that it started end after
    so many seconds."""
    with text_file() as source, text_file() as output, text_file() as errors:
        source.write(text)
        source.seek(0)
        started = time.perf_counter()
        child = subprocess.Popen(command, stdin=source, stdout=output, stderr=errors,
                                 start_new_session=True, **settings)
        late = threading.Event()

        def end():
            late.set()
            with contextlib.suppress(ProcessLookupError):
                os.killpg(child.pid, signal.SIGKILL)

        timer = threading.Timer(seconds or 0, end)
        if seconds is not None:
            timer.start()
        try:
            _, status, usage = os.wait4(child.pid, 0)
        except BaseException:
            end()
            raise
        finally:
            timer.cancel()
        elapsed = time.perf_counter() - started
        child.returncode = os.waitstatus_to_exitcode(status)
        output.seek(0)
        errors.seek(0)
        return Run(elapsed, usage.ru_maxrss / 1024, child.returncode, output.read(),
                   errors.read(), late.is_set())


def first_line(command):
    try:
        return run(command).output.strip().split("\n")[0]
    except OSError:
        return None


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
