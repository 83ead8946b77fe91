"""The rules of the house that a compiler does not check. Each returns what it has to complain of, a line each."""

import functools
import re
import subprocess
import sys
from pathlib import Path

# ---- who may include whom ----

# Inside the module it goes one way; the three rooms in the middle do not know each other.
ROOMS = {
    "include": set(),
    "module/platform": set(),
    "module/base": {"module/platform"},
    "module/model": {"include", "module/platform", "module/base"},
    "module/topology": {"include", "module/platform", "module/base", "module/model"},
    "module/messages": {"include", "module/platform", "module/base", "module/model"},
    "module/output": {"include", "module/platform", "module/base", "module/model"},
    # The roof: the entry and the order of a cycle.
    "module": {
        "include",
        "module/platform",
        "module/base",
        "module/model",
        "module/topology",
        "module/messages",
        "module/output",
    },
}
# Around it. Of the module these know what the gateway knows; only tests and benchmarks look into its rooms.
AROUND = {
    # What everything around the module reads its files with; knows their formats and nothing of the module.
    "reader": set(),
    "history": {"reader"},
    "serve": {"reader", "history"},
    "cli": {"reader", "history", "serve"},
    # What stands in for a gateway. The world of a mesh knows no files, sockets or clocks, and nobody who does.
    "lab/common": {"reader"},
    "lab/world": {"lab/common"},
    "lab/moment": {"lab/world", "reader"},
    "lab/mapd": {"module/platform", "lab/common"},
    "lab/host": {"include", "module/platform", "lab/common"},
    "lab/mesh": {"lab/common", "lab/world", "lab/mapd"},
    "lab/replay": {"lab/common", "lab/host", "reader"},
    "lab/rest": {"cli"},
    # Its command.
    "lab": {"lab/common", "lab/world", "lab/mesh", "lab/replay"},
    "fuzz": {"include", "module/platform", "fuzz", "tests/support", "lab/common", "lab/world", "reader", "cli"},
    "bench": set(ROOMS) | {"bench", "tests/support", "reader", "history", "lab/world", "lab/moment"},
    "tests": set(ROOMS)
    | {"reader", "history", "serve", "cli", "tests", "tests/support"}
    | {"lab/common", "lab/host", "lab/world", "lab/moment", "lab/mapd", "lab/mesh", "lab/replay"},
}
ALLOWED = {**ROOMS, **AROUND}

SOURCES = (".h", ".c", ".cpp")
PUBLIC_HEADER = "qo1905.h"
GENERATED = {"exports.h"}  # made of module/qo1905.map

# What needs the C++ runtime library, which a router does not have.
RUNTIME_HEADERS = re.compile(
    r"^(string|vector|map|set|list|deque|iostream|ostream|istream|sstream|fstream|functional|thread|mutex|regex"
    r"|unordered_\w+|filesystem|condition_variable|future|locale)$"
)


def sources(root, folder):
    base = root / folder
    return sorted(path for path in base.rglob("*") if path.suffix in SOURCES) if base.is_dir() else []


def room_of(path):
    """The longest folder of the table that a path from the root lies in; none for what no rule is about."""
    parts = Path(path).parent.parts
    for length in range(len(parts), 0, -1):
        folder = "/".join(parts[:length])
        if folder in ALLOWED or folder == "tests/support":
            return folder
    return None


