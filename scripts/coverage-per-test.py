#!/usr/bin/env python3
"""Which tests alone run which code: each test of a coverage build
(FW_COVERAGE=ON, see scripts/coverage.sh) is run by itself from fresh
counters, and the lines and branches it covers are recorded.

    scripts/coverage-per-test.py BUILD [--data FILE] [--folders dsp,core,state]
                                 [--rerun] [--exclude REGEX]

The counts are kept in FILE (default BUILD/per-test.json) after every test,
so an interrupted run goes on where it stopped; --rerun starts afresh.

The report names, per test body (the instances of a parameterised test count
as one), the lines and branches of the chosen folders that no other test
covers, and then a set of test bodies that could all go without a line or
branch of those folders losing its last test (picked largest first). Such a
test still may be the only one to check what it asserts: the list says where
to look, not what to delete; the fault list (scripts/fault-check.py) says
what the suite finds.
"""

import argparse
import collections
import glob
import json
import os
import re
import subprocess
import sys


def source_root(build):
    cache = open(os.path.join(build, "CMakeCache.txt"), encoding="utf-8").read()
    match = re.search(r"^CMAKE_HOME_DIRECTORY:INTERNAL=(.*)$", cache, re.M)
    if not match:
        sys.exit(f"{build} is not a configured build")
    return match.group(1)


def covered(build, root):
    """Lines and branches (throw edges left out) with a count, as
    'path:line' and 'path:line:edge', paths relative to the source root."""
    lines, branches = set(), set()
    for gcda in glob.glob(os.path.join(build, "**", "*.gcda"), recursive=True):
        folder, name = os.path.split(gcda)
        out = subprocess.run(["gcov", "-b", "--json-format", "--stdout", name], cwd=folder,
                             capture_output=True, text=True).stdout
        for document in filter(str.strip, out.splitlines()):
            for f in json.loads(document)["files"]:
                path = os.path.normpath(os.path.join(folder, f["file"]))
                if not path.startswith(root + os.sep):
                    continue
                rel = path[len(root) + 1:]
                if rel.startswith(("tests/", "bench/", "build")):
                    continue
                for line in f["lines"]:
                    if line["count"] > 0:
                        lines.add(f"{rel}:{line['line_number']}")
                    for edge, branch in enumerate(line["branches"]):
                        if branch["count"] > 0 and not branch.get("throw"):
                            branches.add(f"{rel}:{line['line_number']}:{edge}")
    return lines, branches


def test_body(name):
    """'Prefix/Suite.Test/Param' and 'Suite.Test' both give 'Suite.Test'."""
    return next((part for part in name.split("/") if "." in part), name)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build")
    parser.add_argument("--data", default="")
    parser.add_argument("--folders", default="dsp,core,state")
    parser.add_argument("--rerun", action="store_true")
    parser.add_argument("--exclude", default="lv2-ui-jalv", help="tests left out (regular expression)")
    args = parser.parse_args()

    build = os.path.abspath(args.build)
    root = source_root(build)
    data_path = args.data or os.path.join(build, "per-test.json")
    data = {} if args.rerun or not os.path.exists(data_path) else json.load(open(data_path))

    listing = subprocess.run(["ctest", "-N"], cwd=build, capture_output=True, text=True).stdout
    for number, name in re.findall(r"Test\s+#(\d+): (\S+)", listing):
        if name in data or re.search(args.exclude, name):
            continue
        for gcda in glob.glob(os.path.join(build, "**", "*.gcda"), recursive=True):
            os.remove(gcda)
        run = subprocess.run(["ctest", "-I", f"{number},{number}"], cwd=build, capture_output=True, text=True)
        lines, branches = covered(build, root)
        data[name] = {"passed": run.returncode == 0, "lines": sorted(lines), "branches": sorted(branches)}
        print(f"{number:>4} {name}: {len(lines)} lines, {len(branches)} branches", file=sys.stderr, flush=True)
        with open(data_path, "w") as f:
            json.dump(data, f)

    prefixes = tuple(folder.strip("/") + "/" for folder in args.folders.split(","))
    bodies = collections.defaultdict(lambda: (set(), set()))
    for name, d in data.items():
        lines, branches = bodies[test_body(name)]
        lines.update(x for x in d["lines"] if x.startswith(prefixes))
        branches.update(x for x in d["branches"] if x.startswith(prefixes))
    line_count = collections.Counter(x for lines, _ in bodies.values() for x in lines)
    branch_count = collections.Counter(x for _, branches in bodies.values() for x in branches)

    failed = sorted(name for name, d in data.items() if not d["passed"])
    if failed:
        print("failed in this build (their counts may be short): " + ", ".join(failed))
    print(f"{len(bodies)} test bodies; {len(line_count)} lines and {len(branch_count)} branches of "
          f"{', '.join(prefixes)} covered")
    print("\nonly covered by one test body (lines, branches):")
    for body, (lines, branches) in sorted(bodies.items()):
        own_lines = sum(1 for x in lines if line_count[x] == 1)
        own_branches = sum(1 for x in branches if branch_count[x] == 1)
        if own_lines or own_branches:
            print(f"  {body}: {own_lines}, {own_branches}")

    print("\ntogether removable without losing coverage (largest first):")
    for body, (lines, branches) in sorted(bodies.items(), key=lambda kv: -len(kv[1][0]) - len(kv[1][1])):
        if (lines or branches) and all(line_count[x] > 1 for x in lines) and \
                all(branch_count[x] > 1 for x in branches):
            line_count.subtract(lines)
            branch_count.subtract(branches)
            print(f"  {body}")


if __name__ == "__main__":
    main()
