#!/usr/bin/python3
"""Puts small faults into the code, one at a time, and reports which of them the tests catch: scripts/mutate.

The faults are generated (mutants.py). Each is tried in a copy of the checkout and of its builds below build/mutate, of
which every worker has its own; only what the fault changes is built again, and the tests end at the first failure.
"""
import argparse
import collections
import contextlib
import fcntl
import hashlib
import itertools
import json
import math
import os
import pathlib
import queue
import re
import resource
import shutil
import signal
import subprocess
import sys
import threading
import time
import tomllib
from concurrent.futures import ProcessPoolExecutor

import mutants as generator

PROJECT = pathlib.Path(__file__).resolve().parents[2]
WORK = PROJECT / "build" / "mutate"
EQUIVALENT = PROJECT / ".ci" / "equivalent-mutants.toml"

Build = collections.namedtuple("Build", "preset environment is_sanitized")
BUILDS = {
    "plain": Build("gcc-werror", {}, False),
    # What corrupts memory and is noticed by nobody else.
    "address": Build("asan-ubsan", {"ASAN_OPTIONS": "detect_leaks=1:strict_string_checks=1", "LSAN_OPTIONS":
                                    f"suppressions={PROJECT}/.ci/lsan-suppressions.txt:print_suppressions=0"}, True),
    "thread": Build("tsan", {"TSAN_OPTIONS": "halt_on_error=1"}, True),
}

# The test programs that can reach a folder, by build. They run in the order of the time they take without a fault. Locks
# and memory orders are tried with `thread` where that has programs, all else with `plain`, and what that does not catch
# with `address`.
PROGRAMS = {
    "src": {
        "plain": ["vyfp_object_tests", "vyfp_library_tests", "vyfp_thread_order_tests", "vyfp_allocation_sweep_tests",
                  "vyfp_fault_sweep_tests", "vyfp_thread_tests"],
        "address": ["vyfp_object_tests", "vyfp_library_tests"],
        "thread": ["vyfp_thread_order_tests", "vyfp_thread_tests"],
    },
    "simhost/src": {
        "plain": ["simhost_tests", "vyfp_library_tests", "vyfp_end_to_end_tests"],
        "address": ["simhost_tests"],
        "thread": ["simhost_tests", "vyfp_thread_tests"],
    },
    "tools/vycam": {"plain": ["vycam_test"]},
    "tools/vyhost": {"plain": ["vyhost_tests", "vyhost_show_tests", "vyhost_replay_test"]},
}
# The least share, in per cent, of the faults that change anything that the tests must catch.
LEAST = {"src": 98, "simhost/src": 90, "tools/vycam": 85, "tools/vyhost": 85}
ENVIRONMENT = {"VYFP_SWEEP_STEP": "7"}
THREADED = ("remove lock", "weaken order")
OUTCOMES = ["tried", "caught", "equivalent", "stillborn", "survived"]

say_lock = threading.Lock()


def say(text):
    with say_lock:
        print(text, flush=True)


def folder_of(file):
    return next((folder for folder in PROGRAMS if file.startswith(folder + "/")), None)


def git(*arguments):
    result = subprocess.run(["git", "-C", PROJECT, *arguments], capture_output=True, text=True, check=False)
    if result.returncode != 0:
        sys.exit(f"mutate: git {arguments[0]}: {result.stderr.strip()}")
    return result.stdout


def run(command, timeout=None, **options):
    """(exit code, output); the code is None after a timeout. Ends what the command has started, too."""
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                               start_new_session=True, **options)
    try:
        output, _ = process.communicate(timeout=timeout)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        output, _ = process.communicate()
        return None, output.decode("utf-8", "replace")
    return process.returncode, output.decode("utf-8", "replace")


def demand(command, what):
    code, output = run(command)
    if code != 0:
        sys.exit(f"{output}\nmutate: {what} failed")


def build_preset(build, *targets):
    demand(["bash", "-c", 'source "$0" && build_preset "$@"', PROJECT / "scripts/lib/project.sh", BUILDS[build].preset,
            *targets], f"building {BUILDS[build].preset}")


