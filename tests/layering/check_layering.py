#!/usr/bin/env python3
"""Checks that no #include of the tree points up or sideways against the layers.

    check_layering.py SOURCE_DIR [--roots FILE]   check the tree at SOURCE_DIR
    check_layering.py --self-test                  check the checker on small trees of its own

The include roots come from the build: configuring writes them, with the
files each target compiles, to layering-roots.txt in the build folder
(cmake/LayeringRoots.cmake), and ctest passes that file. Without --roots the
newest SOURCE_DIR/build/*/layering-roots.txt is used; with none, configure a
build first (cmake --preset default).

Every .h, .cpp and .mm file under src/, tests/, bench/, fuzz/ and tools/ is
read, and every quoted include is looked up the way the compiler looks it up
for that file: the file's own folder first, then the include roots of the
targets that compile its folder's files, in order. Then:

  * an include that the file's roots cannot find, but that another library's
    root would, points up or sideways (tallycore reaching for a tallynet
    header, tallyctl for a screen);
  * an include that is found, but in a folder the file may not use, is refused
    the same way (a core test reaching a net test's helper through tests/);
  * inside src/core, a layer may include its own layer and those below it
    only (CORE_LAYERS, lowest first);
  * an include found nowhere is reported unless it names a header the build
    generates (ui_*.h from uic, *.moc and moc_*.cpp from moc, *_autogen/).

Each offence is one line, "file:line: #include "...": what is wrong [rule]",
and the exit status is 1 when there is any; 0 when there is none.

Standard library only: it runs before anything is built, on any machine that
has python3.
"""

import argparse
import os
import re
import subprocess
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path, PurePosixPath

# The folders whose sources are checked, relative to the source directory.
SCANNED_FOLDERS = ("src", "tests", "bench", "fuzz", "tools")
SOURCE_SUFFIXES = (".h", ".hpp", ".cpp", ".cc", ".mm")
# Never sources of the project, wherever they turn up.
SKIPPED_FOLDER_NAMES = {".git", "node_modules", "__pycache__"}

INCLUDE_LINE = re.compile(r'^\s*#\s*(?:include|import)\s*"([^"]+)"')


@dataclass(frozen=True)
class Component:
    """One folder that builds as one piece (a library, a program, a test
    folder) and the folders whose files it may include. Its include roots
    are not kept here: they are those the build gives the targets that
    compile its files (see Roots)."""

    folder: str
    name: str
    may_use: tuple


# src/ is one folder per library or program, and dependencies point down
# this list: core, net, widgets, then the two programs. The tests mirror
# src/ one to one, and a test folder may use the test helpers of the
# libraries its library may use.
COMPONENTS = (
    Component("src/core", "tallycore", ("src/core",)),
    Component("src/net", "tallynet", ("src/net", "src/core")),
    Component("src/widgets", "tallywidgets", ("src/widgets", "src/net", "src/core")),
    # mixdesk-tally's and tallyctl's own files include each other by bare
    # name, from their folder.
    Component("src/app", "mixdesk-tally", ("src/app", "src/widgets", "src/net", "src/core")),
    Component("src/cli", "tallyctl", ("src/cli", "src/net", "src/core")),
    Component("tests/support", "the shared test helpers", ("tests/support", "src/core")),
    Component("tests/core", "the tallycore tests", ("tests/core", "tests/support", "src/core")),
    Component(
        "tests/net",
        "the tallynet tests",
        ("tests/net", "tests/core", "tests/support", "src/net", "src/core"),
    ),
    Component(
        "tests/widgets",
        "the tallywidgets tests",
        ("tests/widgets", "tests/net", "tests/core", "tests/support", "src/widgets", "src/net", "src/core"),
    ),
    Component(
        "tests/app",
        "the mixdesk-tally tests",
        ("tests/app", "tests/net", "tests/core", "tests/support", "src/app", "src/net", "src/core"),
    ),
    Component(
        "tests/cli",
        "the tallyctl tests",
        ("tests/cli", "tests/net", "tests/core", "tests/support", "src/cli", "src/net", "src/core"),
    ),
    # Whole processes: they run the programs rather than link the screens.
    Component(
        "tests/e2e",
        "the whole-process tests",
        ("tests/e2e", "tests/tools", "tests/net", "tests/core", "tests/support", "src/net", "src/core"),
    ),
    Component(
        "tests/tools",
        "the stand-ins' tests",
        ("tests/tools", "tests/support", "tools/mixdesk", "tools/atem-standin", "tools/vmix-standin", "src/core"),
    ),
    Component("tests/install", "the installation tests", ("tests/install", "tests/support", "src/core")),
    Component("bench", "the benchmarks", ("bench", "tests/e2e", "tests/tools", "tests/support", "src/core")),
    Component("fuzz", "the fuzz targets", ("fuzz", "src/core")),
    Component("tools/mixdesk", "the Mixdesk stand-in", ("tools/mixdesk", "src/core")),
    Component("tools/atem-standin", "the ATEM stand-in", ("tools/atem-standin", "tools/common", "src/core")),
    Component("tools/vmix-standin", "the vMix stand-in", ("tools/vmix-standin", "tools/common")),
    Component("tools/common", "what the stand-ins share", ("tools/common",)),
)

