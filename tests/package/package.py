#!/usr/bin/env python3
"""Installs a build and uses it in every way that users do.

    tests/package/package.py STEP BUILD WORK COMPILER FLAGS

STEP is `clients`: the installed tree, moved elsewhere, found by CMake and by pkg-config, with
static and with shared libraries; `source`: the sources as a part of another project; or
`debian`: the package, installed into an empty root and removed.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

FOLDER = pathlib.Path(__file__).resolve().parent
SOURCE = FOLDER.parent.parent
EXAMPLES = {"embed": "opal", "theories": "opal-host"}  # and the package of each
EXPECTED = {"embed": "(0 <= ((-1 * x) + 3))\n", "theories": "K is an interpolant\n"}


def run(*command, **settings):
    """The standard output of a command that must succeed."""
    command = [str(word) for word in command]
    done = subprocess.run(command, capture_output=True, text=True, **settings)
    if done.returncode:
        sys.exit(f"{' '.join(command)}: status {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def check_programs(folder, way, libraries=None):
    """Runs the clients that were built; they must use the libraries of the kind given."""
    programs = [folder / name for name in EXPECTED if (folder / name).exists()]
    for program in programs:
        name, expected = program.name, EXPECTED[program.name]
        if not run(program).endswith(expected):
            sys.exit(f"{way}: {name} printed {run(program)!r}")
        if libraries is None:
            continue
        loaded = "libopal_engine.so" in run("readelf", "-d", program)
        if loaded != (libraries == "shared"):
            sys.exit(f"{way}: {name} does not use the {libraries} libraries")


def with_cmake(work, compiler, flags, way, targets, *settings):
    run("cmake", "-S", FOLDER, "-B", work / way, "-G", "Ninja",
        f"-DCMAKE_CXX_COMPILER={compiler}", f"-DCMAKE_CXX_FLAGS={flags}", *settings)
    run("cmake", "--build", work / way, "--target", *targets)
    return work / way


def with_pkg_config(work, prefix, compiler, kind):
    folder = work / f"pkg-config-{kind}"
    folder.mkdir()
    environment = {**os.environ, "PKG_CONFIG_PATH": str(prefix / "lib" / "pkgconfig")}
    options = ["-static"] if kind == "static" else [f"-Wl,-rpath,{prefix / 'lib'}"]
    run("pkg-config", "--print-errors", "--exists", "opal-c", env=environment)
    for name, package in EXAMPLES.items():
        words = run("pkg-config", "--cflags", "--libs", package, env=environment).split()
        run(compiler, "-std=c++17", SOURCE / "examples" / "embed" / f"{name}.cpp", *options,
            *words, "-o", folder / name)
    return folder


def check_exports(folder):
    """The shared libraries export Opal's symbols, no instances of the standard library."""
    for name in ("engine", "host"):
        exported = run("nm", "-D", "--defined-only", "-C", folder / f"libopal_{name}.so")
        foreign = [line for line in exported.splitlines()
                   if not re.match(r"\w+ (\w ((vtable|VTT|typeinfo|typeinfo name|guard variable) "
                                   r"for |(non-)?virtual thunk to )?opal::|A OPAL_)", line)]
        if foreign:
            sys.exit(f"opal_{name} exports what is not Opal's:\n" + "\n".join(foreign[:10]))


def clients(build, work, compiler, flags):
    run("cmake", "--install", build, "--prefix", work / "first")
    prefix = work / "moved"
    (work / "first").rename(prefix)
    found = f"-DCMAKE_PREFIX_PATH={prefix}"
    for kind in ("static", "shared"):
        folder = with_cmake(work, compiler, flags, kind, [*EXAMPLES, "interface"], found,
                            f"-DKIND={kind}")
        run(folder / "interface")
        check_programs(folder, f"find_package, {kind}", kind)
        check_programs(with_pkg_config(work, prefix, compiler, kind), f"pkg-config, {kind}",
                       kind)
    modules = prefix / "lib/python3/dist-packages"
    run("python3", "-m", "doctest", modules / "opal/__init__.py",
        env={**os.environ, "PYTHONPATH": str(modules)})
    check_exports(prefix / "lib")
    version = run(prefix / "bin" / "opal", "--version").strip()
    for page in (prefix / "share/man/man1").iterdir():
        if f'"{version}"' not in page.read_text().split("\n")[0]:
            sys.exit(f"{page.name} is not of {version}")
    run(prefix / "bin" / "opal-check-proof", "--help")


def source(build, work, compiler, flags):
    folder = with_cmake(work, compiler, flags, "part", ["embed", "plugin"],
                        f"-DOPAL_SOURCE={SOURCE}")
    check_programs(folder, "add_subdirectory")


def debian(build, work, compiler, flags):
    run("cpack", "-B", work, cwd=build)
    package, = work.glob("*.deb")
    root, records = work / "root", work / "root" / "var/lib/dpkg"
    (records / "updates").mkdir(parents=True)
    (records / "info").mkdir()
    (records / "status").touch()
    # The empty root has none of the packages that this one depends on.
    dpkg = ["dpkg", "--force-depends", "--force-not-root", "--force-bad-path",
            "--force-script-chrootless", f"--root={root}", f"--log={work / 'log'}"]
    run(*dpkg, "--install", package)
    library = {**os.environ, "LD_LIBRARY_PATH": str(root / "usr/lib")}
    answer = run(root / "usr/bin/opal", SOURCE / "examples" / "coins.smt2", env=library)
    if not answer.startswith("unsat"):
        sys.exit(f"the installed tool answered {answer!r}")
    depends = run("dpkg-deb", "--field", package, "Depends")
    for needed in ("libgmp10", "libstdc++6", "python3"):
        if needed not in depends:
            sys.exit(f"the package does not depend on {needed}: {depends}")
    for page in ("opal", "opal-check-proof"):
        run("gzip", "-t", root / "usr/share/man/man1" / f"{page}.1.gz")
    linked = run("dpkg-deb", "--info", package, "shlibs").splitlines()
    version = run("dpkg-deb", "--field", package, "Version").strip()
    for library in ("capi", "engine", "host"):
        soname = version.rpartition(".")[0]
        if f"libopal_{library} {soname} opal (= {version})" not in linked:
            sys.exit(f"who links with opal_{library} would not depend on opal: {linked}")
    run(*dpkg, "--purge", "opal")
    left = [p for p in (root / "usr").rglob("*")] if (root / "usr").exists() else []
    if left:
        sys.exit(f"left after removal: {left[:10]}")


def main():
    step, build, work, compiler, *flags = sys.argv[1:]  # CMake leaves empty flags out
    work = pathlib.Path(work)
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    {"clients": clients, "source": source, "debian": debian}[step](
        pathlib.Path(build), work.resolve(), compiler, " ".join(flags))


if __name__ == "__main__":
    main()
