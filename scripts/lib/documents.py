#!/usr/bin/env python3
"""Holds the documents against the built library.

documents.py check BUILD [INSTALLED]  -> fails when a document says what is not so
documents.py write BUILD              -> writes the generated blocks anew

BUILD is a build folder with the simulated host. INSTALLED is a folder that each package is installed into, one folder
a package: the links of the documents in it must lead to something in the same package.

A block begins with a line `<!-- block: NAME -->`, ends with `<!-- end -->`, and is what the function of that name below
makes of the library. Beside the blocks, these are checked: figures in the text, links, names of files, scripts and
their options, functions, and that README's commands run.
"""
import fnmatch
import functools
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

import probe

PROJECT = pathlib.Path(os.environ.get("VYFP_DOCUMENTS", pathlib.Path(__file__).resolve().parents[2]))
SENSORS = {1: "infrared", 2: "colour", 3: "depth", 6: "left infrared", 7: "right infrared", 9: "no published name"}
# Files of others that the documents name.
ELSEWHERE = {"include/TavrixSDK.h", "include/TavrixSDK/TavrixSDK.h", "camera.json"}
TAIL = ["FrameMirror", "FrameFlip", "FrameRotate"]
BLOCK = re.compile(r"(?P<begin><!-- block: (?P<name>[\w-]+) -->\n).*?(?P<end><!-- end -->)", re.DOTALL)


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True, cwd=PROJECT).stdout


@functools.lru_cache(maxsize=None)
def tracked():
    return output("git", "ls-files", "--cached", "--others", "--exclude-standard").split("\n")[:-1]


def documents():
    return [name for name in tracked() if name.endswith(".md")]


def read(name):
    return (PROJECT / name).read_text(encoding="utf-8")


def row(*cells):
    return "| " + " | ".join(map(str, cells)) + " |\n"


def rows(head, body):
    return row(*head) + "|" + "---|" * len(head) + "\n" + "".join(row(*each) for each in body)


def numbers(values):
    return ", ".join(map(str, values))


