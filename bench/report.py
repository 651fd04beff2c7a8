#!/usr/bin/env python3
"""What scripts/bench and scripts/check-cost do with the measurements.

report.py merge  CALLGRIND_DIR COUNTS [TIMES] -> figures as JSON on the standard output
report.py table  FIGURES                      -> the table
report.py draw   FIGURES IMAGES_DIR           -> the pictures
report.py record FIGURES RECORDED             -> writes the figures that later ones are held against
report.py check  FIGURES RECORDED             -> fails when a case costs more than they allow
"""
import json
import pathlib
import sys

GROWTH_ALLOWED = 0.03

# What the same work (a filter that does nothing) costs per filter and frame elsewhere: instructions by callgrind.
PEERS = [
    ("depth-camera SDK, processing blocks", 627, 1373),
    ("video filter graph, null filter", 904, 904),
    ("media framework, identity element", 1209, 1372),
]


def read_instructions(folder):
    """Instructions of each dump by its trigger, `case/side`."""
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
            figures.setdefault(case, {}).setdefault(side, {})["nanoseconds"] = round(run["real_time"], 1)
    return figures


def own_allocations(entry):
    """Those of the library: the floor makes the same host calls, so what the host allocates is in both."""
    return entry["library"]["allocations"] - entry["floor"]["allocations"]


def table(figures):
    def cell(entry, side, key):
        value = entry.get(side, {}).get(key)
        return "-" if value is None else f"{value:,.0f}"

    print(f"{'':34}  {'library':>29}  {'floor':>17}")
    print(f"{'case':34}  {'ns':>9} {'instr.':>10} {'allocs':>8}  {'ns':>9} {'instr.':>10}  {'instr. ratio':>12} {'above':>7}")
    for case, entry in figures.items():
        ratio = above = allocations = "-"
        if "instructions" in entry["library"]:
            ours, floor = entry["library"]["instructions"], entry["floor"]["instructions"]
            # A floor of a few instructions is the loop around nothing: no ratio.
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


def per_filter(figures, side, first=4, last=64):
    at = lambda length: figures[f"length/{length}"][side]["instructions"]
    return (at(last) - at(first)) / (last - first)


class Plot:
    """A chart with straight scales, or logarithmic ones."""

    LEFT, TOP, WIDTH, HEIGHT = 78, 58, 430, 270

    def __init__(self, title, x_label, y_label, x_range, y_range, logarithmic):
        import math

        self.scale = math.log10 if logarithmic else (lambda value: value)
        self.x_range, self.y_range = x_range, y_range
        self.parts = [
            '<svg xmlns="http://www.w3.org/2000/svg" width="880" height="390" viewBox="0 0 880 390" '
            'font-family="sans-serif" font-size="12" fill="#222">',
            '<rect width="880" height="390" fill="#fff"/>',
            f'<text x="{self.LEFT}" y="28" font-size="16">{title}</text>',
            f'<text x="{self.LEFT + self.WIDTH / 2}" y="{self.TOP + self.HEIGHT + 42}" text-anchor="middle">{x_label}</text>',
            f'<text x="{self.LEFT}" y="{self.TOP - 12}" fill="#555">{y_label}</text>',
        ]

    def x(self, value):
        low, high = map(self.scale, self.x_range)
        return self.LEFT + self.WIDTH * (self.scale(value) - low) / (high - low)

    def y(self, value):
        low, high = map(self.scale, self.y_range)
        return self.TOP + self.HEIGHT * (1 - (self.scale(value) - low) / (high - low))

    def ticks(self, x_values, y_values):
        for value in y_values:
            at = self.y(value)
            self.parts.append(
                f'<line x1="{self.LEFT}" x2="{self.LEFT + self.WIDTH}" y1="{at:.1f}" y2="{at:.1f}" stroke="#ddd"/>'
                f'<text x="{self.LEFT - 8}" y="{at + 4:.1f}" text-anchor="end">{value:,}</text>'
            )
        for value in x_values:
            self.parts.append(
                f'<text x="{self.x(value):.1f}" y="{self.TOP + self.HEIGHT + 20}" text-anchor="middle">{value:,}</text>'
            )

    def band(self, label, lower, upper, colour):
        """Two lines, given as points, the room between them, and a label at the end."""
        points = lower + upper[::-1]
        path = " ".join(f"{self.x(x):.1f},{self.y(y):.1f}" for x, y in points)
        self.parts.append(f'<polygon points="{path}" fill="{colour}" stroke="{colour}" opacity="0.35"/>')
        self.label(label, (lower[-1][0], (lower[-1][1] + upper[-1][1]) / 2), colour)

    def line(self, label, points, colour, dashes=""):
        path = " ".join(f"{self.x(x):.1f},{self.y(y):.1f}" for x, y in points)
        self.parts.append(
            f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2" stroke-dasharray="{dashes}"/>'
        )
        for x, y in points:
            self.parts.append(f'<circle cx="{self.x(x):.1f}" cy="{self.y(y):.1f}" r="3" fill="{colour}"/>')
        self.label(label, points[-1], colour)

    def label(self, text, point, colour):
        """At the end of a line, below the label before it if that is too near: give lines from top to bottom."""
        at = max(self.y(point[1]) + 4, getattr(self, "last_label", 0) + 15)
        self.last_label = at
        self.parts.append(f'<text x="{self.x(point[0]) + 9:.1f}" y="{at:.1f}" fill="{colour}">{text}</text>')

    def write(self, path):
        pathlib.Path(path).write_text("\n".join(self.parts + ["</svg>", ""]), encoding="utf-8")


