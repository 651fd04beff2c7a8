#!/usr/bin/python3
"""What scripts/check-layout checks: who includes whom, file names, headers, comments.

layout.py              -> FILE:LINE: what is wrong and what would be right, for every breach; fails when there is one
layout.py --self-test  -> puts a breach of each rule into a copy of the sources; fails when one is not found
"""
import pathlib
import re
import shutil
import sys
import tempfile

INSIDE = ["src/host", "src/processor", "src/device", "src/d2c", "src/privfilter"]

# Each room and what it includes besides itself and the standard library: rooms, or single headers. Lowest first.
ROOMS = {
    # Stands in for parts of the C and C++ libraries that older ones lack.
    "src/compat": [],
    # What everything else of the library stands on: the error slot, the host's record layouts, text conversions.
    "src/host": ["simhost/include/TavrixSDK.h", "include/vy_frame_processor.h"],
    "src/processor": ["src/host", "simhost/include/TavrixSDK.h", "include"],
    "src/device": ["src/host", "simhost/include/TavrixSDK.h", "src/processor/FilterConfig.h"],
    # The registry makes the D2C processor, which wraps a host filter as all private filters do.
    "src/d2c": ["src/host", "simhost/include/TavrixSDK.h", "src/privfilter/WrappedHostFilter.h"],
    "src/privfilter": ["src/host", "simhost/include/TavrixSDK.h", "src/d2c/HardwareD2CProcessor.h", "include"],
    "src/api": ["src", "simhost/include/TavrixSDK.h", "include"],
    # The simulated host and what follows may use other libraries as well.
    "simhost/include": [],
    "simhost/src/pixel": [],
    "simhost/src/scene": [],
    "simhost/src/core": ["simhost/include"],
    "simhost/src/instrumentation": ["simhost/include"],
    "simhost/src/filters": ["simhost/include", "simhost/src/core", "simhost/src/pixel"],
    "simhost/src/camera": ["simhost/include", "simhost/src/core", "simhost/src/pixel", "simhost/src/scene"],
    "simhost/src/api": ["simhost/include", "simhost/src"],
    "include": ["simhost/include/TavrixSDK.h"],
    # The recording twin stands before the library and knows it by its exported functions only.
    "recording": ["include", "simhost/include/TavrixSDK.h"],
    "tools/vycam": ["include", "simhost/include"],
    "tools/vyhost": ["include", "simhost/include/TavrixSDK.h", "recording"],
    "tests": ["include", "simhost/include", "simhost/src/pixel", *INSIDE],
    "tests/recording": ["include", "simhost/include", "tests/support", "tools/vyhost", "recording"],
    "tests/vycam": ["include", "simhost/include", "tests/support", "tools/vycam"],
    "tests/vyhost": ["include", "simhost/include", "tests/support", "tools/vyhost", "recording"],
    "bench": ["include", "simhost/include", "tests/support", *INSIDE],
    "fuzz": ["include", "simhost/include", "tests/support", *INSIDE],
}
# Where includes are looked up: the file's own root first, then those that it may include. "" is the project's folder.
ROOTS = ["src", "simhost/src", "simhost/include", "include", "tools/vycam", "tools/vyhost", "tests", "bench", "fuzz", ""]
# Names that were given.
FREE_NAMES = re.compile(r"(simhost/)?include/|src/compat/sys/|.*/(commonTypes|deviceInfoConfig)\.(h|cpp)$")

INCLUDE = re.compile(r'\s*#\s*include\s*([<"])([^>"]+)')
# Texts and comments. None of them begins inside another.
TOKEN = re.compile(r'R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|\'(?:\\.[^\']*|[^\'\\])\'|//[^\n]*|/\*.*?\*/', re.DOTALL)


def is_below(path, place):
    return place in ("", path) or path.startswith(place + "/")


def last_match(path, places):
    """The innermost of the places that the path lies in; None if it lies in none."""
    return max((place for place in places if is_below(path, place)), key=len, default=None)


def find_header(files, source, quote, name):
    """The project's header that an include means, and how to write it; None if it is none of the project's."""
    own_root = last_match(source, ROOTS)
    allowed = ROOMS.get(last_match(source, ROOMS), [])
    for root in sorted(ROOTS, key=lambda root: (root != own_root, root not in allowed)):
        header = f"{root}/{name}".lstrip("/")
        if header in files:
            return header, name
    if quote == '"':
        parts = []
        for part in (*source.split("/")[:-1], *name.split("/")):
            parts = parts[:-1] if part == ".." else parts + [part]
        beside = "/".join(parts)
        if beside in files:
            return beside, beside[len(last_match(beside, ROOTS)):].lstrip("/")
    return None


