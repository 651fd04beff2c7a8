#!/usr/bin/python3
"""Generates the small faults that scripts/mutate puts into the code, from Clang's syntax tree.

mutants.py --self-test  -> shows on a small text that each operator makes the mutants it should; fails when one does not
"""
import collections
import hashlib
import json
import os
import pathlib
import pickle
import re
import shlex
import subprocess
import sys
import tempfile

from clang.cindex import CursorKind, Index, TranslationUnitLoadError

LONGEST_CONTEXT = 160
FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR,
             CursorKind.CONVERSION_FUNCTION, CursorKind.FUNCTION_TEMPLATE}
CLASSES = {CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL, CursorKind.CLASS_TEMPLATE}
# What is no behaviour of the program that is made.
SKIPPED = {CursorKind.STATIC_ASSERT, CursorKind.TEMPLATE_NON_TYPE_PARAMETER, CursorKind.TEMPLATE_TYPE_PARAMETER}
GUARDED = {CursorKind.RETURN_STMT, CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT}
BOUNDARIES = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "+": "-", "-": "+", "+=": "-=", "-=": "+="}
JUNCTIONS = {"&&": "||", "||": "&&"}
OPERATIONS = {CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR}
LOCK = re.compile(r"std::(lock_guard|unique_lock|scoped_lock|shared_lock)\b")
ORDER = re.compile(rb"memory_order(?:_|::)(acquire|release|acq_rel|seq_cst)$")
# Functions for which the order of their two arguments does not matter.
COMMUTATIVE = {"max", "min", "both", "either"}
ATOMIC_CALLS = {"load", "store", "exchange", "fetch_add", "fetch_sub"}
NUMBER = re.compile(rb"(0[xX][0-9a-fA-F']+|[0-9][0-9']*)([uUlL]*)$")
FRACTION = re.compile(rb"([0-9.']+(?:[eE][-+]?[0-9]+)?)([fFlL]?)$")

# `edits` are (first byte, byte behind the last, text in its place). The other fields but `line` are what the mutant is
# known by: they stay when code elsewhere changes. `number` counts mutants of one function that are alike but for place.
Mutant = collections.namedtuple("Mutant", "file function operator was becomes number line edits")


def identity(mutant):
    return mutant[:6]


def on_one_line(text):
    return " ".join(text.decode("utf-8").split())


def shortened(was, becomes):
    """Both texts; where they are long, what is around their difference."""
    if len(was) <= LONGEST_CONTEXT:
        return was, becomes
    if not becomes:
        return was[:LONGEST_CONTEXT] + "...", becomes
    same = len(os.path.commonprefix([was, becomes]))
    start = max(0, same - 40)
    stop = max(0, len(os.path.commonprefix([was[same:][::-1], becomes[same:][::-1]])) - 40)
    return was[start:len(was) - stop], becomes[start:len(becomes) - stop]