def folder_of_build(build):
    return PROJECT / "build" / BUILDS[build].preset


class Worker:
    """A copy of the checkout with its builds. What it runs sees the copy in the place of the checkout itself, so that
    nothing is built that has been built there."""

    def __init__(self, number):
        self.root = WORK / str(number)
        self.scratch = self.root / "build" / "scratch"
        self.times = {}  # of this build's programs, in seconds

    def copy_checkout(self, build):
        shutil.rmtree(self.root, ignore_errors=True)
        for name in filter(None, git("ls-files", "-z", "--cached", "--others", "--exclude-standard").split("\0")):
            if (PROJECT / name).is_file():
                (self.root / name).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy2(PROJECT / name, self.root / name)  # with its time, by which Ninja tells what is new
        self.scratch.mkdir(parents=True)
        demand(["cp", "-a", folder_of_build(build), self.root / "build"], "copying the build")

    def build(self, build, programs, **environment):
        place = ["bwrap", "--dev-bind", "/", "/", "--bind", self.root, PROJECT, "--die-with-parent"]
        return run([*place, "ninja", "-C", folder_of_build(build), *programs], env={**os.environ, **environment})

    def prepare(self, build, programs):
        """Sees to it that a fault costs no more than it must, and takes the times of the programs without one."""
        code, output = self.build(build, programs)
        if code != 0:
            sys.exit(f"{output}\nmutate: the copy without a fault does not build")
        for program in programs:
            start = time.monotonic()
            failure = self.test(build, program, 600)
            if failure:
                sys.exit(f"mutate: {program} fails although there is no fault: {failure}")
            self.times[program] = time.monotonic() - start

    def test(self, build, program, timeout):
        """What fails; None if nothing does."""
        shutil.rmtree(self.scratch, ignore_errors=True)
        self.scratch.mkdir(parents=True)
        settings = BUILDS[build]
        folder, scratch = folder_of_build(build), PROJECT / "build" / "scratch"
        environment = {**os.environ, **ENVIRONMENT, **settings.environment, "TMPDIR": str(scratch),
                       "TEST_TMPDIR": f"{scratch}/"}
        if settings.is_sanitized:
            environment["LD_LIBRARY_PATH"] = f"{folder}/lib"  # a sanitizer's dlopen() does not see the run path
        # A fault may delete or kill what it likes, so all but the scratch folder is read-only, /tmp is one for this run (death
        # tests write there whatever TMPDIR says), and no process is in reach.
        sandbox = ["bwrap", "--ro-bind", "/", "/", "--dev", "/dev", "--proc", "/proc", "--tmpfs", "/tmp",
                   "--ro-bind", self.root, PROJECT, "--bind", self.scratch, scratch, "--unshare-pid", "--unshare-net",
                   "--die-with-parent", "--chdir", folder]

        def limit():
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 30, 1 << 30))
            if not settings.is_sanitized:
                resource.setrlimit(resource.RLIMIT_AS, (4 << 30, 4 << 30))
        code, output = run([*sandbox, folder / "bin" / program, "--gtest_brief=1", "--gtest_fail_fast"], timeout,
                           env=environment, preexec_fn=limit)
        if code is None:
            return f"{program}: no end within {timeout:.0f} s"
        if code != 0:
            failed = re.search(r"^\[  FAILED  \] [^\s,]+|^SUMMARY: .*|runtime error: .*", output, re.MULTILINE)
            return f"{program}: {failed[0] if failed else f'ended with {code}'}"
        return None

    def judge(self, build, programs):
        """The outcome of the fault that is in the tree now, and the test that catches it."""
        for program in sorted(programs, key=self.times.get):
            # Objects that are unlike any other are of no use to a later build: not kept.
            if self.build(build, [program], CCACHE_READONLY="1")[0] != 0:
                return "stillborn", ""
            failure = self.test(build, program, 10 + 4 * self.times[program])
            if failure:
                return "caught", failure
        return "survived", ""

    def attempt(self, build, mutant):
        path = self.root / mutant.file
        original = path.read_bytes()
        path.write_bytes(apply(mutant, original))
        try:
            return self.judge(build, PROGRAMS[folder_of(mutant.file)][build])
        finally:
            path.write_bytes(original)