ROOTS_FILE_NAME = "layering-roots.txt"
COMPILED_SUFFIXES = (".cpp", ".cc", ".mm")


@dataclass
class Roots:
    """The include roots of each component, tree-relative, in search order:
    those of every target that compiles a file of the component, in the order
    the build lists the targets, each root once. A component no target
    compiles in this build (the fuzz targets unless TALLY_BUILD_FUZZERS is
    on, the header-only tools/common) is given the roots of the components it
    may use, so its includes are still looked up as its users would."""

    by_folder: dict
    unbuilt: list


def read_roots(roots_file, source_dir):
    """The Roots of the tree from the file cmake/LayeringRoots.cmake writes."""
    source_dir = Path(source_dir).resolve()
    binary_dir = None
    found = {component.folder: [] for component in COMPONENTS}
    for line in Path(roots_file).read_text(encoding="utf-8").splitlines():
        fields = line.split("\t")
        if fields[0] == "#binary-dir" and len(fields) == 2:
            binary_dir = Path(fields[1]).resolve()
            continue
        if len(fields) != 4:
            continue
        _, folder, sources, roots = fields
        tree_roots = [relative for relative in (tree_path(root, source_dir, binary_dir) for root in roots.split(";")) if relative]
        for source in sources.split(";"):
            # Only what the target compiles: a header a target lists (so that
            # IDEs show it) is compiled with the roots of whoever includes it.
            if not source.endswith(COMPILED_SUFFIXES) or "$<" in source:
                continue
            relative = tree_path(Path(folder, source), source_dir, binary_dir)
            component = component_of(relative) if relative else None
            if component is None:
                continue
            for root in tree_roots:
                if root not in found[component.folder]:
                    found[component.folder].append(root)
    by_folder = {folder: tuple(roots) for folder, roots in found.items() if roots}
    unbuilt = [component.folder for component in COMPONENTS if component.folder not in by_folder]
    for folder in unbuilt:
        component = next(c for c in COMPONENTS if c.folder == folder)
        borrowed = []
        for used in component.may_use:
            for root in by_folder.get(used, ()):
                if root not in borrowed:
                    borrowed.append(root)
        by_folder[folder] = tuple(borrowed)
    return Roots(by_folder=by_folder, unbuilt=unbuilt)


def tree_path(path, source_dir, binary_dir):
    """path relative to the source tree as POSIX text, or None when it is
    outside it or inside the build folder (generated headers)."""
    resolved = Path(os.path.normpath(path))
    if binary_dir is not None and (resolved == binary_dir or binary_dir in resolved.parents):
        return None
    if resolved == source_dir:
        return "."
    if source_dir not in resolved.parents:
        return None
    return resolved.relative_to(source_dir).as_posix()


def default_roots_file(source_dir):
    """The newest layering-roots.txt of the tree's build folders, or None."""
    candidates = sorted(
        Path(source_dir).glob(f"build/*/{ROOTS_FILE_NAME}"), key=lambda path: path.stat().st_mtime, reverse=True
    )
    return candidates[0] if candidates else None