class FileMutants:
    """Gathers the mutants of one file while its syntax tree is walked."""

    def __init__(self, name, text):
        self.name, self.text = name, text
        self.found = {}  # edits -> mutant without its number, so that code seen twice counts once

    def numbered(self):
        alike = collections.Counter()
        for edits in sorted(self.found):
            mutant = self.found[edits]
            yield mutant._replace(number=alike[identity(mutant)])
            alike[identity(mutant)] += 1

    def span(self, node):
        extent = node.extent
        return extent.start.offset, extent.end.offset

    def text_of(self, node):
        first, end = self.span(node)
        return self.text[first:end]

    def follows(self, offset, what):
        """Whether the text at the offset begins, after blanks, with `what`."""
        return self.text[offset:offset + 80].lstrip().startswith(what)

    def add(self, operator, node, parents, *edits):
        """One more mutant. It is shown, and known, by the largest expression around it that is not too long."""
        first, end = self.span(node)
        if not (first < end <= len(self.text)):
            return
        for parent in reversed(parents):
            outer = self.span(parent)
            if not (parent.kind.is_expression() or parent.kind in (CursorKind.VAR_DECL, CursorKind.RETURN_STMT)) or \
               outer[1] - outer[0] > LONGEST_CONTEXT or not (outer[0] <= first and end <= outer[1]):
                break
            first, end = outer
        becomes, at = b"", first
        for start, stop, text in sorted(edits):
            if first <= start and stop <= end:
                becomes += self.text[at:start] + text
                at = stop
        becomes += self.text[at:end]
        self.found.setdefault(tuple(sorted(edits)), Mutant(
            self.name, enclosing_function(parents), operator, *shortened(on_one_line(self.text[first:end]), on_one_line(becomes)),
            0, self.text.count(b"\n", 0, edits[0][0]) + 1, tuple(sorted(edits))))

    # ---- The operators ------------------------------------------------------------------------------------------

    def visit(self, node, parents):
        kind = node.kind
        if kind in SKIPPED or kind.is_attribute():
            return
        children = list(node.get_children())
        if kind == CursorKind.COMPOUND_STMT:
            for child in children:
                self.drop(child, [*parents, node])
        elif kind in (CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.FOR_STMT, CursorKind.DO_STMT,
                      CursorKind.CXX_FOR_RANGE_STMT, CursorKind.CASE_STMT, CursorKind.DEFAULT_STMT):
            self.visit_control(node, children, parents)
        elif kind == CursorKind.CONDITIONAL_OPERATOR and children:
            self.negate(children[0], [*parents, node])
        elif kind == CursorKind.UNARY_OPERATOR and self.text_of(node).startswith(b"!"):
            self.negate(node, parents)
        elif kind in OPERATIONS and len(children) == 2:
            self.visit_operation(node, children, parents)
        elif kind == CursorKind.CALL_EXPR:
            self.visit_call(node, parents)
        elif kind == CursorKind.DECL_STMT and len(children) == 1:
            self.remove_lock(node, children[0], parents)
        else:
            self.change_constant(node, parents)
        for child in children:
            self.visit(child, [*parents, node])

    def drop(self, statement, parents):
        first, end = self.span(statement)
        if statement.kind in GUARDED:
            # Only the last statement guarded by an if; one that ends a function or a loop has nothing behind it.
            inside = parents[-1].kind == CursorKind.COMPOUND_STMT
            if parents[-1 - inside].kind != CursorKind.IF_STMT:
                return
        elif not statement.kind.is_expression() or statement.kind == CursorKind.CXX_STATIC_CAST_EXPR:
            return
        if self.follows(end, b";"):
            self.add("drop statement", statement, [*parents], (first, end, b""))

    def visit_control(self, node, children, parents):
        inner = [*parents, node]
        for child in children:
            _, end = self.span(child)
            if child.kind == CursorKind.COMPOUND_STMT:
                continue
            if self.follows(end, b";") and not self.in_head(node, child):
                self.drop(child, inner)
            elif node.kind == CursorKind.FOR_STMT and child.kind.is_expression() and self.follows(end, b";"):
                self.negate(child, inner)
            elif node.kind in (CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.DO_STMT) and self.follows(end, b")"):
                if child.kind.is_expression():
                    self.negate(child, inner)
                elif node.kind == CursorKind.IF_STMT and child.spelling:  # if (T name = ...)
                    self.add("negate condition", child, inner, (end, end, f"; !{child.spelling}".encode()))

    def in_head(self, node, child):
        """Whether a part of a statement stands between its parentheses."""
        first, _ = self.span(node)
        start, _ = self.span(child)
        head = self.text[first:start]
        return node.kind != CursorKind.DO_STMT and head.count(b"(") > head.count(b")")

    def negate(self, condition, parents):
        first, end = self.span(condition)
        text = self.text[first:end]
        inner = condition
        while inner.kind in (CursorKind.UNEXPOSED_EXPR, CursorKind.PAREN_EXPR):
            children = list(inner.get_children())
            if len(children) != 1:
                break
            inner = children[0]
        if self.operation(inner)[0] in (b"==", b"!="):  # its boundary says the same
            return
        if inner.kind == CursorKind.UNARY_OPERATOR and text.startswith(b"!") and self.span(inner) == (first, end):
            self.add("negate condition", condition, parents, (first, first + 1, b""))
        else:
            self.add("negate condition", condition, parents, (first, end, b"!(" + text + b")"))

    def operation(self, node, children=None):
        """(operator, where it stands) of an operation with two operands, one that a class defines included."""
        if node.kind == CursorKind.CALL_EXPR and node.spelling.startswith("operator"):
            children = [each for each in node.get_arguments() if each is not None]
        elif node.kind in OPERATIONS:
            children = children or list(node.get_children())
        if children is None or len(children) != 2:
            return b"", 0
        _, start = self.span(children[0])
        stop, _ = self.span(children[1])
        between = re.sub(rb"//[^\n]*", lambda match: b" " * len(match[0]), self.text[start:stop])
        return between.strip(), start + len(between) - len(between.lstrip())

    def visit_operation(self, node, children, parents):
        sign, at = self.operation(node, children)
        sign = sign.decode("utf-8", "replace")
        if sign in JUNCTIONS:
            for child in children:
                if self.operation(child)[0].decode() not in JUNCTIONS:
                    self.negate(child, [*parents, node])
            self.add("exchange and, or", node, parents, (at, at + 2, JUNCTIONS[sign].encode()))
        elif sign in BOUNDARIES:
            self.add("shift boundary", node, parents, (at, at + len(sign), BOUNDARIES[sign].encode()))

    def visit_call(self, node, parents):
        sign, at = self.operation(node)
        sign = sign.decode("utf-8", "replace")
        if sign in BOUNDARIES and "basic_string" not in node.type.get_canonical().spelling:
            self.add("shift boundary", node, parents, (at, at + len(sign), BOUNDARIES[sign].encode()))
        if node.spelling.startswith("operator") and node.spelling != "operator()":
            return
        first, end = self.span(node)
        arguments = [each for each in node.get_arguments() if each is not None]
        spans = [self.span(each) for each in arguments]
        # Default arguments have no text of their own.
        given = [i for i, span in enumerate(spans) if first <= span[0] < span[1] < end and span[0] > first]
        given = [i for i in given if all(spans[i][0] >= spans[j][1] for j in given if j < i)]
        for left in given:
            for right in given:
                if right > left and node.spelling not in COMMUTATIVE and types(arguments[left]) & types(arguments[right]):
                    texts = [self.text[slice(*spans[i])] for i in (left, right)]
                    if texts[0] != texts[1]:
                        self.add("swap arguments", node, parents, (*spans[left], texts[1]), (*spans[right], texts[0]))
                    break
        children = list(node.get_children())
        if node.spelling in ATOMIC_CALLS and children and children[0].kind == CursorKind.MEMBER_REF_EXPR and \
           b"memory_order" not in self.text[first:end] and self.text[end - 1:end] == b")":
            owner = next(children[0].get_children(), None)
            if owner is not None and re.search(r"std::(__)?atomic", owner.type.get_canonical().spelling):
                self.add("weaken order", node, parents,
                         (end - 1, end - 1, (b", " if given else b"") + b"std::memory_order_relaxed"))

    def change_constant(self, node, parents):
        first, end = self.span(node)
        text = self.text[first:end]
        kind = node.kind
        choices = []
        if kind == CursorKind.INTEGER_LITERAL and (match := NUMBER.match(text)):
            digits = match[1].replace(b"'", b"").decode()
            is_octal = len(digits) > 1 and digits[0] == "0" and digits.isdecimal()
            value = int(digits, 8 if is_octal else 0)
            more = f"{value + 1:#x}" if digits[:2].lower() == "0x" else str(value + 1)
            choices = [more.encode() + match[2]] + ([b"0" + match[2]] if value else [])
        elif kind == CursorKind.FLOATING_LITERAL and (match := FRACTION.match(text)):
            value = float(match[1].replace(b"'", b""))
            choices = [repr(2 * value if value else 1.0).encode() + match[2]]
        elif kind == CursorKind.CXX_BOOL_LITERAL_EXPR and text in (b"true", b"false"):
            choices = [b"false" if text == b"true" else b"true"]
        elif kind == CursorKind.CHARACTER_LITERAL and re.fullmatch(rb"'(\\.|[^\\])'", text):
            code = text[1] + 1
            code += code in b"'\\"
            choices = [b"'x'" if text[1:2] == b"\\" else b"'%c'" % code]
        elif kind == CursorKind.STRING_LITERAL and (match := re.match(rb'(u8)?R?"', text)):
            start = text.index(b"(") + 1 if b"R" in match[0] else match.end()
            choices = [text[:start] + b"X" + text[start:]]
        elif kind == CursorKind.DECL_REF_EXPR and node.referenced is not None and \
                node.referenced.kind == CursorKind.ENUM_CONSTANT_DECL:
            self.change_enumerator(node, parents, text)
        for choice in choices:
            self.add("change constant", node, parents, (first, end, choice))

    def change_enumerator(self, node, parents, text):
        if match := ORDER.search(text):
            first, _ = self.span(node)
            self.add("weaken order", node, parents, (first + match.start(1), first + match.end(1), b"relaxed"))
            return
        own = node.referenced
        if not text.endswith(own.spelling.encode()) or own.spelling.startswith("memory_order"):
            return
        constants = [each for each in own.semantic_parent.get_children() if each.kind == CursorKind.ENUM_CONSTANT_DECL]
        at = constants.index(own)
        other = next((each for each in constants[at + 1:] + constants[:at] if each.enum_value != own.enum_value), None)
        if other is not None:
            _, end = self.span(node)
            self.add("change constant", node, parents, (end - len(own.spelling), end, other.spelling.encode()))

    def remove_lock(self, statement, variable, parents):
        if variable.kind != CursorKind.VAR_DECL or not LOCK.match(re.sub(r"^const ", "", variable.type.get_canonical().spelling)):
            return
        function = next((each for each in reversed(parents) if each.kind in FUNCTIONS), None)
        edits = [(*self.span(statement), b"")]
        # lock.unlock() and the like cannot stay without the lock.
        for node in function.walk_preorder() if function is not None else ():
            if node.kind == CursorKind.CALL_EXPR and node.spelling in ("lock", "unlock"):
                user = next(next(node.get_children()).get_children(), None)
                if user is not None and user.referenced == variable:
                    edits.append((*self.span(node), b""))
        self.add("remove lock", statement, [*parents], *edits)