def apply(mutant, text):
    for first, end, becomes in reversed(mutant.edits):
        text = text[:first] + becomes + text[end:]
    return text


# ---- What to try ----------------------------------------------------------------------------------------------------


def changed_lines(since):
    """{file: its lines that differ from the commit}, in the order of the files."""
    lines = collections.defaultdict(set)
    name = None
    for line in git("diff", "--unified=0", "--no-color", "--no-ext-diff", since, "--", *PROGRAMS).splitlines():
        if line.startswith("+++ "):
            name = line[6:] if line.startswith("+++ b/") else None
        elif name and (match := re.match(r"@@ \S+ \+(\d+)(?:,(\d+))? @@", line)):
            lines[name].update(range(int(match[1]), int(match[1]) + int(match[2] or 1)))
    return dict(lines)


def sources_below(folders):
    names = git("ls-files", "-z", "--cached", "--others", "--exclude-standard", "--", *folders).split("\0")
    return sorted(name for name in names if name.endswith((".cpp", ".h")) and folder_of(name) and (PROJECT / name).is_file())


def read_unit(tree, build, kept, headers, unit):
    return generator.Sources(tree, build, kept, headers).mutants_of_unit(unit)


def generate(names, jobs):
    build_preset("plain", "vy_commit_hash")  # headers that are generated
    headers = [PROJECT / name for name in git("ls-files", "*.h", "*.hpp").split()]
    place = PROJECT, folder_of_build("plain"), WORK / "mutants", headers
    with ProcessPoolExecutor(jobs) as pool:
        def read(units):
            return [call.result() for call in [pool.submit(read_unit, *place, unit) for unit in units]]
        return generator.mutants_of(generator.Sources(*place), names, read)


def shuffled(mutants, seed):
    """In an order that looks random, and in which two mutants keep theirs when others come or go."""
    return sorted(mutants, key=lambda mutant: hashlib.sha256(repr((seed, generator.identity(mutant))).encode()).digest())


def read_equivalents():
    if not EQUIVALENT.is_file():
        return {}
    found = {}
    for entry in tomllib.loads(EQUIVALENT.read_text(encoding="utf-8")).get("mutant", []):
        missing = {"file", "function", "operator", "was", "becomes", "reason"} - set(entry)
        if missing or not entry["reason"]:
            sys.exit(f"{EQUIVALENT.name}: {entry}: lacks {', '.join(sorted(missing)) or 'a reason'}")
        key = tuple(entry.get(field, 0) for field in generator.Mutant._fields[:6])
        if key in found:
            sys.exit(f"{EQUIVALENT.name}: listed twice: {key}")
        found[key] = entry["reason"]
    return found


def as_entry(mutant):
    """The lines that list a mutant as equivalent, but for the reason."""
    fields = ["[[mutant]]", *(f"{field} = {json.dumps(getattr(mutant, field), ensure_ascii=False)}"
                              for field in generator.Mutant._fields[:6] if field != "number" or mutant.number)]
    return "\n".join([*fields, 'reason = ""', ""])


def title(mutant):
    again = f" (no. {mutant.number + 1})" if mutant.number else ""
    return f"{mutant.file}:{mutant.line}: {mutant.function}: {mutant.operator}{again}\n" \
           f"    {mutant.was}\n -> {mutant.becomes or '(nothing)'}"


# ---- Trying ---------------------------------------------------------------------------------------------------------


class TimeLimit:
    """When to begin no further fault. The time that goes by while builds and programs are prepared does not count."""

    def __init__(self, minutes):
        self.end = time.monotonic() + 60 * minutes

    def is_over(self):
        return time.monotonic() >= self.end

    @contextlib.contextmanager
    def stopped(self):
        begin = time.monotonic()
        yield
        self.end += time.monotonic() - begin


