#!/usr/bin/env python3
"""Applies each fault of a list to a scratch copy of the tree, one at a time,
rebuilds, runs the whole test suite and records which tests catch the fault.

    scripts/fault-check.py [--faults scripts/faults.txt] [--only ID,ID...]
                           [--rev COMMIT] [--work build/faults] [--jobs N]
                           [--all] [--report FILE]

The scratch copy lives in WORK/src (the working tree as it stands, without
build/ and .git/, or the tree of COMMIT with --rev, so that the suite of an
earlier commit can be scored with today's list), its release build in
WORK/build; both are kept between runs so that only what changed is rebuilt.
The tree itself is never touched.

The suite stops at the first test that fails, which is named as the catcher;
with --all it runs to the end and every failing test is named.

A fault is "caught" when at least one test fails, "survived" when all pass,
"does not build" when the faulty code does not compile, and "not found" when
its text no longer occurs exactly once (the code moved on: the list needs a
look). The report (Markdown) lists every fault with the tests that caught it
and ends with the score and the survivors; the exit status is 0 when every
fault that applies was caught, 1 otherwise, 2 when the tree itself fails.

Fault list format: entries start with a line "## ID PATH", then one line that
says what the fault is, then "--- find" and "--- replace" blocks (each up to
the next marker; one final newline is not part of the text).
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def parse_faults(path):
    faults = []
    current = None
    block = None
    with open(path, encoding="utf-8") as f:
        for line in f:
            if line.startswith("## "):
                parts = line[3:].split()
                if len(parts) != 2:
                    sys.exit(f"{path}: bad entry line: {line.rstrip()}")
                current = {"id": parts[0], "path": parts[1], "what": "", "find": "", "replace": ""}
                faults.append(current)
                block = "what"
                continue
            if current is None:
                continue  # comments before the first entry
            if line.startswith("--- find"):
                block = "find"
                continue
            if line.startswith("--- replace"):
                block = "replace"
                continue
            if block == "what":
                if line.strip():
                    current["what"] = (current["what"] + " " + line.strip()).strip()
            else:
                current[block] += line
    for fault in faults:
        for key in ("find", "replace"):
            if fault[key].endswith("\n"):
                fault[key] = fault[key][:-1]
        if not fault["find"] or fault["find"] == fault["replace"]:
            sys.exit(f"{path}: entry {fault['id']} has no fault to apply")
    ids = [fault["id"] for fault in faults]
    if len(set(ids)) != len(ids):
        sys.exit(f"{path}: ids must be unique")
    return faults


def run(command, cwd, log, timeout=None):
    with open(log, "w", encoding="utf-8") as out:
        try:
            return subprocess.run(command, cwd=cwd, stdout=out, stderr=subprocess.STDOUT, timeout=timeout).returncode
        except subprocess.TimeoutExpired:
            out.write("\n(timed out)\n")
            return -1


def sync(source, work, rev=""):
    os.makedirs(work, exist_ok=True)
    rsync = shutil.which("rsync")
    if not rsync:
        sys.exit("fault-check needs rsync (make deps installs it)")
    if rev:
        export = work + ".export"
        shutil.rmtree(export, ignore_errors=True)
        os.makedirs(export)
        archive = subprocess.run(["git", "-C", source, "archive", rev], stdout=subprocess.PIPE, check=True).stdout
        subprocess.run(["tar", "-x", "-C", export], input=archive, check=True)
        source = export
    # By content, stamping what differs with the time of the copy: the
    # scratch build then rebuilds exactly what changed, whatever the age of
    # the files it came from.
    subprocess.run([rsync, "-rlpD", "--checksum", "--delete", "--exclude", "/build", "--exclude", "/.git",
                    source + "/", work + "/"], check=True)


def failed_tests(log):
    names = []
    with open(log, encoding="utf-8", errors="replace") as f:
        text = f.read()
    marker = text.rfind("The following tests FAILED:")
    if marker >= 0:
        for line in text[marker:].splitlines()[1:]:
            m = re.match(r"\s*\d+ - (\S+)", line)
            if m:
                names.append(m.group(1))
    if not names and "(timed out)" in text:
        names.append("(the whole suite timed out)")
    return names


def build_step_that_failed(log):
    with open(log, encoding="utf-8", errors="replace") as f:
        text = f.read()
    if re.search(r"error:|undefined reference|ld returned", text):
        return ""
    m = re.search(r"^FAILED: (\S+)", text, re.M)
    return "(build step " + os.path.basename(m.group(1)) + ")" if m else ""


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--faults", default=os.path.join(ROOT, "scripts", "faults.txt"))
    parser.add_argument("--only", default="", help="comma-separated ids")
    parser.add_argument("--rev", default="", help="score the suite of this commit instead of the working tree")
    parser.add_argument("--work", default=os.path.join(ROOT, "build", "faults"))
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 2)
    parser.add_argument("--all", action="store_true", help="run the whole suite for every fault")
    # The smoke test in a real host window waits on the window and the audio
    # server: under the load of this run it can time out with no fault at all,
    # which would name it the catcher of whatever is applied.
    parser.add_argument("--exclude", default="lv2-ui-jalv", help="ctest -E pattern of tests left out")
    parser.add_argument("--report", default="")
    args = parser.parse_args()

    faults = parse_faults(args.faults)
    if args.only:
        wanted = set(args.only.split(","))
        unknown = wanted - {f["id"] for f in faults}
        if unknown:
            sys.exit("unknown ids: " + ", ".join(sorted(unknown)))
        faults = [f for f in faults if f["id"] in wanted]

    src = os.path.join(args.work, "src")
    build = os.path.join(args.work, "build")
    logs = os.path.join(args.work, "logs")
    os.makedirs(logs, exist_ok=True)
    sync(ROOT, src, args.rev)
    if not os.path.exists(os.path.join(build, "build.ninja")):
        if run(["cmake", "-S", src, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release"], ROOT,
               os.path.join(logs, "configure.log")) != 0:
            sys.exit("configuring the scratch build failed: see " + os.path.join(logs, "configure.log"))

    build_cmd = ["cmake", "--build", build, "-j", str(args.jobs)]
    test_cmd = ["ctest", "--test-dir", build, "-j", str(args.jobs), "--timeout", "300"]
    if args.exclude:
        test_cmd += ["-E", args.exclude]
    print("the tree as it stands ...", flush=True)
    if run(build_cmd, ROOT, os.path.join(logs, "clean-build.log")) != 0:
        print("the tree does not build: see " + os.path.join(logs, "clean-build.log"))
        return 2
    started = time.time()
    if run(test_cmd, ROOT, os.path.join(logs, "clean-test.log")) != 0:
        print("the tree fails its own tests: see " + os.path.join(logs, "clean-test.log"))
        return 2
    print(f"  passes ({time.time() - started:.0f} s of tests)", flush=True)

    results = []
    for fault in faults:
        path = os.path.join(src, fault["path"])
        try:
            with open(path, encoding="utf-8") as f:
                original = f.read()
        except OSError:
            original = ""
        if original.count(fault["find"]) != 1:
            results.append((fault, "not found", []))
            print(f"{fault['id']}: not found", flush=True)
            continue
        with open(path, "w", encoding="utf-8") as f:
            f.write(original.replace(fault["find"], fault["replace"]))
        try:
            log = os.path.join(logs, fault["id"])
            if run(build_cmd, ROOT, log + "-build.log") != 0:
                # A compiler or linker error: the fault is not valid code. Any
                # other failing step (a generator checking what it makes)
                # caught the fault at build time.
                step = build_step_that_failed(log + "-build.log")
                outcome, catchers = ("caught", [step]) if step else ("does not build", [])
            else:
                run(test_cmd + ([] if args.all else ["--stop-on-failure"]), ROOT, log + "-test.log", timeout=1800)
                catchers = failed_tests(log + "-test.log")
                outcome = "caught" if catchers else "survived"
        finally:
            with open(path, "w", encoding="utf-8") as f:
                f.write(original)
        results.append((fault, outcome, catchers))
        print(f"{fault['id']}: {outcome}" + (f" by {len(catchers)} tests" if catchers else ""), flush=True)

    applied = [r for r in results if r[1] in ("caught", "survived")]
    caught = [r for r in applied if r[1] == "caught"]
    lines = ["| fault | file | what | outcome | caught by |", "|---|---|---|---|---|"]
    for fault, outcome, catchers in results:
        shown = ", ".join(catchers[:4]) + (f" and {len(catchers) - 4} more" if len(catchers) > 4 else "")
        lines.append(f"| {fault['id']} | {fault['path']} | {fault['what']} | {outcome} | {shown} |")
    lines.append("")
    lines.append(f"caught {len(caught)} of {len(applied)} faults that apply")
    survivors = [r[0]["id"] for r in applied if r[1] == "survived"]
    if survivors:
        lines.append("survived: " + ", ".join(survivors))
    other = [f"{r[0]['id']} ({r[1]})" for r in results if r[1] not in ("caught", "survived")]
    if other:
        lines.append("not applied: " + ", ".join(other))
    report = "\n".join(lines) + "\n"
    print()
    print(report)
    with open(args.report or os.path.join(args.work, "report.md"), "w", encoding="utf-8") as f:
        f.write(report)
    return 0 if len(caught) == len(applied) else 1


if __name__ == "__main__":
    sys.exit(main())