def types(argument):
    """The types of an argument before and after its conversion to the parameter's, without const and references."""
    found = set()
    while True:
        found.add(re.sub(r"^const |&+$", "", argument.type.get_canonical().spelling).strip())
        children = list(argument.get_children())
        if argument.kind != CursorKind.UNEXPOSED_EXPR or len(children) != 1:
            return found - {""}
        argument = children[0]


def enclosing_function(parents):
    """The class and name of the innermost function; the variable or type where there is none."""
    named = [each for each in parents if each.kind in FUNCTIONS] or \
            [each for each in parents if each.kind in CLASSES or each.kind == CursorKind.VAR_DECL][:1]
    if not named:
        return ""
    names, node = [named[-1].spelling], named[-1].semantic_parent
    while node is not None and node.kind in CLASSES:
        names.insert(0, node.spelling)
        node = node.semantic_parent
    return "::".join(re.sub(r"<.*", "", name) for name in names)


# ---- Reading the sources --------------------------------------------------------------------------------------------


class Sources:
    """The translation units of a configured build, of a tree of the project's sources with these headers."""

    def __init__(self, tree, build, kept, headers):
        self.tree, self.build, self.kept = pathlib.Path(tree).resolve(), pathlib.Path(build), pathlib.Path(kept)
        self.commands = {}  # a source may be compiled for several targets: the first counts
        for entry in json.loads((self.build / "compile_commands.json").read_text(encoding="utf-8")):
            path = pathlib.Path(entry["file"])
            if self.tree in path.parents:
                self.commands.setdefault(path.relative_to(self.tree).as_posix(), entry)
        clang = subprocess.run(["clang-14", "-print-resource-dir"], capture_output=True, text=True, check=True)
        self.resource_dir = clang.stdout.strip()
        # What every unit may depend on: this program and the headers.
        self.common = b"".join(pathlib.Path(path).read_bytes() for path in [__file__, *headers])

    def units_for(self, name):
        """The units to look for a file in, the likeliest first."""
        if name in self.commands:
            return [name]
        path = pathlib.PurePosixPath(name)
        top = "/".join(path.parts[:2]) if path.parts[0] != "src" else "src"
        units = [unit for unit in sorted(self.commands) if unit.startswith(top + "/")]

        def includes(unit):
            return path.name in (self.tree / unit).read_text(encoding="utf-8")
        return sorted(units, key=lambda unit: (pathlib.PurePosixPath(unit).stem != path.stem, not includes(unit)))

    def parse(self, unit):
        entry = self.commands[unit]
        words = shlex.split(entry["command"])
        words = words[next(i for i, word in enumerate(words) if re.search(r"(clang|g)\+\+[-0-9]*$", word)) + 1:]
        arguments, skip = [], False
        for word in words:
            if skip or word in ("-o", "-include", "-c", entry["file"]):  # what is included is a precompiled header
                skip = word in ("-o", "-include") and not skip
                continue
            if not word.startswith("-Werror"):  # GCC knows other warnings
                arguments.append(word)
        try:
            parsed = Index.create().parse(str(self.tree / unit), args=[*arguments, "-resource-dir", self.resource_dir])
        except TranslationUnitLoadError as error:
            raise SystemExit(f"mutate: {unit}: cannot be parsed: {error}") from error
        wrong = [str(each) for each in parsed.diagnostics if each.severity >= each.Error]
        if wrong:
            raise SystemExit(f"mutate: {unit}: cannot be parsed: {wrong[0]}")
        return parsed

    def mutants_of_unit(self, unit):
        """{file: its mutants} for those files of the tree that the unit consists of. Parsing is slow: kept."""
        key = hashlib.sha256(self.common + self.commands[unit]["command"].encode() + (self.tree / unit).read_bytes())
        kept = self.kept / key.hexdigest()
        if not kept.is_file():
            found = self.walk(unit)
            kept.parent.mkdir(exist_ok=True)
            new = kept.with_suffix(f".{os.getpid()}")
            new.write_bytes(pickle.dumps(found))
            new.rename(kept)
            return found
        return pickle.loads(kept.read_bytes())

    def walk(self, unit):
        files = {}  # path as Clang tells it -> its mutants; None for files outside of the tree

        def file_of(path):
            if path not in files:
                resolved = pathlib.Path(path).resolve()
                is_inside = self.tree in resolved.parents
                files[path] = FileMutants(resolved.relative_to(self.tree).as_posix(), resolved.read_bytes()) if is_inside else None
            return files[path]
        parsed = self.parse(unit)
        for include in parsed.get_includes():
            file_of(include.include.name)
        for node in parsed.cursor.get_children():
            if node.location.file is not None and file_of(node.location.file.name):
                file_of(node.location.file.name).visit(node, [])
        return {each.name: list(each.numbered()) for each in files.values() if each}


