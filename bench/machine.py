"""On what a measurement is made."""

import os
import platform

from opal_lab.programs import run


def first_line(command):
    try:
        return run(command).output.strip().split("\n")[0]
    except OSError:
        return None


def description():
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
