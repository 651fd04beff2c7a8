#!/usr/bin/python3
"""Puts small faults into the code, one at a time, and reports which of them the tests catch: scripts/mutate.

The faults are generated (mutants.py). Each is tried in a copy of the checkout below build/mutate, of which every worker
has its own; only what the fault changes is built again, and the tests end at the first failure.
"""
import argparse
import collections
import hashlib
import json
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
OPTIONS = ["-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST",
           # A fault in a source that the build files read is no reason to configure again, nor to link programs again.
           "-DCMAKE_SUPPRESS_REGENERATION=ON", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON",
           # As the preset clang-werror.
           "-DCMAKE_NM:STRING=nm", "-DCMAKE_READELF:STRING=readelf",
           # The quick linker gives a shared library no symbol for its version, which a test asks for.
           "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld"]

Build = collections.namedtuple("Build", "compilers flags environment is_sanitized")
BUILDS = {
    "plain": Build(("clang", "clang++"), "-O1", {}, False),
    # What corrupts memory and is noticed by nobody else.
    "address": Build(("gcc", "g++"), "-O1 -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer",
                     {"ASAN_OPTIONS": "detect_leaks=1:strict_string_checks=1",
                      "LSAN_OPTIONS": f"suppressions={PROJECT}/.ci/lsan-suppressions.txt:print_suppressions=0"}, True),
    "thread": Build(("gcc", "g++"), "-O1 -fsanitize=thread -fno-omit-frame-pointer",
                    {"TSAN_OPTIONS": "halt_on_error=1"}, True),
}

# The test programs that can reach a folder, by build. They run in the order of the time they take without a fault. What
# `plain` does not catch is tried with `address`; locks and memory orders are tried with `thread` where that has programs.
PROGRAMS = {
    "src": {
        "plain": ["vyfp_object_tests", "vyfp_library_tests", "vyfp_allocation_sweep_tests", "vyfp_fault_sweep_tests",
                  "vyfp_thread_tests"],
        "address": ["vyfp_object_tests", "vyfp_library_tests"],
        "thread": ["vyfp_thread_tests"],
    },
    "simhost/src": {
        "plain": ["simhost_tests", "vyfp_library_tests", "vyfp_end_to_end_tests"],
        "address": ["simhost_tests"],
        "thread": ["vyfp_thread_tests"],
    },
    "tools/vycam": {"plain": ["vycam_test"]},
    "tools/vyhost": {"plain": ["vyhost_tests", "vyhost_show_tests", "vyhost_replay_test"]},
}
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
    return subprocess.run(["git", "-C", PROJECT, *arguments], capture_output=True, text=True, check=True).stdout


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