def check_includes(files, path, text):
    room = last_match(path, ROOMS)
    if room is None:
        folder = path.rpartition("/")[0]
        yield 1, f"{folder}/ has no row in the table of scripts/lib/layout.py: add it with what it may include"
        return
    for number, line in enumerate(text.splitlines(), 1):
        match = INCLUDE.match(line)
        if not match:
            continue
        quote, name = match.groups()
        header = find_header(files, path, quote, name)
        if header is None:
            if room.startswith("src/") and quote == "<" and not re.fullmatch(r"[a-z_0-9]+", name):
                yield number, f"<{name}> in {room}/: the library uses the C++ standard library and the host only"
            continue
        target, written = header
        if not any(is_below(target, place) for place in (room, *ROOMS[room])):
            allowed = ", ".join(ROOMS[room]) or "nothing of other rooms"
            yield number, f"{room}/ includes {target}; it may include itself and: {allowed}"
        elif name != written:
            yield number, f'"{name}": write it from the root of the room: "{written}"'


def check_header(path, text):
    if not path.endswith((".h", ".hpp")):
        return
    if not re.search(r"^#pragma once$", text, re.MULTILINE):
        yield 1, "the header has no #pragma once: add it before the first include"
    guard = re.search(r"^#\s*(?:ifndef\s+|if\s+!\s*defined\s*\(?\s*)(\w+)\)?\s*\n#\s*define\s+\1\s*$", text, re.MULTILINE)
    if guard:
        yield text.count("\n", 0, guard.start()) + 1, f"guard macro {guard[1]}: #pragma once alone would be right"


def check_comments(_path, text):
    for token in TOKEN.finditer(text):
        if token[0].startswith("/*") and not re.fullmatch(r"/\*\w+=?\*/", token[0]):
            yield text.count("\n", 0, token.start()) + 1, "/* */ comment: write it with //, or /// for a declaration"


def check_name(path, _text):
    name = path.rpartition("/")[2]
    if not FREE_NAMES.match(path) and not re.match(r"[A-Z][A-Za-z0-9]*\.", name):
        stem, _, end = name.partition(".")
        right = "".join(word[:1].upper() + word[1:] for word in re.split(r"[-_.]", stem))
        yield 1, f"file name {name}: {right}.{end} would be right"


def check(project):
    sources = (path for top in ("src", "simhost", "include", "recording", "tools", "tests", "bench", "fuzz")
               for path in (project / top).rglob("*") if path.suffix in (".cpp", ".c", ".h", ".hpp"))
    files = {path.relative_to(project).as_posix(): path.read_text(encoding="utf-8") for path in sources}
    breaches = []
    for path, text in sorted(files.items()):
        findings = [*check_name(path, text), *check_includes(files, path, text), *check_header(path, text),
                    *check_comments(path, text)]
        breaches += [f"{path}:{line}: {what}" for line, what in sorted(findings)]
    return len(files), breaches