def included(text):
    return re.findall(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', text, re.MULTILINE)


def check_includes(root):
    for folder in ["include", "module", *AROUND]:
        for path in sources(root, folder):
            name = path.relative_to(root).as_posix()
            room = room_of(name)
            allowed = ALLOWED["tests" if room == "tests/support" else room]
            for kind, header in included(path.read_text()):
                if kind == "<":
                    yield from check_system_header(name, header)
                    continue
                if header in GENERATED:
                    continue
                other = "include" if header == PUBLIC_HEADER else room_of(header)
                if other != room and other not in allowed:
                    yield f"{name}: {room}/ may not include {header}"


def check_system_header(name, header):
    if not name.startswith("module/"):
        return
    if header.startswith("json-c/") and name != "module/base/json.cpp":
        yield f"{name}: only module/base/json.cpp knows json-c, not <{header}>"
    if RUNTIME_HEADERS.match(header):
        yield f"{name}: <{header}> needs the C++ runtime library"


def check_commands(root):
    for path in sources(root, "module"):
        name = path.relative_to(root).as_posix()
        if name != "module/base/shell.cpp" and re.search(r"\b(system|popen|execl?p?v?e?)[ \t\n]*\(", code_of(path)):
            yield f"{name}: runs a command past module/base/shell.cpp"


def code_of(path):
    """A source without its comments and literals."""
    return re.sub(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', "", path.read_text(), flags=re.DOTALL)


# ---- who may call whom ----

# The public header names every export, so an include alone does not show who calls whom.
DEFINED = "TDBRGVW"


@functools.cache
def listing(nm, path):
    return subprocess.run([nm, "-g", path], check=True, capture_output=True, text=True).stdout


def symbols(objects, nm):
    """(room, name, is defined) of every symbol with external linkage, of the object files that a list names."""
    for path in Path(objects).read_text().split():
        room = room_of(path[path.rindex("/module/") + 1 :])
        for line in listing(nm, path).splitlines():
            kind, name = line.split()[-2:]
            if kind in DEFINED + "U":
                yield room, name, kind != "U"


def check_calls(objects, nm):
    found = list(symbols(objects, nm))
    if not any(is_defined for _, _, is_defined in found):
        yield f"{objects}: no symbols of the module's rooms"
    home = {}
    for room, name, is_defined in found:
        if is_defined and name not in home:
            home[name] = room
    for room, name, is_defined in sorted(set(found)):
        other = home.get(name, room)
        if not is_defined and other != room and other not in ROOMS[room]:
            yield f"{room}/ may not call {name} of {other}/"


# ---- nothing is left out ----

# Sources of the module without a test file of their own, and where they are tested instead.
UNMIRRORED = {
    "module/model/agents.cpp": "a variable; topology/agent_count_test.cpp",
    "module/model/al_table.cpp": "model/list_test.cpp, table_build_test.cpp",
    "module/topology/entry_trace.cpp": "topology/dump_entry_test.cpp, against a file of the whole trace",
    "module/messages/stations.cpp": "messages/sender_test.cpp, in the report",
}
# Test files of the module that mirror no source, and what they are about.
WITHOUT_SOURCE = {
    "tests/module/bad_input_test.cpp": "bad dumps and reports, through a whole cycle",
    "tests/module/hostile_test.cpp": "what hostile input may cost, through a whole cycle",
    "tests/module/output/golden_test.cpp": "whole meshes against files written by hand",
    "tests/module/messages/shell_safety_test.cpp": "every text that reaches a shell, through a real one",
    "tests/module/topology/reported_rate_test.cpp": "rates, from the reports to the table",
}


def check_mirror(root):
    for path in sources(root, "module"):
        name = path.relative_to(root).as_posix()
        if path.suffix != ".cpp":
            continue
        mirrored = (root / "tests" / name).with_name(path.stem + "_test.cpp").exists()
        if mirrored == (name in UNMIRRORED):
            yield f"{name}: " + ("stands in the list of exceptions, but has a test" if mirrored else "has no test file")
    for path in sources(root, "tests/module"):
        name = path.relative_to(root).as_posix()
        mirrored = (root / "module" / path.relative_to(root / "tests/module")).with_name(
            path.stem.removesuffix("_test") + ".cpp"
        )
        if mirrored.exists() == (name in WITHOUT_SOURCE):
            yield f"{name}: " + ("stands in the list of exceptions" if mirrored.exists() else "mirrors no source")
    for name in [*UNMIRRORED, *WITHOUT_SOURCE]:
        if not (root / name).exists():
            yield f"{name}: is in a list of exceptions, but not there"


def check_built(root):
    for build_file, folder, pattern in [
        ("CMakeLists.txt", "module", "*.cpp"),
        ("tests/CMakeLists.txt", "tests", "*_test.cpp"),
    ]:
        # Once per line or between others, but never behind a comment's sign.
        words = set(re.sub(r"#[^\n]*", "", (root / build_file).read_text()).replace(")", " ").split())
        for path in sorted((root / folder).rglob(pattern)):
            name = path.relative_to((root / build_file).parent).as_posix()
            if name not in words:
                yield f"{path.relative_to(root).as_posix()}: is not built"


# ---- what the pages say ----

SOURCE_IN_PAGE = re.compile(r"`([\w.-]+/[\w./-]*\.(?:h|c|cpp|sh|py|map|cmake|ld))`")
FOLDER_IN_PAGE = re.compile(
    r"`((?:\.ci|bench|cmake|docs|fuzz|include|lab|module|reader|cli|viewer|packaging|tests)/[\w./-]*)`"
)


def check_pages(root):
    readme = (root / "README.md").read_text()
    for page in [root / "README.md", *sorted((root / "docs").glob("*.md"))]:
        text = page.read_text()
        for name in sorted({*SOURCE_IN_PAGE.findall(text), *FOLDER_IN_PAGE.findall(text)}):
            if not (root / name).exists():
                yield f"{page.relative_to(root).as_posix()}: names {name}, which is not there"
    table = set(re.findall(r"^\| `([\w/]+)/` \|", readme, re.MULTILINE))
    folders = {path.name for path in root.iterdir() if path.is_dir() and not path.name.startswith((".", "build"))}
    folders |= {f"module/{path.name}" for path in (root / "module").iterdir() if path.is_dir()}
    for name in sorted(folders - table):
        yield f"README.md: the table of folders has no row for {name}/"
    for name in sorted(table - folders):
        yield f"README.md: the table of folders has a row for {name}/, which is not there"


def check(root, objects, nm):
    root = Path(root)
    yield from check_includes(root)
    yield from check_commands(root)
    yield from check_calls(objects, nm)
    yield from check_mirror(root)
    yield from check_built(root)
    yield from check_pages(root)


def main():
    complaints = list(check(*sys.argv[1:4]))
    print("\n".join(complaints))
    sys.exit(1 if complaints else 0)


if __name__ == "__main__":
    main()
