#!/usr/bin/env python3
"""Counts non-blank, non-comment lines of C++ per folder: the code folders,
tests/ by folder and bench/, then the ratio of tests and benchmarks to code.

    scripts/count-lines.py [ROOT]
"""
import os
import sys


def count(path):
    n = 0
    in_block = False
    with open(path, errors="replace") as f:
        for line in f:
            s = line.strip()
            if in_block:
                if "*/" not in s:
                    continue
                in_block = False
                s = s.split("*/", 1)[1].strip()
            if s.startswith("/*"):
                in_block = "*/" not in s
                continue
            if s and not s.startswith("//"):
                n += 1
    return n


def main():
    if len(sys.argv) > 1 and sys.argv[1] in ("-h", "--help"):
        sys.exit(__doc__.strip())
    root = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), ".."))
    if not os.path.isdir(root):
        sys.exit(f"count-lines: {root} is no folder")
    totals = {}
    for folder, dirs, files in os.walk(root):
        rel = os.path.relpath(folder, root)
        if rel.split(os.sep)[0] in ("build", ".git"):
            dirs[:] = []
            continue
        for name in files:
            if not name.endswith((".cpp", ".h")):
                continue
            parts = os.path.relpath(os.path.join(folder, name), root).split(os.sep)
            if parts[0] == "tests":
                key = "tests/" + (parts[1] if len(parts) > 2 else ".")
            elif parts[0] == "gui" and len(parts) > 2:
                key = "gui/" + parts[1]
            else:
                key = parts[0]
            totals[key] = totals.get(key, 0) + count(os.path.join(folder, name))
    for key in sorted(totals):
        print(f"{key:24s}{totals[key]:7d}")
    code = sum(v for k, v in totals.items() if not k.startswith("tests") and k != "bench")
    tests = sum(v for k, v in totals.items() if k.startswith("tests"))
    bench = totals.get("bench", 0)
    if code == 0:
        sys.exit(f"count-lines: no code under {root}")
    print(f"code {code}, tests {tests}, benchmarks {bench}: (tests + benchmarks) / code = {(tests + bench) / code:.2f}")


if __name__ == "__main__":
    main()