# The layers of tallycore, lowest first. A layer includes its own headers and
# those of the layers before it, never one after it. A layer's linux/ and mac/
# folders belong to it.
#
#   base      fatal stops, text, files, the log, user defaults: no layer below
#   secrets   the secret store and its private fall-back file
#   model     the light mode every layer above shares
#   link      the link to Mixdesk: its shots, the query and its decoder
#   tsl       the TSL UMD 3.1 and 5.0 codecs
#   atem      the ATEM switcher protocol: packets, commands, the client's
#             session and the switcher's picture
#   vmix      vMix's TCP API: its reader, XML and tally, the client's session
#   obs       OBS Studio's websocket protocol: the session, its sign-in and
#             the scene graph read into shots
#   mqtt      the MQTT topics, payloads, discovery documents, outbox, back-off
#   dmx       the lights as Art-Net and sACN levels
#   hardware  the USB tally box and its light command bytes
#   lock      the editing lock and its password
#   labels    how a lamp lays out its label
#   tallymap  the tally map and its file format (shots from link)
#   sources   where the shots come from (Mixdesk through link, a TSL table)
#   tally     the update cycle, which ties the lights to all of the above
#
# link, tsl, atem, vmix, obs, mqtt, dmx and hardware talk to the world outside and know nothing
# of each other; lock, labels and tallymap are the rules the screens and tallyctl
# work with; sources and tally put those pieces together.
CORE_LAYERS = ("base", "secrets", "model", "link", "tsl", "atem", "vmix", "obs", "mqtt", "dmx", "hardware", "lock", "labels", "tallymap", "sources", "tally")

# Offences known today, each with the reason it stands and what removes it.
# An entry names the including file and the include as written; delete the
# entry as soon as the include is gone (the check says so when one no longer
# matches anything).
ALLOWED = ()

GENERATED_NAME = re.compile(r"^(ui_.+\.h|moc_.+\.cpp|.+\.moc|qrc_.+\.cpp)$")


@dataclass(frozen=True)
class Offence:
    file: str
    line: int
    include: str
    problem: str
    rule: str

    def __str__(self):
        if not self.include:
            return f"{self.file}: {self.problem} [{self.rule}]"
        return f'{self.file}:{self.line}: #include "{self.include}": {self.problem} [{self.rule}]'


@dataclass
class Result:
    offences: list
    stale_allowances: list
    files: int = 0
    includes: int = 0
    allowed: int = 0


def component_of(path):
    """The component a tree-relative path belongs to (the longest folder that
    holds it), or None."""
    best = None
    for component in COMPONENTS:
        if path == component.folder or path.startswith(component.folder + "/"):
            if best is None or len(component.folder) > len(best.folder):
                best = component
    return best


def core_layer_of(path):
    parts = PurePosixPath(path).parts
    # src/core/<layer>/...; a file straight in src/core has no layer.
    return parts[2] if len(parts) > 3 else None


def is_generated(include):
    return "_autogen/" in include or GENERATED_NAME.match(PurePosixPath(include).name) is not None


def normalised(folder, include):
    """folder/include with "." and ".." worked out, or None when it leaves the
    source directory."""
    joined = os.path.normpath(os.path.join(folder, include)).replace(os.sep, "/")
    if joined == ".." or joined.startswith("../") or os.path.isabs(joined):
        return None
    return joined


def resolve(include, folders, files):
    for folder in folders:
        candidate = normalised(folder, include)
        if candidate is not None and candidate in files:
            return candidate
    return None


def list_tree(source_dir):
    """Every file under the scanned folders (for lookups, any kind of file),
    and the sources among them, as sorted tree-relative POSIX paths."""
    files = set()
    for top in SCANNED_FOLDERS:
        base = source_dir / top
        if not base.is_dir():
            continue
        for folder, subfolders, names in os.walk(base):
            subfolders[:] = sorted(
                name for name in subfolders if name not in SKIPPED_FOLDER_NAMES and not name.endswith("_autogen")
            )
            for name in names:
                files.add(Path(folder, name).relative_to(source_dir).as_posix())
    sources = sorted(path for path in files if path.endswith(SOURCE_SUFFIXES))
    return files, sources