class Blocks:
    """The generated blocks, one function each."""

    def __init__(self, build):
        self.build = pathlib.Path(build)
        self.file = self.build / "lib" / "libvy_frame_processor.so"
        self.library = probe.Library(self.build / "lib")

    @functools.cached_property
    def ids(self):
        return probe.built_in_ids(self.library)

    @functools.cached_property
    def lists(self):
        return probe.lists(self.library)

    @functools.cached_property
    def chains(self):
        return probe.chains(self.library)

    def symbols(self, *options):
        lines = output("nm", "--dynamic", *options, str(self.file)).splitlines()
        return [line.split(maxsplit=2 if "--defined-only" in options else 1)[-1] for line in lines]

    # ---- The catalogue

    def recognition(self):
        """The tests in their order, and the ids that the library knows by itself."""
        families, order = self.lists
        if moved := probe.built_in_ids_that_lists_cannot_move(self.library, self.ids, families):
            raise SystemExit(f"documents: the host's lists do not come before these built-in ids: {moved}")
        maker = f"{self.library.maker:04X}"
        body = [(families[each], f"the host's list of type {each}") for each in order]
        for name in self.chains:
            if name in self.ids:
                listed = " ".join(f"`{maker}:{pid:04X}`" for pid in self.ids[name])
                body.append((name, f"built in: {listed}"))
        return rows(("family", "known by"), body)

    def chains_by_sensor(self):
        def cell(chain):
            if chain is None:
                return ""
            names = [each.name for each in chain]
            assert names[-3:] == TAIL
            mirrored = " (mirror on)" if chain[-3].enabled else ""
            return f"{numbers(names[:-3])}, tail{mirrored}" if len(names) == 4 else \
                f"{len(names) - 3} filters, tail" if len(names) > 4 else f"tail{mirrored}"

        sensors = sorted({sensor for chains in self.chains.values() for sensor in chains})
        head = ["family"] + [f"{sensor} {SENSORS[sensor]}" for sensor in sensors]
        return rows(head, [[name] + [cell(chains.get(sensor)) for sensor in sensors]
                           for name, chains in self.chains.items()])

    def depth_order(self):
        """All filters of the depth chains, so that each chain is a part of this order."""
        chains = [[each.name for each in chains[probe.DEPTH]] for chains in self.chains.values()]
        order = []
        while any(chains):
            heads = [chain[0] for chain in chains if chain]
            name = next(each for each in heads if not any(each in chain[1:] for chain in chains))
            order.append(name)
            chains = [chain[1:] if chain[:1] == [name] else chain for chain in chains]
        return order

    def depth_chains(self):
        def cell(name, chain):
            each = next((each for each in chain if each.name == name), None)
            state = "" if each is None else "on" if each.enabled else "off"
            return f"{state} (own)" if each is not None and each.inside else state

        return rows(["filter, in chain order"] + list(self.chains),
                    [[f"`{name}`"] + [cell(name, chains[probe.DEPTH]) for chains in self.chains.values()]
                     for name in self.depth_order()])

    def initial_arguments(self):
        found = {}
        for name, chains in self.chains.items():
            for sensor, chain in chains.items():
                for each in chain:
                    if each.arguments:
                        found[name, SENSORS[sensor], each.name] = each.arguments
        return rows(("family", "sensor", "filter", "arguments"),
                    [(*key, " ".join(f"`{text}`" for text in texts)) for key, texts in found.items()])

    def published_items(self):
        found = {}
        for name, chains in self.chains.items():
            for chain in chains.values():
                for each in chain:
                    key = (each.name, "own" if each.inside else "host", numbers(each.items) or "none")
                    found.setdefault(key, {})[name] = None
        everywhere = len(self.chains)
        return rows(("filter", "whose", "published items, in this order", "families"),
                    [(f"`{name}`", whose, items, "all" if len(families) == everywhere else numbers(families))
                     for (name, whose, items), families in found.items()])

    def host_filters(self):
        found = {}
        for name, chains in self.chains.items():
            for chain in chains.values():
                for each in chain:
                    door = "`vy_create_private_filter`" if each.inside else "`vy_create_filter`"
                    inside = f"inside the library's own `{each.name}`" if each.inside else "in chains of its own name"
                    found[each.inside or each.name] = (door, inside)
        return f"{len(found)} filters:\n\n" + rows(("filter", "created through", "where"),
                                                     [(f"`{name}`", *found[name]) for name in sorted(found)])

    def input_formats(self):
        admitted = probe.admitted_inputs(self.library)
        body = []
        for name, kinds in sorted(admitted.items()):
            formats, pixel_types = sorted({kind[0] for kind in kinds}), sorted({kind[1] for kind in kinds})
            assert len(kinds) == len(formats) * len(pixel_types)
            body.append((f"`{name}`", numbers(formats), numbers(pixel_types) if len(pixel_types) < 8 else "any"))
        return rows(("filter, by the name it reports", "input format", "pixel type"), body)

    # ---- The binary

    def host_functions(self):
        names = sorted(name for name in self.symbols("--undefined-only") if name.removeprefix("U ").startswith("vy_"))
        names = [name.removeprefix("U ") for name in names]
        return f"{len(names)} functions:\n\n```\n" + "".join(f"{name}\n" for name in names) + "```\n"

    def exported_functions(self):
        lines = output("nm", "--dynamic", "--defined-only", "--demangle", str(self.file)).splitlines()
        functions = [line.split(maxsplit=2)[2] for line in lines if line.split()[1] == "T"]
        versions = sorted({name.rpartition("@@")[2] for name in functions})
        names = sorted({re.sub(r"\(.*", "", name.rpartition("@@")[0]).split("[")[0] for name in functions})
        groups = [("for hosts", [name for name in names if name.startswith("vy_")], "vy_frame_processor.h"),
                  ("for chains", [name for name in names if name.startswith("priv_")], "vy_private_filter.h"),
                  ("text conversions", [name for name in names if "_" not in name], "none")]
        assert sum(len(group) for _, group, _ in groups) == len(functions)
        return (f"{len(functions)} functions with the symbol version {numbers(f'`{each}`' for each in versions)}:\n\n" +
                rows(("", "functions", "installed header"),
                     [(f"{len(group)} {title}", numbers(f"`{name}`" for name in group), header)
                      for title, group, header in groups]))

    # ---- Costs

    def host_calls(self):
        cases = [("Corvid", 0), ("Corvid", 100), ("Pellan", 0), ("SpecialOpenNI", 0), ("SpecialOpenNI", 100)]
        counts = [probe.host_calls(self.library, *case) for case in cases]
        head = ["call"] + [f"{name} depth" + (f", after {made} processors" if made else "") for name, made in cases]
        return rows(head, [[title] + [count[title] for count in counts] for title in counts[0]])

    def costs(self):
        recorded = json.loads(read("bench/recorded.json"))
        cases = [("a frame, Corvid depth", "frame/Corvid"), ("a frame, SpecialOpenNI depth", "frame/SpecialOpenNI"),
                 ("a frame, SpecialOpenNI depth, 100 filters in the registry", "frame/SpecialOpenNI/registry-100"),
                 ("all settings, Corvid depth", "command/Corvid"), ("opening Corvid depth", "open/Corvid"),
                 ("opening SpecialOpenNI depth", "open/SpecialOpenNI")]
        return rows(("what", "instructions", "the same host calls alone", "allocations of the library"),
                    [(title, f"{recorded[case]['instructions']:,}", f"{recorded[case]['floor']:,}",
                      f"{recorded[case]['allocations']:g}") for title, case in cases])

    def make(self, name):
        function = getattr(self, name.replace("-", "_"), None)
        if function is None:
            raise SystemExit(f"documents: there is no block {name}")
        return function()


