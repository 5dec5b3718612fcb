"""Programs as children: what they print, their time and peak memory, and an end to them."""

import contextlib
import json
import os
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