def self_test(project):
    # The file that a breach is appended to (made if it is missing), the breach, and what is to be said of its line.
    breaches = [
        ("src/host/HostErrorSlot.h", '#include "processor/FrameProcessor.h"', "src/host/ includes src/processor/"),
        ("src/host/HostErrorSlot.h", "#include <vy_private_filter.h>", "src/host/ includes include/vy_private_filter.h"),
        ("src/processor/FrameLoop.cpp", '#include "device/ChainCatalogue.h"', "src/processor/ includes src/device/"),
        ("src/device/ChainCatalogue.cpp", '#include "processor/ChainLink.h"', "src/device/ includes src/processor/"),
        ("src/d2c/Saturate.h", '#include "privfilter/FilterFactory.h"', "src/d2c/ includes src/privfilter/"),
        ("src/privfilter/IPrivFilter.h", '#include "d2c/Saturate.h"', "src/privfilter/ includes src/d2c/"),
        ("src/privfilter/IPrivFilter.h", '#include "api/FrameProcessorContext.h"', "src/privfilter/ includes src/api/"),
        ("tests/ApiTest.cpp", '#include "api/FrameProcessorContext.h"', "tests/ includes src/api/"),
        ("src/api/Impl.cpp", "#include <tavrix_sim.h>", "src/api/ includes simhost/include/tavrix_sim.h"),
        ("src/api/Impl.cpp", "#include <fmt/core.h>", "<fmt/core.h> in src/api/"),
        ("simhost/src/core/Frame.h", '#include "api/Call.h"', "simhost/src/core/ includes simhost/src/api/"),
        ("simhost/src/pixel/Offset.h", '#include "core/Frame.h"', "simhost/src/pixel/ includes simhost/src/core/"),
        ("simhost/src/core/Frame.h", '#include "host/commonTypes.h"', "simhost/src/core/ includes src/host/"),
        ("tools/vycam/Chain.h", '#include "../../src/host/commonTypes.h"', "tools/vycam/ includes src/host/"),
        ("src/api/Impl.cpp", '#include "recording/Recorder.h"', "src/api/ includes recording/"),
        ("recording/Twin.cpp", '#include "host/HostErrorSlot.h"', "recording/ includes src/host/"),
        ("recording/Twin.cpp", '#include "JsonText.h"', 'write it from the root of the room: "recording/'),
        ("src/newroom/New.h", "#pragma once", "src/newroom/ has no row"),
        ("src/d2c/Saturate.h", '#include "HardwareD2CParams.h"', 'write it from the root of the room: "d2c/'),
        ("simhost/src/api/Call.h", '#include "../core/Frame.h"', 'write it from the root of the room: "core/'),
        ("bench/two_words.cpp", "", "TwoWords.cpp would be right"),
        ("tools/vycam/small.h", "#pragma once", "Small.h would be right"),
        ("tests/support/Open.h", "", "no #pragma once"),
        ("src/d2c/Saturate.h", "#ifndef SATURATE_H\n#define SATURATE_H\n#endif", "guard macro SATURATE_H"),
        ("fuzz/Support.h", "int a;  /* a number */", "/* */ comment"),
        ("simhost/src/scene/Hash.h", "/**\n * Twice.\n */", "/* */ comment"),
    ]
    allowed = [
        ("fuzz/Support.h", 'int f(int /*unused*/); const char* s = "/* text */";  // a /* in a line'),
        ("src/device/ChainCatalogue.cpp", '#include "processor/FilterConfig.h"'),
        ("src/privfilter/IPrivFilter.h", "#include <vector>"),
    ]
    missed = 0
    with tempfile.TemporaryDirectory() as scratch:
        copy = pathlib.Path(scratch)
        for top in ("src", "simhost", "include", "recording", "tools", "tests", "bench", "fuzz"):
            shutil.copytree(project / top, copy / top, ignore=shutil.ignore_patterns("corpus"))
        before = set(check(copy)[1])
        for path, addition, *said in breaches + allowed:
            file = copy / path
            original = file.read_text(encoding="utf-8") if file.exists() else None
            file.parent.mkdir(exist_ok=True)
            file.write_text((original or "") + addition + "\n", encoding="utf-8")
            line = (original or "").count("\n") + 1
            new = [breach for breach in check(copy)[1] if breach not in before]
            expected = [breach for breach in new if breach.startswith(f"{path}:{line}: ") and said and said[0] in breach]
            if new != expected or len(new) != len(said):
                print(f"  {path}: {addition!r}\n    expected: {said or 'nothing'}\n    found: {new}", file=sys.stderr)
                missed += 1
            if original is None:
                file.unlink()
            else:
                file.write_text(original, encoding="utf-8")
    if missed:
        sys.exit(f"check-layout: {missed} of {len(breaches) + len(allowed)} lines were not judged right")
    print(f"{len(breaches)} breaches found, {len(allowed)} lines that are right left alone")


def main(arguments):
    project = pathlib.Path(__file__).resolve().parents[2]
    if arguments == ["--self-test"]:
        return self_test(project)
    if arguments:
        sys.exit(__doc__)
    count, breaches = check(project)
    for breach in breaches:
        print(breach, file=sys.stderr)
    if breaches:
        sys.exit(f"check-layout: breaches of the layout: {len(breaches)}")
    print(f"{count} files")


if __name__ == "__main__":
    main(sys.argv[1:])