# ---- Checks: each yields what is wrong ------------------------------------------------------------------------------

def check_blocks(blocks):
    for name in documents():
        text = read(name)
        for found in BLOCK.finditer(text):
            if found[0] != found["begin"] + blocks.make(found["name"]) + found["end"]:
                yield f"{name}: the block {found['name']} is out of date; scripts/check-documents --write makes it anew"


def check_figures(build):
    """Figures that stand in sentences, with what they must be."""
    recorded = json.loads(read("bench/recorded.json"))
    allocating = [case for case, figures in recorded.items() if case.startswith("frame/") and figures["allocations"]]
    if "Frames allocate nothing" in read("README.md") and allocating:
        yield f"README.md: says that frames allocate nothing, but bench/recorded.json has {numbers(allocating)}"
    footprint = read("scripts/footprint")
    limits = {what: int(value) for what, value in re.findall(r"most_(\w+)=\$\(\((\d+) \* 1024\)\)", footprint)}
    memory = output(str(build / "bin" / "vyfp_endurance"), "--frames", "1", "--processors", "1000")
    kept = dict(re.findall(r"^(\w+): .*: (\d+) bytes kept for each", memory, re.MULTILINE))
    for name, pattern, expected, tolerance in (
            ("README.md", r"at most (\d+) KiB on disk", limits["bytes_on_disk"], 0),
            ("README.md", r"and (\d+) KiB of\s+writable data", limits["writable_bytes"], 0),
            ("docs/integration.md", r"\| Talon depth \| ([\d,]+) bytes", int(kept["Talon"]), 0.03),
            ("docs/integration.md", r"\| SpecialOpenNI depth \| ([\d,]+) bytes", int(kept["SpecialOpenNI"]), 0.03)):
        found = re.findall(pattern, read(name))
        if not found:
            yield f"{name}: has no figure like '{pattern}'"
        for figure in found:
            if abs(int(figure.replace(",", "")) - expected) > tolerance * expected:
                yield f"{name}: says {figure} where '{pattern}' stands, but it is {expected}"


def headings(text):
    text = re.sub(r"^```.*?^```", "", text, flags=re.DOTALL | re.MULTILINE)
    titles = re.findall(r"^#+ +(.*)$", text, re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", re.sub(r"\[(.*?)\]\(.*?\)", r"\1", title).lower()).replace(" ", "-")
            for title in titles}


def links_of(path):
    text = re.sub(r"^```.*?^```", "", path.read_text(encoding="utf-8"), flags=re.DOTALL | re.MULTILINE)
    return [link for link in re.findall(r"\]\(([^)\s]+)\)", text) if "://" not in link]


def broken_links(path, root):
    for link in links_of(path):
        file, _, anchor = link.partition("#")
        target = (path.parent / file).resolve() if file else path
        if not target.is_relative_to(root.resolve()) or not target.exists():
            yield f"{path.relative_to(root)}: the link {link} leads nowhere"
        elif anchor and anchor not in headings(target.read_text(encoding="utf-8")):
            yield f"{path.relative_to(root)}: {file or 'the document itself'} has no heading #{anchor}"


def check_links():
    for name in documents():
        yield from broken_links(PROJECT / name, PROJECT)


def check_installed_links(installed):
    for package in sorted(pathlib.Path(installed).iterdir()):
        for path in sorted(package.rglob("*.md")):
            for fault in broken_links(path, package):
                yield f"package {package.name}: {fault}"