def mutants_of(sources, names, read):
    """The mutants of the named files, ordered by file and place. `read` reads several units."""
    found = {}
    for likeliest in (True, False):
        missing = set(names) - set(found)
        units = {unit for name in missing for unit in sources.units_for(name)[:1 if likeliest else None]}
        for result in read(sorted(units)):
            for name, mutants in result.items():
                found.setdefault(name, mutants)
    return [mutant for name in sorted(set(names) & set(found)) for mutant in found[name]]


# ---- The check of this program ---------------------------------------------------------------------------------------

SAMPLE = """
#include <atomic>
#include <mutex>
enum Colour { red, green };
void use(int, int, Colour, const char*, double, bool);
int read(int);
std::atomic<int> count;
std::mutex mutex;
int sample(int a, int b, const char* text) {
  static_assert(sizeof(int) > 3, "no behaviour");
  const std::lock_guard<std::mutex> lock(mutex);
  if (a < b && text) return 1;
  while (a == 16) {
    ++a;
    if (!b) break;
  }
  use(a, b, red, "text", 0.25, true);
  if (count.load(std::memory_order_acquire) || count.load() > 3) throw 2;
  for (int i = 0; i < b; ++i) a += i;
  return a > 'b' ? read(a - b) : read(0x1F);
}
struct Sample {
  void late() {
    std::unique_lock<std::mutex> lock(mutex);
    lock.unlock();
    last = read(last);
  }
  int last = 7;
};
"""
EXPECTED = {
    ("drop statement", "++a", ""), ("drop statement", "return 1", ""), ("drop statement", "break", ""),
    ("drop statement", 'use(a, b, red, "text", 0.25, true)', ""), ("drop statement", "throw 2", ""),
    ("drop statement", "a += i", ""), ("drop statement", "last = read(last)", ""), ("drop statement", "lock.unlock()", ""),
    ("negate condition", "a < b && text", "!(a < b && text)"), ("negate condition", "a < b && text", "!(a < b) && text"),
    ("negate condition", "a < b && text", "a < b && !(text)"), ("negate condition", "!b", "b"),
    ("negate condition", "i < b", "!(i < b)"),
    ("exchange and, or", "a < b && text", "a < b || text"),
    ("shift boundary", "a < b && text", "a <= b && text"), ("shift boundary", "a == 16", "a != 16"),
    ("shift boundary", "i < b", "i <= b"), ("shift boundary", "a += i", "a -= i"),
    ("change constant", "a == 16", "a == 17"), ("change constant", "a == 16", "a == 0"),
    ("change constant", "return 1", "return 2"), ("change constant", "return 1", "return 0"),
    ("change constant", "throw 2", "throw 3"), ("change constant", "throw 2", "throw 0"),
    ("change constant", "int i = 0", "int i = 1"), ("change constant", "7", "8"), ("change constant", "7", "0"),
    ("remove lock", "const std::lock_guard<std::mutex> lock(mutex);", ""),
    ("remove lock", "std::unique_lock<std::mutex> lock(mutex);", ""),
}
CALL = 'use(a, b, red, "text", 0.25, true)'
EXPECTED |= {(operator, CALL, CALL.replace(was, becomes)) for operator, was, becomes in [
    ("swap arguments", "a, b", "b, a"), ("change constant", "red", "green"), ("change constant", '"text"', '"Xtext"'),
    ("change constant", "0.25", "0.5"), ("change constant", "true", "false")]}
