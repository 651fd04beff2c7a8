#!/usr/bin/env python3
"""Holds what the tests do not reach against the list of exceptions, and the shares that they reach against the least.

coverage.py COVERAGE_JSON EXCEPTIONS_TOML [--lines]

An exception names a file of the library, a piece of the source line, and
the reason. One marked `sometimes` may also be reached. --lines prints what is not reached of the other folders, too.
"""
import collections
import json
import os
import pathlib
import sys
import tomllib

# The least share of regions and of branches, in per cent, that the tests must reach. Of the library they reach all but the
# exceptions.
LEAST = {
    "simhost/src": (98, 96),
    "tools/vycam": (97, 94),
    "tools/vyhost": (97, 94),
}
LIBRARY = "src"
CODE, BRANCH = 0, 4  # kinds of regions


def read_counts(path):
    """{file: {(line, column, what): times}} of regions and branches. Copies of a template count as one."""
    counts = collections.defaultdict(collections.Counter)
    for function in json.loads(pathlib.Path(path).read_text(encoding="utf-8"))["data"][0]["functions"]:
        names = [os.path.relpath(os.path.join(os.path.dirname(path), name)) for name in function["filenames"]]
        for line, column, _, _, count, file, _, kind in function["regions"]:
            if kind == CODE:
                counts[names[file]][line, column, "region"] += count
        for line, column, _, _, taken, not_taken, file, _, kind in function["branches"]:
            if kind == BRANCH:
                counts[names[file]][line, column, "branch if true"] += taken
                counts[names[file]][line, column, "branch if false"] += not_taken
    return counts


def place_of(file, line, column, what):
    text = pathlib.Path(file).read_text(encoding="utf-8").splitlines()[line - 1].strip()
    return f"{file}:{line}:{column}: {what} not reached: {text}", text


def check_library(missed, exceptions, list_name):
    """What is wrong with the list; prints the exceptions that are used."""
    used, faults = set(), []
    print("\nNot reached in the library, and why:")
    for place in missed:
        shown, text = place_of(*place)
        found = next((i for i, each in enumerate(exceptions) if each["file"] == place[0] and each["line"] in text), None)
        if found is None:
            faults.append(shown)
            continue
        used.add(found)
        print(f"  {shown}\n    {exceptions[found]['reason']}")
    faults += [f"{list_name}: {each['file']}: is reached now, or gone: {each['line']}"
               for i, each in enumerate(exceptions) if i not in used and not each.get("sometimes")]
    return faults


def main(counts_path, list_name, *options):
    if options not in ((), ("--lines",)):
        sys.exit(__doc__)
    counts = read_counts(counts_path)
    exceptions = tomllib.loads(pathlib.Path(list_name).read_text(encoding="utf-8"))["exception"]
    faults, table = [], []
    for folder, least in {LIBRARY: (None, None), **LEAST}.items():
        found = [(file, *where, times) for file in sorted(counts) if file.startswith(folder + "/")
                 for where, times in sorted(counts[file].items())]
        missed = [place for *place, times in found if times == 0]
        if folder == LIBRARY:
            faults += check_library(missed, exceptions, list_name)
        elif options:
            print(f"\nNot reached in {folder}:")
            for place in missed:
                print(f"  {place_of(*place)[0]}")
        for what, lowest in zip(("region", "branch"), least):
            total = sum(place[3].startswith(what) for place in found)
            reached = total - sum(place[3].startswith(what) for place in missed)
            share = 100 * reached / total if total else 0
            table.append(f"{folder:<14}{what:<8}{reached:>6} of {total:>5}{share:>7.1f} %"
                         + (f", at least {lowest} %" if lowest else ""))
            if lowest and share < lowest:
                faults.append(f"{folder}: {share:.1f} % of the {what} counts are reached: {lowest} % would be right; "
                              "--lines shows the rest")
    print("\n" + "\n".join(table))
    for fault in faults:
        print(f"coverage: {fault}", file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
