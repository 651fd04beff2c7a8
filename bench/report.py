#!/usr/bin/python3
"""What scripts/bench and scripts/check-cost do with the measurements.

report.py merge  CALLGRIND_DIR COUNTS [TIMES] -> figures as JSON on the standard output
report.py table  FIGURES                      -> the table
report.py record FIGURES RECORDED             -> writes the figures that later ones are compared with
report.py draw   RECORDED IMAGES_DIR          -> the pictures of the README
report.py check  FIGURES RECORDED             -> fails when a case costs more than they allow
"""
import json
import pathlib
import sys

GROWTH_ALLOWED = 0.03
# The frames of virtual cameras. What a compiler makes of their vector loops is none of the library's cost.
CAMERA_GROWTH_ALLOWED = 0.25
LIMITS = f"growth of {GROWTH_ALLOWED:.0%} is allowed, of {CAMERA_GROWTH_ALLOWED:.0%} for frames of virtual cameras"
CAMERAS = ("camera/", "streams/")  # cases without a floor


def read_instructions(folder):
    """The instructions of each dump, by the dump's trigger `case/side`."""
    totals = {}
    for dump in pathlib.Path(folder).glob("callgrind.out.*"):
        title, total = None, None
        with open(dump, encoding="utf-8", errors="replace") as lines:
            for line in lines:
                if line.startswith("desc: Trigger: Client Request: "):
                    title = line.split(": ", 3)[3].strip()
                elif line.startswith("summary: "):
                    total = int(line.split()[1])
                    break
        if title and total is not None:
            totals[title] = total
    return totals


def merge(folder, counts, times=None):
    totals = read_instructions(folder)
    figures = {}
    for line in pathlib.Path(counts).read_text(encoding="utf-8").splitlines():
        case, side, rounds, allocations = line.split("\t")
        title = f"{case}/{side}"
        if title not in totals:
            sys.exit(f"report: callgrind left no figures of {title}")
        entry = figures.setdefault(case, {})
        entry[side] = {
            "instructions": round(totals[title] / int(rounds)),
            "allocations": round(int(allocations) / int(rounds), 2),
        }
    if times:
        for run in json.loads(pathlib.Path(times).read_text(encoding="utf-8"))["benchmarks"]:
            name, threads = run["name"].replace("/real_time", ""), 0
            if "/threads:" in name:
                name, _, threads = name.partition("/threads:")
            case, _, side = name.rpartition("/")
            case += f"/threads-{threads}" if threads else ""
            times = {"nanoseconds": round(run["real_time"], 1), "cpu": run["cpu_time"], "rate": run.get("frames/s")}
            figures.setdefault(case, {}).setdefault(side, {}).update(times)
    return figures


def own_allocations(entry):
    """The library's own: the floor makes the same host calls, so the host's allocations are in both."""
    return entry["library"]["allocations"] - entry["floor"]["allocations"]


def table(figures):
    def cell(entry, side, key):
        value = entry.get(side, {}).get(key)
        return "-" if value is None else f"{value:,.0f}"

    print(f"{'':34}  {'library':>29}  {'floor':>17}")
    print(f"{'case':34}  {'ns':>9} {'instr.':>10} {'allocs':>8}  {'ns':>9} {'instr.':>10}  {'instr. ratio':>12} {'above':>7}")
    for case, entry in figures.items():
        if case.startswith(CAMERAS):
            continue
        ratio = above = allocations = "-"
        if "instructions" in entry["library"]:
            ours, floor = entry["library"]["instructions"], entry["floor"]["instructions"]
            # No ratio to a floor of a few instructions, which is the loop around nothing.
            ratio = f"{ours / floor:.2f}" if floor > 10 else "-"
            above = f"{ours - floor:,}"
            allocations = f"{own_allocations(entry):g}"
        print(
            f"{case:34}  {cell(entry, 'library', 'nanoseconds'):>9} {cell(entry, 'library', 'instructions'):>10} "
            f"{allocations:>8}  {cell(entry, 'floor', 'nanoseconds'):>9} {cell(entry, 'floor', 'instructions'):>10}  "
            f"{ratio:>12} {above:>7}"
        )
    slope = {side: per_filter(figures, side) for side in ("library", "floor")}
    print(
        f"\nper running filter and frame: {slope['library']:.1f} instructions, floor {slope['floor']:.1f}, "
        f"ratio {slope['library'] / slope['floor']:.3f}"
    )
    print(f"\n{'frames of virtual cameras':34}  {'CPU ms':>9} {'million instr.':>15}")
    for case, entry in figures.items():
        if case.startswith("camera/"):
            cpu, instructions = entry["host"].get("cpu", 0) / 1e6, entry["host"]["instructions"] / 1e6
            print(f"{case:34}  {cpu:9.1f} {instructions:15.1f}")
    print(f"\n{'all streams of a camera at once':34}  {'frames/s':>9}")
    for case, entry in figures.items():
        if case.startswith("streams/"):
            print(f"{case:34}  {entry['host']['rate']:9.0f}")