WAIT = "count.load(std::memory_order_acquire) || count.load() > 3"
EXPECTED |= {(operator, WAIT, WAIT.replace(was, becomes)) for operator, was, becomes in [
    ("weaken order", "_acquire", "_relaxed"), ("weaken order", "load()", "load(std::memory_order_relaxed)"),
    ("exchange and, or", "||", "&&"), ("shift boundary", "> 3", ">= 3"), ("change constant", "3", "4"),
    ("change constant", "3", "0"), ("negate condition", WAIT, f"!({WAIT})"),
    ("negate condition", "count.load(std::memory_order_acquire)", "!(count.load(std::memory_order_acquire))"),
    ("negate condition", "count.load() > 3", "!(count.load() > 3)")]}
CHOICE = "return a > 'b' ? read(a - b) : read(0x1F)"
EXPECTED |= {(operator, CHOICE, CHOICE.replace(was, becomes)) for operator, was, becomes in [
    ("shift boundary", ">", ">="), ("shift boundary", "-", "+"), ("change constant", "'b'", "'c'"),
    ("change constant", "0x1F", "0x20"), ("change constant", "0x1F", "0"), ("negate condition", "a > 'b'", "!(a > 'b')")]}


def self_test():
    with tempfile.TemporaryDirectory() as folder:
        tree = pathlib.Path(folder).resolve()
        (tree / "src").mkdir()
        (tree / "src" / "Sample.cpp").write_text(SAMPLE, encoding="utf-8")
        command = {"directory": folder, "file": str(tree / "src" / "Sample.cpp"), "command": "clang++ -std=c++17"}
        (tree / "compile_commands.json").write_text(json.dumps([command]), encoding="utf-8")
        sources = Sources(tree, tree, tree / "kept", [])
        mutants = mutants_of(sources, ["src/Sample.cpp"], lambda units: map(sources.mutants_of_unit, units))
    made = {(each.operator, each.was, each.becomes) for each in mutants}
    for kind, ones in (("missing", EXPECTED - made), ("not expected", made - EXPECTED)):
        for operator, was, becomes in sorted(ones):
            print(f"mutants: {kind}: {operator}: {was}  ->  {becomes}", file=sys.stderr)
    late = {each.function for each in mutants if "last" in each.was}
    if late != {"Sample::late"} or len(set(map(identity, mutants))) != len(mutants):
        sys.exit(f"mutants: names are wrong: {late}, or two mutants share one")
    print(f"{len(made)} mutants of the sample")
    return 0 if made == EXPECTED else 1


if __name__ == "__main__":
    if sys.argv[1:] != ["--self-test"]:
        sys.exit(__doc__)
    sys.exit(self_test())