def quoted_includes(path):
    # Line by line, without working out comments: an include inside a block
    # comment is checked as if it were real. That can only add an offence
    # line, never hide one.
    with open(path, encoding="utf-8", errors="replace") as source:
        for number, text in enumerate(source, start=1):
            match = INCLUDE_LINE.match(text)
            if match:
                yield number, match.group(1)


def all_roots(roots):
    """Every include root some target of the tree is given."""
    every = []
    for folder_roots in roots.by_folder.values():
        for root in folder_roots:
            if root not in every:
                every.append(root)
    return every


def check_include(path, number, include, component, files, roots):
    """The offence of one include, or None."""
    own_folder = str(PurePosixPath(path).parent)
    component_roots = roots.by_folder.get(component.folder, ())
    found = resolve(include, (own_folder,) + component_roots, files)
    seen_by = ", ".join(component_roots) or "no include roots"
    who = f"{component.name} ({component.folder})"
    if found is None:
        elsewhere = resolve(include, all_roots(roots), files)
        owner = component_of(elsewhere) if elsewhere is not None else None
        if elsewhere is not None and (owner is None or owner.folder not in component.may_use):
            owner_name = owner.folder if owner else "no component"
            return Offence(
                path,
                number,
                include,
                f"found only as {elsewhere}, in {owner_name}, which {who} may not use; "
                f"its include roots are {seen_by}",
                "library points up or sideways",
            )
        if elsewhere is None and is_generated(include):
            return None
        hint = f" (there is {elsewhere}, but not under these roots)" if elsewhere is not None else ""
        return Offence(
            path,
            number,
            include,
            f"no such file beside it or under {seen_by}, and not a header the build generates{hint}",
            "unresolvable include",
        )
    owner = component_of(found)
    if owner is None or owner.folder not in component.may_use:
        owner_name = owner.folder if owner else "a folder no component owns"
        return Offence(
            path,
            number,
            include,
            f"reaches {found}, in {owner_name}, which {who} may not use "
            f"(it may use {', '.join(component.may_use)})",
            "library points up or sideways",
        )
    if component.folder == "src/core" and owner.folder == "src/core":
        from_layer = core_layer_of(path)
        to_layer = core_layer_of(found)
        for layer, where in ((from_layer, path), (to_layer, found)):
            if layer not in CORE_LAYERS:
                return Offence(
                    path,
                    number,
                    include,
                    f"{where} is in no core layer; add its folder to CORE_LAYERS ({' < '.join(CORE_LAYERS)})",
                    "core layer order",
                )
        if CORE_LAYERS.index(to_layer) > CORE_LAYERS.index(from_layer):
            return Offence(
                path,
                number,
                include,
                f"core layer {from_layer} includes {to_layer}, which is above it "
                f"(lowest first: {' < '.join(CORE_LAYERS)})",
                "core layer order",
            )
    return None


def check(source_dir, roots, allowed=ALLOWED):
    source_dir = Path(source_dir)
    files, sources = list_tree(source_dir)
    result = Result(offences=[], stale_allowances=[])
    used_allowances = set()
    allowances = {(file, include): (file, include, reason) for file, include, reason in allowed}
    for path in sources:
        component = component_of(path)
        result.files += 1
        if component is None:
            result.offences.append(
                Offence(
                    path,
                    0,
                    "",
                    "this folder is not a library, program or test folder the layering knows; "
                    "add it to COMPONENTS with what it may use",
                    "unknown folder",
                )
            )
            continue
        for number, include in quoted_includes(source_dir / path):
            result.includes += 1
            offence = check_include(path, number, include, component, files, roots)
            if offence is None:
                continue
            if (path, include) in allowances:
                used_allowances.add((path, include))
                result.allowed += 1
                continue
            result.offences.append(offence)
    result.offences.extend(shared_folder_names(sources))
    result.stale_allowances = [entry for key, entry in allowances.items() if key not in used_allowances]
    return result