class Worker:
    """A copy of the checkout with builds of its own."""

    def __init__(self, number):
        self.root = WORK / str(number)
        self.tree, self.scratch = self.root / "tree", self.root / "scratch"
        self.built = {}  # build -> the programs built without a fault, and the seconds that each runs
        self.copy_checkout()

    def copy_checkout(self):
        names = set(filter(None, git("ls-files", "-z", "--cached", "--others", "--exclude-standard").split("\0")))
        for name in names:
            source, copy = PROJECT / name, self.tree / name
            # A file that stays is not touched, so that what was built from it stays too.
            if source.is_file() and not (copy.is_file() and source.read_bytes() == copy.read_bytes()):
                copy.parent.mkdir(parents=True, exist_ok=True)
                copy.write_bytes(source.read_bytes())
                shutil.copymode(source, copy)
        for copy in list(self.tree.rglob("*")):
            if copy.is_file() and not (PROJECT / copy.relative_to(self.tree)).is_file():
                copy.unlink()

    def configure(self, build):
        settings = BUILDS[build]
        flags = [f"-DCMAKE_{language}_{what}" for language, what in (
            ("C", f"COMPILER={settings.compilers[0]}"), ("CXX", f"COMPILER={settings.compilers[1]}"),
            ("C", "COMPILER_LAUNCHER=ccache"), ("CXX", "COMPILER_LAUNCHER=ccache"),
            ("C", f"FLAGS_DEBUG={settings.flags}"), ("CXX", f"FLAGS_DEBUG={settings.flags}"))]
        demand(["cmake", *OPTIONS, *flags, "-S", self.tree, "-B", self.root / build], "configuring the copy")

    def build(self, build, programs, **environment):
        return run(["ninja", "-C", self.root / build, *programs], env={**os.environ, **environment})

    def prepare(self, build, programs):
        """Builds the programs without a fault and takes their times."""
        times = self.built.setdefault(build, {})
        missing = [program for program in programs if program not in times]
        if not missing:
            return
        if not times:
            self.configure(build)
        code, output = self.build(build, missing)
        if code != 0:
            sys.exit(f"{output}\nmutate: the copy without a fault does not build")
        for program in missing:
            start = time.monotonic()
            failure = self.test(build, program, 600)
            if failure:
                sys.exit(f"mutate: {program} fails although there is no fault: {failure}")
            times[program] = time.monotonic() - start

    def test(self, build, program, timeout):
        """What fails; None if nothing does."""
        shutil.rmtree(self.scratch, ignore_errors=True)
        self.scratch.mkdir(parents=True)
        settings = BUILDS[build]
        folder = self.root / build
        environment = {**os.environ, **ENVIRONMENT, **settings.environment, "TMPDIR": str(self.scratch),
                       "TEST_TMPDIR": f"{self.scratch}/"}
        if settings.is_sanitized:
            environment["LD_LIBRARY_PATH"] = f"{folder}/lib"  # a sanitizer's dlopen() does not see the run path
        # A fault may delete or kill what it likes, so all but the scratch folder is read-only, and no process is in reach.
        sandbox = ["bwrap", "--ro-bind", "/", "/", "--dev", "/dev", "--proc", "/proc", "--bind", self.scratch, self.scratch,
                   "--unshare-pid", "--unshare-net", "--die-with-parent", "--chdir", folder]

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
        times = self.built[build]
        # Objects that are unlike any other are of no use to a later build.
        if self.build(build, programs, CCACHE_READONLY="1")[0] != 0:
            return "stillborn", ""
        for program in sorted(programs, key=times.get):
            failure = self.test(build, program, 10 + 8 * times[program])
            if failure:
                return "caught", failure
        return "survived", ""

    def attempt(self, mutant):
        programs = PROGRAMS[folder_of(mutant.file)]
        builds = ["thread"] if mutant.operator in THREADED and "thread" in programs else \
            [build for build in ("plain", "address") if build in programs]
        outcome, catcher = "survived", ""
        for build in builds:
            if outcome != "survived":
                break
            self.prepare(build, programs[build])
            path = self.tree / mutant.file
            original = path.read_bytes()
            path.write_bytes(apply(mutant, original))
            try:
                outcome, catcher = self.judge(build, programs[build])
            finally:
                path.write_bytes(original)
        return outcome, catcher


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


def read_unit(tree, build, unit):
    return generator.Sources(tree, build).mutants_of_unit(unit)


def generate(worker, names, jobs):
    worker.configure("plain")
    place = worker.tree, worker.root / "plain"
    demand(["ninja", "-C", place[1], "vy_commit_hash"], "generating headers")
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


def try_all(workers, mutants, deadline):
    """[(mutant, outcome, catcher)] of those that there was time for."""
    waiting, results, broken = queue.Queue(), [], []
    for mutant in mutants:
        waiting.put(mutant)

    def work(worker):
        try:
            while not broken and time.monotonic() < deadline:
                mutant = waiting.get_nowait()
                outcome, catcher = worker.attempt(mutant)
                results.append((mutant, outcome, catcher))
                mark = f": {catcher}" if catcher else ""
                say(f"{len(results)}/{len(mutants)} {outcome}{mark}\n  {title(mutant)}")
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
    return results


def write_results(results):
    rows = [{**mutant._asdict(), "edits": None, "outcome": outcome, "by": catcher} for mutant, outcome, catcher in list(results)]
    (WORK / "results.json.new").write_text(json.dumps(rows, indent=1, ensure_ascii=False), encoding="utf-8")
    (WORK / "results.json.new").rename(WORK / "results.json")


def report(results, equivalents):
    """Prints survivors and figures; returns the survivors and those that are wrongly said to be equivalent."""
    counts = {folder: collections.Counter() for folder in PROGRAMS}
    survivors, wrong = [], []
    for mutant, outcome, catcher in sorted(results, key=lambda row: (row[0].file, row[0].line)):
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
    return survivors, wrong