def per_filter(figures, side, first=4, last=64):
    at = lambda length: figures[f"length/{length}"][side]["instructions"]
    return (at(last) - at(first)) / (last - first)


def draw(recorded, folder):
    """The pictures of recorded figures. The same figures give the same bytes: texts stay texts, nothing has a date."""
    import matplotlib  # here, as only pictures need it
    import matplotlib.pyplot as plot

    matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "cost", "font.family": "sans-serif"})

    def picture(name, title, x_label, y_label, floor_label, cases, scale):
        figure, axes = plot.subplots(figsize=(8.8, 3.9))
        for side, label, style in (("instructions", "this library", "o-"), ("floor", floor_label, "s--")):
            axes.plot(list(cases), [recorded[case][side] for case in cases.values()], style, label=label)
        axes.set(title=title, xlabel=x_label, ylabel=y_label, xscale=scale, yscale=scale)
        axes.set_xticks(list(cases))
        axes.set_ylim(bottom=0 if scale == "linear" else None)
        for axis in (axes.xaxis, axes.yaxis):
            axis.set_major_formatter("{x:,.0f}")
        axes.minorticks_off()
        axes.grid(axis="y")
        axes.legend()
        figure.tight_layout()
        figure.savefig(pathlib.Path(folder) / name, metadata={"Creator": None, "Date": None})

    picture("cost-chain-length.svg", "What a frame costs besides the work of the filters",
            "running filters in the chain (with none, the host copies the frame)", "instructions for a frame",
            "floor: the host calls alone", {length: f"length/{length}" for length in (0, 1, 4, 8, 16)}, "linear")
    picture("cost-registry-size.svg", "What one operation on a private filter costs",
            "private filters registered (the last one is meant)", "instructions for an operation",
            "floor: the names that must be asked",
            {size: f"operation/registry-{size}" for size in (1, 2, 10, 100, 1000)}, "log")


def recordable(figures):
    cameras = {case: {"instructions": entry["host"]["instructions"]} for case, entry in figures.items()
               if case.startswith("camera/")}
    library = {
        case: {
            "instructions": entry["library"]["instructions"],
            "floor": entry["floor"]["instructions"],
            "allocations": own_allocations(entry),
        }
        for case, entry in figures.items()
        if "instructions" in entry.get("library", {})
    }
    return {**library, **cameras}


def record(figures, path):
    rows = [f"  {json.dumps(case)}: {json.dumps(entry)}" for case, entry in recordable(figures).items()]
    pathlib.Path(path).write_text("{\n" + ",\n".join(rows) + "\n}\n", encoding="utf-8")


def check(figures, path):
    recorded = load(path)
    measured = recordable(figures)
    if "avx2" not in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8"):
        print("cameras are not compared: they are recorded on a processor with AVX2, which this one lacks")
        recorded, measured = ({case: each for case, each in both.items() if not case.startswith(CAMERAS)}
                              for both in (recorded, measured))
    faults = [f"{case}: recorded, but no longer measured" for case in recorded if case not in measured]
    for case, now in measured.items():
        if case not in recorded:
            faults.append(f"{case}: measured, but not recorded")
            continue
        before = recorded[case]
        allowed = CAMERA_GROWTH_ALLOWED if case.startswith(CAMERAS) else GROWTH_ALLOWED
        for key in now.keys() - {"floor"}:
            if now[key] > before[key] * (1 + allowed):
                faults.append(f"{case}: {now[key]:g} {key}, but {before[key]:g} are recorded")
    for fault in faults:
        print(f"  {fault}", file=sys.stderr)
    if faults:
        sys.exit(f"report: {len(faults)} figures are not as recorded; {LIMITS}")
    print(f"{len(measured)} cases as recorded: {LIMITS}")


def load(path):
    return json.loads(pathlib.Path(path).read_text(encoding="utf-8"))


def main(arguments):
    command, *rest = arguments
    if command == "merge":
        print(json.dumps(merge(*rest), indent=1))
    elif command == "table":
        table(load(rest[0]))
    elif command == "draw":
        draw(load(rest[0]), rest[1])
    elif command == "record":
        record(load(rest[0]), rest[1])
    elif command == "check":
        check(load(rest[0]), rest[1])
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main(sys.argv[1:] or [""])