def shared_folder_names(sources):
    """An offence for every folder name that stands in more than one library
    of src/: "sources/X.h" would then name a different file depending on
    where it is written, and a header could be found in the wrong library
    by whoever sees both roots."""
    first_file = {}
    for path in sources:
        parts = PurePosixPath(path).parts
        if len(parts) > 3 and parts[0] == "src":
            first_file.setdefault(parts[2], {}).setdefault(parts[1], path)
    offences = []
    for name, libraries in sorted(first_file.items()):
        if len(libraries) < 2:
            continue
        where = ", ".join(f"src/{library}/{name}/" for library in sorted(libraries))
        offences.append(
            Offence(
                min(libraries.values()),
                0,
                "",
                f"the folder name {name}/ stands in more than one library ({where}); rename all but one",
                "folder name in two libraries",
            )
        )
    return offences


def run_check(source_dir, roots_file=None):
    source_dir = Path(source_dir)
    if not (source_dir / "src").is_dir():
        print(f"check_layering: {source_dir} has no src/ folder", file=sys.stderr)
        return 2
    if roots_file is None:
        roots_file = default_roots_file(source_dir)
        if roots_file is None:
            print(
                f"check_layering: no include roots: configure a build first (cmake --preset default writes "
                f"build/default/{ROOTS_FILE_NAME}), or name the file with --roots",
                file=sys.stderr,
            )
            return 2
        print(f"check_layering: include roots from {roots_file}")
    elif not Path(roots_file).is_file():
        print(f"check_layering: no such roots file: {roots_file}", file=sys.stderr)
        return 2
    roots = read_roots(roots_file, source_dir)
    for folder in roots.unbuilt:
        if any((source_dir / folder).glob("*")):
            borrowed = ", ".join(roots.by_folder[folder]) or "none"
            print(f"note: no target of this build compiles {folder}; its includes are looked up with the roots of "
                  f"what it may use ({borrowed})")
    result = check(source_dir, roots)
    for offence in result.offences:
        print(offence)
    for file, include, _ in result.stale_allowances:
        print(
            f'note: {file} no longer includes "{include}" the wrong way: '
            "delete its entry from ALLOWED in tests/layering/check_layering.py"
        )
    if result.stale_allowances:
        return 1
    if result.offences:
        print(
            f"check_layering: {len(result.offences)} include(s) break the layering "
            f"({result.includes} includes in {result.files} files checked)"
        )
        return 1
    print(
        f"check_layering: {result.includes} includes in {result.files} files follow the layering "
        f"({result.allowed} known offence(s) allowed)"
    )
    return 0


# The self-test: small trees whose offences are known, checked by running this
# script on them as ctest runs it on the real tree.

OFFENCE_LINE = re.compile(r'^(\S+):(\d+): #include "([^"]*)": .* \[([^\]]+)\]$')


def write_tree(root, files):
    for path, text in files.items():
        target = Path(root, path)
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(text, encoding="utf-8")


# The self-test tree's build, as cmake/LayeringRoots.cmake would write it:
# per target its folder, one source and its include roots.
SELF_TEST_TARGETS = (
    ("tallycore", "src/core", "tally/Cycle.cpp", ("src/core",)),
    ("tallynet", "src/net", "outputs/B.cpp", ("src/net", "src/core")),
    ("tallywidgets", "src/widgets", "mainwindow/W.cpp", ("src/widgets", "src/core", "src/net")),
    ("mixdesk-tally", "src/app", "main.cpp", ("src/widgets", "src/core", "src/net")),
    ("tallyctl", "src/cli", "main.cpp", ("src/net", "src/core")),
    ("cycle_tests", "tests/core", "tally/CycleTest.cpp", ("tests", "src/core")),
)


def write_roots_file(root, targets=SELF_TEST_TARGETS):
    build = Path(root, "build", "selftest")
    build.mkdir(parents=True, exist_ok=True)
    lines = [f"#binary-dir\t{build}"]
    for name, folder, source, roots in targets:
        absolute_roots = [str(Path(root, relative)) for relative in roots] + [str(build / f"{name}_autogen/include")]
        lines.append(f"{name}\t{Path(root, folder)}\t{source}\t{';'.join(absolute_roots)}")
    roots_file = build / ROOTS_FILE_NAME
    roots_file.write_text("\n".join(lines) + "\n", encoding="utf-8")
    return roots_file