def check_file_names():
    """Paths below the project's folders, and names of source files: all must be there."""
    folders = {name.split("/")[0] for name in tracked() if "/" in name}
    path = re.compile(r"(?<![\w./-])((?:" + "|".join(map(re.escape, sorted(folders))) + r")/[\w./*-]*)")
    plain = re.compile(r"(?<![\w/.*-])((?:[\w-]+/)*\w+\.(?:cpp|hpp|h|c|py|toml|md|json|map|cmake))\b")
    everything = set(tracked()) | {str(parent) for name in tracked() for parent in pathlib.PurePath(name).parents}
    for document in documents():
        text = read(document)
        for found in path.findall(text):
            wanted = found.rstrip("./")
            if wanted not in ELSEWHERE and not any(fnmatch.fnmatchcase(name, wanted) for name in everything):
                yield f"{document}: there is no {found}"
        for found in plain.findall(re.sub(r"^```.*?^```", "", text, flags=re.DOTALL | re.MULTILINE)):
            is_ours = found not in ELSEWHERE and not found.startswith("build/")
            if is_ours and not any(f"/{name}".endswith(f"/{found}") for name in tracked()):
                yield f"{document}: there is no file {found}"


def sources_of(script):
    """The text of a script, and of the Python program that it stands before."""
    program = "scripts/lib/" + script.rsplit("/", 1)[1] + ".py"
    return read(script) + (read(program) if (PROJECT / program).is_file() else "")


def check_options(build):
    """Options of scripts and of vycam, as the documents show them."""
    @functools.lru_cache(maxsize=None)
    def vycam_help(command):
        return subprocess.run([build / "bin" / "vycam", *command, "--help"], capture_output=True, text=True,
                              check=False).stdout
    for document in documents():
        text = read(document)
        for script, options in re.findall(r"(?<![\w/])(scripts/[\w-]+)((?: +(?:--?[\w-]+|[\w/.]+))*)", text):
            for option in re.findall(r"--[a-z][\w-]*", options):
                if (PROJECT / script).is_file() and option not in sources_of(script):
                    yield f"{document}: {script} knows no {option}"
        for command, options in re.findall(r"(?<![\w-])vycam (families|schema|run|gallery|view)([^`\n#]*)", text):
            for option in re.findall(r"--[a-z][\w-]*", options):
                if option not in vycam_help((command,)) + vycam_help(()):
                    yield f"{document}: vycam {command} knows no {option}"


def check_commands(build):
    """The commands of README that run vycam: they can be pasted one after the other, where the demo has been."""
    blocks = re.findall(r"^```sh\n(.*?)^```", read("README.md"), re.DOTALL | re.MULTILINE)
    with tempfile.TemporaryDirectory() as scratch:
        (pathlib.Path(scratch) / "build").mkdir()
        (pathlib.Path(scratch) / "build/release").symlink_to(build.resolve())
        for block in (block for block in blocks if re.search(r"^vycam ", block, re.MULTILINE)):
            # A live view would stay.
            commands = re.sub(r"^vycam view.*\n", "", block, flags=re.MULTILINE)
            run = subprocess.run(["bash", "-euc", commands], cwd=scratch, capture_output=True, text=True, check=False)
            if run.returncode != 0:
                yield f"README.md: its commands cannot be pasted: {run.stderr.strip()}"


def check_functions():
    """Functions, types and targets named with a prefix of the host or the library."""
    declaring = re.compile(r"(?:/include/|^include/).*\.h$|CMakeLists\.txt$|\.cmake(?:\.in)?$")
    sources = filter(declaring.search, tracked())
    known = set(re.findall(r"\w+", " ".join(map(read, sources)))) | {pathlib.PurePath(name).stem for name in tracked()}
    for document in documents() + [name for name in tracked() if re.match(r"include/.*\.h$", name)]:
        for name in sorted(set(re.findall(r"(?<![\w.])(?:vy|vysim|priv)_\w+", read(document)))):
            if name not in known and not (name.endswith("_") and any(each.startswith(name) for each in known)):
                yield f"{document}: nothing is named {name}"


def write(blocks):
    for name in documents():
        text = read(name)
        fresh = BLOCK.sub(lambda found: found["begin"] + blocks.make(found["name"]) + found["end"], text)
        if fresh != text:
            (PROJECT / name).write_text(fresh, encoding="utf-8")
            print(f"{name}: written anew")


def main(command, build, installed=None):
    build = pathlib.Path(build)
    blocks = Blocks(build)
    if command == "write":
        write(blocks)
        return 0
    checks = [check_blocks(blocks), check_figures(build), check_links(), check_file_names(), check_options(build),
              check_commands(build), check_functions()]
    if installed:
        checks.append(check_installed_links(installed))
    faults = [fault for check in checks for fault in check]
    for fault in faults:
        print(f"check-documents: {fault}", file=sys.stderr)
    print(f"{len(documents())} documents, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    if not 3 <= len(sys.argv) <= 4 or sys.argv[1] not in ("check", "write"):
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