def try_all(workers, build, mutants, limit, results):
    """Tries the mutants that there is time for; results: {mutant: (outcome, what catches it)}."""
    if not mutants:
        return
    wanted = sorted({program for mutant in mutants for program in PROGRAMS[folder_of(mutant.file)][build]})
    say(f"== {build}: building and testing without a fault")
    with limit.stopped():
        build_preset(build, *wanted)
        for worker in workers:
            worker.copy_checkout(build)
        workers[0].prepare(build, wanted)
    for worker in workers[1:]:
        worker.times = workers[0].times
    waiting, broken = queue.Queue(), []
    for mutant in mutants:
        waiting.put(mutant)

    def work(worker):
        try:
            while not broken and not limit.is_over():
                mutant = waiting.get_nowait()
                outcome, catcher = worker.attempt(build, mutant)
                results[mutant] = outcome, catcher
                say(f"{build}, {waiting.qsize()} wait: {outcome}{': ' * bool(catcher)}{catcher}\n  {title(mutant)}")
                write_results(results)
        except queue.Empty:
            pass
        except BaseException as error:  # also that of sys.exit(): the other worker has to end
            broken.append(error)
    threads = [threading.Thread(target=work, args=(worker,)) for worker in workers]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    if broken:
        raise broken[0]


def write_results(results):
    with say_lock:
        rows = [{**mutant._asdict(), "edits": None, "outcome": outcome, "by": catcher}
                for mutant, (outcome, catcher) in results.copy().items()]
        (WORK / "results.json").write_text(json.dumps(rows, indent=1, ensure_ascii=False), encoding="utf-8")


def report(results, equivalents):
    """Prints survivors and figures; returns the folders with too many survivors, and the faults that are wrongly said to be
    equivalent."""
    counts = {folder: collections.Counter() for folder in PROGRAMS}
    survivors, weak, wrong = [], [], []
    for mutant, (outcome, catcher) in sorted(results.items(), key=lambda row: (row[0].file, row[0].line)):
        listed = generator.identity(mutant) in equivalents
        if listed and outcome == "caught":
            wrong.append((mutant, catcher))
        elif listed and outcome == "survived":
            outcome = "equivalent"
        elif outcome == "survived":
            survivors.append(mutant)
        counts[folder_of(mutant.file)].update(["tried", outcome])
    if survivors:
        print("\nSurvivors:")
        for mutant in survivors:
            print(title(mutant))
    (WORK / "survivors.toml").write_text("\n".join(map(as_entry, survivors)), encoding="utf-8")
    print("\n%-14s" % "folder" + "".join("%11s" % outcome for outcome in OUTCOMES) + "   caught of what changes anything")
    for folder, count in counts.items():
        if count["tried"]:
            changing = count["caught"] + count["survived"]
            share = f"{100 * count['caught'] / changing:.1f} %" if changing else "-"
            print("%-14s" % folder + "".join("%11d" % count[outcome] for outcome in OUTCOMES) + f"   {share}")
            # The more survive by chance the fewer are tried: twice the standard deviation is no sign of weak tests.
            allowed = 1 - LEAST[folder] / 100
            if count["survived"] > max(1, changing * allowed + 2 * math.sqrt(changing * allowed * (1 - allowed))):
                weak.append(folder)
    return weak, wrong