def draw(figures, folder):
    pathlib.Path(folder).mkdir(parents=True, exist_ok=True)
    lengths = [0, 1, 4, 8, 16]
    plot = Plot("What a frame costs besides the work of the filters", "running filters in the chain",
                "instructions for a frame", (0, 16), (0, 24000), False)
    plot.ticks(lengths, range(0, 24001, 4000))
    for (name, low, high), colour in reversed(list(zip(PEERS, ["#b8860b", "#7b4fa3", "#b03a2e"]))):
        label = f"{name}: {low:,}" + (f" to {high:,}" if low != high else "")
        plot.band(label, [(0, 0), (16, 16 * low)], [(0, 0), (16, 16 * high)], colour)
    # With no filter at all the input is copied, by the host; both lines start there.
    for side, label, colour, dashes in (("library", "this library", "#1f6fb2", ""), ("floor", "floor: the host calls alone", "#333", "5 4")):
        points = [(length, figures[f"length/{length}"][side]["instructions"]) for length in lengths]
        plot.line(f"{label}: {per_filter(figures, side):.0f} a filter", points, colour, dashes)
    plot.write(pathlib.Path(folder) / "cost-chain-length.svg")

    sizes = [1, 2, 10, 100, 1000]
    plot = Plot("What one operation on a private filter costs", "private filters registered (the last one is meant)",
                "instructions for an operation", (1, 1000), (10, 100000), True)
    plot.ticks(sizes, [10, 100, 1000, 10000, 100000])
    for side, label, colour, dashes in (("library", "this library", "#1f6fb2", ""), ("floor", "floor: the names that must be asked", "#333", "5 4")):
        points = [(size, figures[f"operation/registry-{size}"][side]["instructions"]) for size in sizes]
        plot.line(label, points, colour, dashes)
    plot.write(pathlib.Path(folder) / "cost-registry-size.svg")


def recordable(figures):
    return {
        case: {
            "instructions": entry["library"]["instructions"],
            "floor": entry["floor"]["instructions"],
            "allocations": own_allocations(entry),
        }
        for case, entry in figures.items()
        if "instructions" in entry["library"]
    }


def record(figures, path):
    rows = [f"  {json.dumps(case)}: {json.dumps(entry)}" for case, entry in recordable(figures).items()]
    pathlib.Path(path).write_text("{\n" + ",\n".join(rows) + "\n}\n", encoding="utf-8")


def check(figures, path):
    recorded = load(path)
    measured = recordable(figures)
    faults = [f"{case}: recorded, but no longer measured" for case in recorded if case not in measured]
    for case, now in measured.items():
        if case not in recorded:
            faults.append(f"{case}: measured, but not recorded")
            continue
        before = recorded[case]
        for key in ("instructions", "allocations"):
            if now[key] > before[key] * (1 + GROWTH_ALLOWED):
                faults.append(f"{case}: {now[key]:g} {key}, but {before[key]:g} are recorded")
    for fault in faults:
        print(f"  {fault}", file=sys.stderr)
    if faults:
        sys.exit(f"report: {len(faults)} figures are not as recorded; growth of {GROWTH_ALLOWED:.0%} is allowed")
    print(f"{len(measured)} cases within {GROWTH_ALLOWED:.0%} of the recorded instructions and allocations")


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
