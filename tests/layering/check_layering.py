#!/usr/bin/env python3
"""Checks that no #include of the tree points up or sideways against the layers.

    check_layering.py SOURCE_DIR     check the tree at SOURCE_DIR
    check_layering.py --self-test    check the checker on small trees of its own

Every .h, .cpp and .mm file under src/, tests/, bench/, fuzz/ and tools/ is
read, and every quoted include is looked up the way the compiler looks it up
for that file: the file's own folder first, then the include roots its target
is given, in order. Then:

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
    folder): the include roots its targets are given, in the order the
    compiler searches them, and the folders whose files it may include."""

    folder: str
    name: str
    roots: tuple
    may_use: tuple


# The roots follow the CMake files: a target's own include folders come first,
# then those of the libraries it links, in link order. src/ is one folder per
# library or program, and dependencies point down this list: core, net,
# widgets, then the two programs. The tests mirror src/ one to one, and a test
# folder may use the test helpers of the libraries its library may use.
COMPONENTS = (
    Component("src/core", "tallycore", ("src/core",), ("src/core",)),
    Component("src/net", "tallynet", ("src/net", "src/core"), ("src/net", "src/core")),
    Component(
        "src/widgets",
        "tallywidgets",
        ("src/widgets", "src/core", "src/net"),
        ("src/widgets", "src/net", "src/core"),
    ),
    # mixdesk-tally's own files include each other by bare name, from their folder.
    Component(
        "src/app",
        "mixdesk-tally",
        ("src/widgets", "src/core", "src/net"),
        ("src/app", "src/widgets", "src/net", "src/core"),
    ),
    # tallyctl's own files include each other by bare name, from their folder.
    Component("src/cli", "tallyctl", ("src/net", "src/core"), ("src/cli", "src/net", "src/core")),
    Component("tests/support", "the shared test helpers", ("tests", "src/core"), ("tests/support", "src/core")),
    Component(
        "tests/core",
        "the tallycore tests",
        ("tests", "src/core"),
        ("tests/core", "tests/support", "src/core"),
    ),
    Component(
        "tests/net",
        "the tallynet tests",
        ("tests", "src/core", "src/net"),
        ("tests/net", "tests/core", "tests/support", "src/net", "src/core"),
    ),
    Component(
        "tests/widgets",
        "the tallywidgets tests",
        ("tests", "src/widgets", "src/core", "src/net"),
        ("tests/widgets", "tests/net", "tests/core", "tests/support", "src/widgets", "src/net", "src/core"),
    ),
    Component(
        "tests/app",
        "the mixdesk-tally tests",
        ("src/app", "tests", "src/core", "src/net"),
        ("tests/app", "tests/net", "tests/core", "tests/support", "src/app", "src/net", "src/core"),
    ),
    Component(
        "tests/cli",
        "the tallyctl tests",
        ("src/cli", "tests", "src/core", "src/net"),
        ("tests/cli", "tests/net", "tests/core", "tests/support", "src/cli", "src/net", "src/core"),
    ),
    # Whole processes: they run the programs rather than link the screens.
    Component(
        "tests/e2e",
        "the whole-process tests",
        ("tests", "src/core", "src/net"),
        ("tests/e2e", "tests/tools", "tests/net", "tests/core", "tests/support", "src/net", "src/core"),
    ),
    Component(
        "tests/tools",
        "the stand-ins' tests",
        ("tools/mixdesk", "tools/atem-standin", "tools/vmix-standin", "tests", "src/core"),
        ("tests/tools", "tests/support", "tools/mixdesk", "tools/atem-standin", "tools/vmix-standin", "src/core"),
    ),
    Component(
        "tests/install",
        "the installation tests",
        ("tests", "src/core"),
        ("tests/install", "tests/support", "src/core"),
    ),
    Component(
        "bench",
        "the benchmarks",
        ("src/core", "tests"),
        ("bench", "tests/e2e", "tests/tools", "tests/support", "src/core"),
    ),
    Component("fuzz", "the fuzz targets", ("src/core",), ("fuzz", "src/core")),
    Component("tools/mixdesk", "the Mixdesk stand-in", ("tools/mixdesk", "src/core"), ("tools/mixdesk", "src/core")),
    Component(
        "tools/atem-standin",
        "the ATEM stand-in",
        ("tools/atem-standin", "tools/common", "src/core"),
        ("tools/atem-standin", "tools/common", "src/core"),
    ),
    Component(
        "tools/vmix-standin",
        "the vMix stand-in",
        ("tools/vmix-standin", "tools/common"),
        ("tools/vmix-standin", "tools/common"),
    ),
    Component("tools/common", "what the stand-ins share", ("tools/common",), ("tools/common",)),
)