def run_script_on(root, roots_file=None):
    arguments = [sys.executable, str(Path(__file__).resolve()), str(root)]
    if roots_file is not None:
        arguments += ["--roots", str(roots_file)]
    completed = subprocess.run(
        arguments,
        capture_output=True,
        text=True,
        check=False,
    )
    reported = set()
    for line in completed.stdout.splitlines():
        match = OFFENCE_LINE.match(line)
        if match:
            reported.add((match.group(1), int(match.group(2)), match.group(3), match.group(4)))
    return completed, reported


# A tree with one include of every kind that must pass, and exactly two that
# must not: a core header reaching a net header, and a core layer reaching up.
SELF_TEST_TREE = {
    "src/core/base/Text.h": '#pragma once\n\n#include "tally/Cycle.h"\n',
    "src/core/model/Mode.h": "#pragma once\n",
    "src/core/tally/Cycle.h": (
        '#pragma once\n\n#include "base/Text.h"\n#include "outputs/B.h"\n#include "model/Mode.h"\n#include <QList>\n'
    ),
    "src/core/tally/Cycle.cpp": '#include "tally/Cycle.h"\n#include "Cycle.h"\n',
    "src/net/outputs/B.h": '#pragma once\n\n#include "tally/Cycle.h"\n',
    "src/net/outputs/B.cpp": '#include "outputs/B.h"\n#include "model/Mode.h"\n',
    "src/widgets/mainwindow/W.h": '#pragma once\n\n#include "outputs/B.h"\n',
    "src/widgets/mainwindow/W.cpp": '#include "mainwindow/W.h"\n#include "ui_W.h"\n#include "tally/Cycle.h"\n',
    "src/app/main.cpp": '#include "mainwindow/W.h"\n',
    "src/cli/Cmd.h": '#pragma once\n\n#include "outputs/B.h"\n',
    "src/cli/main.cpp": '#include "Cmd.h"\n#include "base/Text.h"\n',
    "tests/core/tally/CycleTest.cpp": '#include "tally/Cycle.h"\n#include "CycleTest.moc"\n',
}
SELF_TEST_OFFENCES = {
    ("src/core/tally/Cycle.h", 4, "outputs/B.h", "library points up or sideways"),
    ("src/core/base/Text.h", 3, "tally/Cycle.h", "core layer order"),
}