def read_arguments():
    parser = argparse.ArgumentParser(
        prog="scripts/mutate", description=__doc__.partition("\n\n")[0],
        epilog="Without --all, --sample, --only and --since: faults on the lines that the last thirty commits changed, for "
        "five minutes.")
    what = parser.add_mutually_exclusive_group()
    what.add_argument("--all", action="store_true", help="every fault")
    what.add_argument("--sample", type=int, metavar="N", help="N faults of each folder")
    parser.add_argument("--only", metavar="TEXT", help="those whose file contains TEXT; if no file does, function or text")
    parser.add_argument("--since", metavar="REV", help="those on lines that differ from a commit")
    parser.add_argument("--minutes", type=float, help="begin none after trying for that time")
    parser.add_argument("--seed", default="1", help="selects and orders the faults (1)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="workers (one for each processor)")
    parser.add_argument("--list", action="store_true", help="only print the faults")
    arguments = parser.parse_args()
    if not (arguments.all or arguments.sample or arguments.only or arguments.since):
        arguments.since = git("rev-list", "--first-parent", "--max-count=31", "HEAD").split()[-1]
        arguments.minutes = arguments.minutes or 5
    arguments.minutes = float("inf") if arguments.minutes is None else arguments.minutes
    if arguments.jobs < 1 or arguments.minutes <= 0 or (arguments.sample is not None and arguments.sample < 1):
        parser.error("--jobs, --sample and --minutes take numbers above zero")
    return arguments


def choose(arguments):
    """The mutants to try in their order, and the entries of the list that are none any more."""
    lines, names = None, sources_below(PROGRAMS)
    if arguments.since:
        lines = changed_lines(arguments.since)
        names = [name for name in names if name in lines]
        say(f"== lines changed since {git('log', '-1', '--format=%h %s', arguments.since).strip()}: {len(names)} files")
    if arguments.only and any(arguments.only in name for name in names):
        names = [name for name in names if arguments.only in name]
    made = generate(names, arguments.jobs)
    equivalents = read_equivalents()
    known = set(map(generator.identity, made))
    stale = [key for key in equivalents if key not in known and (key[0] in names or not (PROJECT / key[0]).is_file())]

    def is_wanted(mutant):
        key = generator.identity(mutant)
        if lines is not None and mutant.line not in lines[mutant.file]:
            return False
        # Whether what is listed is caught after all is a question for the long runs.
        if key in equivalents and not (arguments.all or arguments.only):
            return False
        return not arguments.only or arguments.only in "\n".join(map(str, key))
    chosen = shuffled(filter(is_wanted, made), arguments.seed)
    if arguments.sample:
        firsts = [[mutant for mutant in chosen if folder_of(mutant.file) == folder][:arguments.sample] for folder in PROGRAMS]
        chosen = shuffled(itertools.chain(*firsts), arguments.seed)
    return chosen, equivalents, stale


def try_by_build(workers, chosen, limit):
    results = {}

    def of_build(build, mutants):
        for mutant in mutants:
            builds = PROGRAMS[folder_of(mutant.file)]
            is_threaded = mutant.operator in THREADED and "thread" in builds
            if build in builds and is_threaded == (build == "thread"):
                yield mutant
    for build in ("thread", "plain"):
        try_all(workers, build, list(of_build(build, chosen)), limit, results)
    survived = [mutant for mutant, (outcome, _) in results.items() if outcome == "survived"]
    try_all(workers, "address", list(of_build("address", survived)), TimeLimit(math.inf), results)
    return results


def main():
    arguments = read_arguments()
    WORK.mkdir(parents=True, exist_ok=True)
    with (WORK / "lock").open("w") as lock:
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            sys.exit("mutate: another run works in build/mutate: wait for its end")
        return try_and_report(arguments)


def try_and_report(arguments):
    workers = [Worker(number) for number in range(arguments.jobs)]
    chosen, equivalents, stale = choose(arguments)
    say(f"== {len(chosen)} faults, seed {arguments.seed}")
    weak, wrong = [], []
    if arguments.list:
        for mutant in sorted(chosen, key=lambda mutant: (mutant.file, mutant.line)):
            print(title(mutant))
    elif chosen:
        results = try_by_build(workers, chosen, TimeLimit(arguments.minutes))
        weak, wrong = report(results, equivalents)
        if len(results) < len(chosen):
            print(f"{len(chosen) - len(results)} faults were not tried: the time was over")
    for key in stale:
        print(f"mutate: {EQUIVALENT.name}: no such mutant any more: {' | '.join(map(str, key))}", file=sys.stderr)
    for mutant, catcher in wrong:
        print(f"mutate: {EQUIVALENT.name}: said to be equivalent, but caught by {catcher}:\n{title(mutant)}", file=sys.stderr)
    for folder in weak:
        print(f"mutate: less than {LEAST[folder]} % are caught in {folder}: write tests, or list what changes nothing in "
              f".ci/{EQUIVALENT.name} with a reason (build/mutate/survivors.toml has the lines)", file=sys.stderr)
    return 1 if weak or stale or wrong else 0


if __name__ == "__main__":
    sys.exit(main())
