#!/usr/bin/env python3
"""Compares what the tests do not reach with the list of exceptions.

coverage.py COVERAGE_JSON EXCEPTIONS_TOML

An exception names a file, a piece of the source line, and the reason. One marked `sometimes` may also be reached.
"""
import json
import pathlib
import sys
import tomllib


def unreached(coverage):
    """(file, line number, what) of all that is not reached, and the totals."""
    places, lines, branches = [], [0, 0], [0, 0]
    for entry in coverage["files"]:
        for line in entry["lines"]:
            if line.get("gcovr/noncode"):
                continue
            ways = [way["count"] for way in line["branches"] if not way.get("throw")]
            lines = [lines[0] + (line["count"] > 0), lines[1] + 1]
            branches = [branches[0] + sum(count > 0 for count in ways), branches[1] + len(ways)]
            if line["count"] == 0:
                places.append((entry["file"], line["line_number"], "line"))
            elif 0 in ways:
                places.append((entry["file"], line["line_number"], f"{ways.count(0)} of {len(ways)} branches"))
    return places, lines, branches


def main(coverage_path, exceptions_path):
    places, lines, branches = unreached(json.loads(pathlib.Path(coverage_path).read_text(encoding="utf-8")))
    exceptions = tomllib.loads(pathlib.Path(exceptions_path).read_text(encoding="utf-8"))["exception"]
    used, faults = set(), []
    print("\nNot reached, and why:")
    for file, number, what in places:
        text = pathlib.Path(file).read_text(encoding="utf-8").splitlines()[number - 1].strip()
        found = next((i for i, each in enumerate(exceptions) if each["file"] == file and each["line"] in text), None)
        if found is None:
            faults.append(f"{file}:{number}: {what} not reached: {text}")
            continue
        used.add(found)
        print(f"  {file}:{number}: {what}: {text}\n    {exceptions[found]['reason']}")
    for i, each in enumerate(exceptions):
        if i not in used and not each.get("sometimes"):
            faults.append(f"{exceptions_path}: {each['file']}: is reached now, or gone: {each['line']}")
    print(f"\nlines {lines[0]} of {lines[1]}, branches {branches[0]} of {branches[1]}; {len(used)} exceptions")
    for fault in faults:
        print(f"coverage: {fault}", file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