def read_arguments():
    parser = argparse.ArgumentParser(prog="scripts/mutate", description=__doc__.partition("\n\n")[0], epilog="Without "
                                     "--all, --sample and --only: faults on the lines that changed since a commit.")
    what = parser.add_mutually_exclusive_group()
    what.add_argument("--all", action="store_true", help="every fault")
    what.add_argument("--sample", type=int, metavar="N", help="N faults of each folder")
    parser.add_argument("--only", metavar="TEXT", help="those whose file, function or text contains TEXT")
    parser.add_argument("--since", metavar="REV", help="the commit that lines must differ from (the tenth last one)")
    parser.add_argument("--minutes", type=float, help="end after that time (5 for changed lines, else no end)")
    parser.add_argument("--seed", default="1", help="selects and orders the faults (1)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="workers (one for each processor)")
    parser.add_argument("--list", action="store_true", help="only print the faults")
    arguments = parser.parse_args()
    if arguments.jobs < 1 or (arguments.sample or 1) < 1 or (arguments.minutes is not None and arguments.minutes <= 0):
        parser.error("--jobs, --sample and --minutes take numbers above zero")
    return arguments


def main():
    arguments = read_arguments()
    begin = time.monotonic()
    is_by_lines = not (arguments.all or arguments.sample or arguments.only)
    minutes = arguments.minutes or (5 if is_by_lines else None)
    deadline = begin + 60 * minutes if minutes else float("inf")
    if is_by_lines or arguments.since:
        oldest = git("rev-list", "--first-parent", "--max-count=11", "HEAD").split()[-1]
        since = arguments.since or oldest
        lines = changed_lines(since)
        names = [name for name in sources_below(PROGRAMS) if name in lines]
        say(f"== lines changed since {git('log', '-1', '--format=%h %s', since).strip()}: {len(names)} files")
    else:
        lines, names = None, sources_below(PROGRAMS)
    if arguments.only and any(arguments.only in name for name in names):
        names = [name for name in names if arguments.only in name]

    workers = [Worker(0)]
    made = generate(workers[0], names, arguments.jobs)
    equivalents = read_equivalents()
    known = set(map(generator.identity, made))
    stale = [key for key in equivalents if key not in known and (key[0] in names or not (PROJECT / key[0]).is_file())]
    chosen = [mutant for mutant in made if (lines is None or mutant.line in lines[mutant.file]) and
              (not arguments.only or arguments.only in "\n".join(map(str, generator.identity(mutant))))]
    if not (arguments.all or arguments.only):  # is the reason still true? The long runs find out
        chosen = [mutant for mutant in chosen if generator.identity(mutant) not in equivalents]
    chosen = shuffled(chosen, arguments.seed)
    if arguments.sample:
        of_folder = collections.Counter()
        chosen = [mutant for mutant in chosen
                  if of_folder.update([folder_of(mutant.file)]) or of_folder[folder_of(mutant.file)] <= arguments.sample]
    if arguments.list:
        for mutant in sorted(chosen, key=lambda mutant: (mutant.file, mutant.line)):
            print(title(mutant))
    say(f"== {len(chosen)} faults, seed {arguments.seed}")

    survivors, wrong = [], []
    if chosen and not arguments.list:
        workers += [Worker(number) for number in range(1, arguments.jobs)]
        wanted = sorted({program for mutant in chosen for program in PROGRAMS[folder_of(mutant.file)]["plain"]})
        for worker in workers:  # one behind the other: the second finds in ccache what the first has compiled
            say(f"== building and testing without a fault ({time.monotonic() - begin:.0f} s)")
            worker.prepare("plain", wanted)
        say(f"== trying ({time.monotonic() - begin:.0f} s)")
        results = try_all(workers, chosen, deadline)
        survivors, wrong = report(results, equivalents)
        if len(results) < len(chosen):
            print(f"{len(chosen) - len(results)} faults were not tried: the time was over")
    for key in stale:
        print(f"mutate: {EQUIVALENT.name}: no such mutant any more: {' | '.join(map(str, key))}", file=sys.stderr)
    for mutant, catcher in wrong:
        print(f"mutate: {EQUIVALENT.name}: said to be equivalent, but caught by {catcher}:\n{title(mutant)}", file=sys.stderr)
    if survivors:
        print(f"mutate: {len(survivors)} faults are caught by no test: write one, or list them in "
              f".ci/{EQUIVALENT.name} with a reason (build/mutate/survivors.toml has the lines)", file=sys.stderr)
    return 1 if survivors or stale or wrong else 0


if __name__ == "__main__":
    sys.exit(main())