def self_test():
    failures = []

    def expect(what, condition, detail):
        if not condition:
            failures.append(f"{what}: {detail}")

    with tempfile.TemporaryDirectory(prefix="layering-") as temporary:
        root = Path(temporary)
        write_tree(root, SELF_TEST_TREE)

        # Without a build, nothing is checked, and the message says how to
        # get one.
        completed, reported = run_script_on(root)
        what = "a tree that was never configured"
        expect(what, completed.returncode == 2, f"exit status {completed.returncode}, wanted 2\n{completed.stdout}")
        expect(what, "cmake --preset default" in completed.stderr, f"said {completed.stderr!r}")

        # The roots file in build/*/ is found without being named.
        roots_file = write_roots_file(root)
        completed, reported = run_script_on(root)
        what = "a core header including a net header, and base including tally"
        expect(what, completed.returncode == 1, f"exit status {completed.returncode}, wanted 1\n{completed.stdout}")
        expect(what, reported == SELF_TEST_OFFENCES, f"reported {sorted(reported)}\nwanted {sorted(SELF_TEST_OFFENCES)}")

        # The same offence through the check itself, with and without an
        # allowance for it; an allowance that matches nothing is stale.
        allowance = ("src/core/base/Text.h", "tally/Cycle.h", "self-test")
        unused = ("src/core/base/Text.h", "tally/Gone.h", "self-test")
        result = check(root, read_roots(roots_file, root), allowed=(allowance, unused))
        kept = {(o.file, o.line, o.include, o.rule) for o in result.offences}
        what = "an allowed offence"
        expect(what, kept == {("src/core/tally/Cycle.h", 4, "outputs/B.h", "library points up or sideways")}, f"kept {sorted(kept)}")
        expect(what, result.allowed == 1, f"{result.allowed} allowed, wanted 1")
        expect(what, result.stale_allowances == [unused], f"stale {result.stale_allowances}")

        # Both put right: the tree passes, so the check does not fail on
        # everything.
        write_tree(
            root,
            {
                "src/core/base/Text.h": "#pragma once\n",
                "src/core/tally/Cycle.h": '#pragma once\n\n#include "base/Text.h"\n#include "model/Mode.h"\n',
            },
        )
        completed, reported = run_script_on(root)
        what = "the tree put right"
        expect(what, completed.returncode == 0, f"exit status {completed.returncode}, wanted 0\n{completed.stdout}")
        expect(what, reported == set(), f"reported {sorted(reported)}")

        # tallyctl reaching for a screen, a missing header, and a header of
        # a folder the layering does not know.
        write_tree(
            root,
            {
                "src/cli/main.cpp": '#include "Cmd.h"\n#include "mainwindow/W.h"\n#include "gone/Missing.h"\n',
                "tests/core/tally/CycleTest.cpp": '#include "tally/Cycle.h"\n#include "outputs/B.h"\n',
            },
        )
        completed, reported = run_script_on(root)
        wanted = {
            ("src/cli/main.cpp", 2, "mainwindow/W.h", "library points up or sideways"),
            ("src/cli/main.cpp", 3, "gone/Missing.h", "unresolvable include"),
            ("tests/core/tally/CycleTest.cpp", 2, "outputs/B.h", "library points up or sideways"),
        }
        what = "tallyctl including a screen, a missing header, a core test including a net header"
        expect(what, completed.returncode == 1, f"exit status {completed.returncode}, wanted 1\n{completed.stdout}")
        expect(what, reported == wanted, f"reported {sorted(reported)}\nwanted {sorted(wanted)}")

        # The roots are the build's, not a copy: built without tallynet's
        # root, the window's include of a net header is found nowhere it
        # looks.
        narrower = tuple(
            (name, folder, source, tuple(r for r in roots if r != "src/net") if name == "tallywidgets" else roots)
            for name, folder, source, roots in SELF_TEST_TARGETS
        )
        completed, reported = run_script_on(root, write_roots_file(root, narrower))
        widget_offences = {entry for entry in reported if entry[0].startswith("src/widgets/")}
        wanted = {("src/widgets/mainwindow/W.h", 3, "outputs/B.h", "unresolvable include")}
        what = "tallywidgets built without tallynet's include root"
        expect(what, completed.returncode == 1, f"exit status {completed.returncode}, wanted 1\n{completed.stdout}")
        expect(what, widget_offences == wanted, f"reported {sorted(widget_offences)}\nwanted {sorted(wanted)}")

        # A folder name in two libraries: tally/ in tallynet as in tallycore.
        write_tree(root, {"src/net/tally/Relay.h": "#pragma once\n"})
        completed, _ = run_script_on(root, roots_file)
        line = "src/core/tally/Cycle.cpp: the folder name tally/ stands in more than one library"
        what = "a folder name in two libraries"
        expect(what, completed.returncode == 1, f"exit status {completed.returncode}, wanted 1\n{completed.stdout}")
        expect(what, line in completed.stdout and "[folder name in two libraries]" in completed.stdout, completed.stdout)

    if failures:
        for failure in failures:
            print(f"self-test failed: {failure}")
        return 1
    print("check_layering self-test: every planted offence reported, and nothing else")
    return 0


def main():
    parser = argparse.ArgumentParser(description="Checks that no #include points up or sideways against the layers.")
    parser.add_argument("source_dir", nargs="?", help="the top of the source tree")
    parser.add_argument("--self-test", action="store_true", help="check the checker on small trees of its own")
    parser.add_argument(
        "--roots",
        help=f"the {ROOTS_FILE_NAME} a configured build wrote (default: the newest SOURCE_DIR/build/*/{ROOTS_FILE_NAME})",
    )
    arguments = parser.parse_args()
    if arguments.self_test:
        return self_test()
    if arguments.source_dir is None:
        parser.error("give the source directory, or --self-test")
    return run_check(arguments.source_dir, arguments.roots)


if __name__ == "__main__":
    sys.exit(main())