# The layers of tallycore, lowest first. A layer includes its own headers and
# those of the layers before it, never one after it. A layer's linux/ and mac/
# folders belong to it.
#
#   base      fatal stops, text, files, the log, user defaults: no layer below
#   model     the light mode every layer above shares
#   link      the link to Mixdesk: its shots, the query and its decoder
#   tsl       the TSL UMD 3.1 and 5.0 codecs
#   atem      the ATEM switcher protocol: packets, commands, the client's
#             session and the switcher's picture
#   vmix      vMix's TCP API: its reader, XML and tally, the client's session
#   mqtt      the MQTT topics, payloads, discovery documents, outbox, back-off
#   dmx       the lights as Art-Net and sACN levels
#   hardware  the USB tally box and its light command bytes
#   lock      the editing lock and its password
#   lamps     how a lamp lays out its label
#   tallymap  the tally map and its file format (shots from link)
#   sources   where the shots come from (Mixdesk through link, a TSL table)
#   tally     the update cycle, which ties the lights to all of the above
#
# link, tsl, atem, vmix, mqtt, dmx and hardware talk to the world outside and know nothing
# of each other; lock, lamps and tallymap are the rules the screens and tallyctl
# work with; sources and tally put those pieces together.
CORE_LAYERS = ("base", "model", "link", "tsl", "atem", "vmix", "mqtt", "dmx", "hardware", "lock", "lamps", "tallymap", "sources", "tally")

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


def all_roots():
    """Every include root some target of the tree is given."""
    roots = []
    for component in COMPONENTS:
        for root in component.roots:
            if root not in roots:
                roots.append(root)
    return roots


def check_include(path, number, include, component, files):
    """The offence of one include, or None."""
    own_folder = str(PurePosixPath(path).parent)
    found = resolve(include, (own_folder,) + component.roots, files)
    seen_by = ", ".join(component.roots)
    who = f"{component.name} ({component.folder})"
    if found is None:
        elsewhere = resolve(include, all_roots(), files)
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


def check(source_dir, allowed=ALLOWED):
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
                    "add it to COMPONENTS with its include roots",
                    "unknown folder",
                )
            )
            continue
        for number, include in quoted_includes(source_dir / path):
            result.includes += 1
            offence = check_include(path, number, include, component, files)
            if offence is None:
                continue
            if (path, include) in allowances:
                used_allowances.add((path, include))
                result.allowed += 1
                continue
            result.offences.append(offence)
    result.stale_allowances = [entry for key, entry in allowances.items() if key not in used_allowances]
    return result


def run_check(source_dir):
    source_dir = Path(source_dir)
    if not (source_dir / "src").is_dir():
        print(f"check_layering: {source_dir} has no src/ folder", file=sys.stderr)
        return 2
    result = check(source_dir)
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


def run_script_on(root):
    completed = subprocess.run(
        [sys.executable, str(Path(__file__).resolve()), str(root)],
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

        completed, reported = run_script_on(root)
        what = "a core header including a net header, and base including tally"
        expect(what, completed.returncode == 1, f"exit status {completed.returncode}, wanted 1\n{completed.stdout}")
        expect(what, reported == SELF_TEST_OFFENCES, f"reported {sorted(reported)}\nwanted {sorted(SELF_TEST_OFFENCES)}")

        # The same offence through the check itself, with and without an
        # allowance for it; an allowance that matches nothing is stale.
        allowance = ("src/core/base/Text.h", "tally/Cycle.h", "self-test")
        unused = ("src/core/base/Text.h", "tally/Gone.h", "self-test")
        result = check(root, allowed=(allowance, unused))
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
    arguments = parser.parse_args()
    if arguments.self_test:
        return self_test()
    if arguments.source_dir is None:
        parser.error("give the source directory, or --self-test")
    return run_check(arguments.source_dir)


if __name__ == "__main__":
    sys.exit(main())
