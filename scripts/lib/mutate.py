#!/usr/bin/env python3
"""Puts small faults into the library, one at a time, and reports which of them the tests catch.

mutate.py [--only TEXT]

Works on a copy of the checkout in build/mutate, with the faults of .ci/mutations.toml; --only takes those whose file or
text contains TEXT. Ends with failure when a fault is not caught, unless the list says why nobody can catch it.
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tomllib

PROJECT = pathlib.Path(__file__).resolve().parents[2]
WORK = PROJECT / "build" / "mutate"
TREE = WORK / "tree"
BUILD, SANITIZED_BUILD = WORK / "build", WORK / "sanitized"
# The quickest first: it catches most faults.
PROGRAMS = ["vyfp_object_tests", "vyfp_library_tests", "vyfp_allocation_sweep_tests", "vyfp_fault_sweep_tests"]
LONGEST_RUN = 120  # seconds; a fault may make a program hang


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False, **options)


def demand(command, what):
    result = run(command)
    if result.returncode != 0:
        sys.exit(f"{result.stdout}\nmutate: {what} failed")


def copy_checkout():
    shutil.rmtree(TREE, ignore_errors=True)
    listed = subprocess.run(["git", "-C", PROJECT, "ls-files", "-z"], capture_output=True, text=True, check=True).stdout
    for name in filter(None, listed.split("\0")):
        source = PROJECT / name
        if source.is_file():
            (TREE / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, TREE / name)  # with new times, as objects with a fault may be left from an earlier run


def configure(build, flags):
    launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache", "-DCMAKE_C_COMPILER_LAUNCHER=ccache"]
    # Without optimisation: the copy builds faster and tests find the same faults.
    demand(["cmake", "-G", "Ninja", "-S", TREE, "-B", build, "-DCMAKE_BUILD_TYPE=Debug", f"-DCMAKE_CXX_FLAGS={flags}",
            *(launcher if shutil.which("ccache") else [])], "configuring the copy")


def catcher(sanitized_test=None):
    """The program that catches the fault that is in the tree now; None if none does."""
    build, programs, options = BUILD, PROGRAMS, []
    if sanitized_test:
        build, programs, options = SANITIZED_BUILD, ["vyfp_library_tests"], [f"--gtest_filter={sanitized_test}"]
    if run(["cmake", "--build", build, "--target", *programs]).returncode != 0:
        return "the compiler"
    for program in programs:
        try:
            result = run([build / "bin" / program, "--gtest_brief=1", "--gtest_fail_fast", *options],
                         env={**os.environ, "VYFP_SWEEP_STEP": "7"}, timeout=LONGEST_RUN)
        except subprocess.TimeoutExpired:
            return f"{program}, which hangs"
        if result.returncode != 0:
            failed = [line for line in result.stdout.splitlines() if line.startswith("[  FAILED  ]")]
            return f"{program}: {failed[0].split()[3] if failed else 'ended'}"
    return None


def main(arguments):
    if arguments and (len(arguments) != 2 or arguments[0] != "--only"):
        sys.exit(__doc__)
    wanted = arguments[1] if arguments else ""
    mutations = tomllib.loads((PROJECT / ".ci" / "mutations.toml").read_text(encoding="utf-8"))["mutation"]
    mutations = [each for each in mutations if wanted in each["file"] + each["was"]]
    copy_checkout()
    configure(BUILD, "")
    configure(SANITIZED_BUILD, "-fsanitize=address")
    print("building without a fault", flush=True)
    found = catcher() or next(filter(None, map(catcher, {each.get("sanitized") for each in mutations} - {None})), None)
    if found is not None:
        sys.exit(f"mutate: caught although there is no fault: {found}")

    caught, equivalent, faults = 0, 0, []
    for number, each in enumerate(mutations, 1):
        path = TREE / each["file"]
        original = path.read_text(encoding="utf-8")
        title = f"{each['file']}: {' '.join(each['was'].split())[:70]}"
        if original.count(each["was"]) != 1:
            faults.append(f"{title}: stands there {original.count(each['was'])} times: expected once")
            continue
        path.write_text(original.replace(each["was"], each["becomes"]), encoding="utf-8")
        found = catcher(each.get("sanitized"))
        path.write_text(original, encoding="utf-8")
        if found is not None and "equivalent" in each:
            faults.append(f"{title}: said to be equivalent, but caught by {found}")
        elif found is None and "equivalent" not in each:
            faults.append(f"{title}: not caught")
        caught += found is not None
        equivalent += "equivalent" in each
        print(f"{number}/{len(mutations)} {title}\n    {found or 'not caught; ' + each.get('equivalent', 'a survivor')}",
              flush=True)
    print(f"\n{len(mutations)} mutations: {caught} caught, {equivalent} equivalent, {len(faults)} faults of the tests or the list")
    for fault in faults:
        print(f"mutate: {fault}", file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
