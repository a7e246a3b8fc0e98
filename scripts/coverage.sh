#!/usr/bin/env bash
# Runs the test suite of a coverage build (FW_COVERAGE=ON) from fresh
# counters and prints line and branch coverage per source folder, the
# filter and processing core (dsp/, core/, state/) first, into
# BUILD/summary.txt as well.
#   scripts/coverage.sh BUILD_DIR [JOBS] [--report-only]
# --report-only sums the counters a run left, without running the tests.
set -euo pipefail
build="${1:?usage: scripts/coverage.sh BUILD_DIR [JOBS] [--report-only]}"
jobs="${2:-$(nproc)}"
run_tests=1
[ "${3:-}" = "--report-only" ] && run_tests=0
build="$(cd "$build" && pwd)"
# The sources the build was made from (the build may belong to another checkout).
root="$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$build/CMakeCache.txt")"
[ -n "$root" ] || { echo "coverage: $build is not a configured build" >&2; exit 1; }

if [ "$run_tests" = 1 ]; then
  find "$build" -name '*.gcda' -delete
  # The tests are run for their counts; one that fails only in this build (a
  # child process that cannot write its counters, say) is named, not fatal.
  if ! (cd "$build" && ctest -j "$jobs" -E lv2-ui-jalv --output-on-failure >"$build/coverage-tests.log" 2>&1); then
    echo "coverage: some tests failed in the coverage build (see $build/coverage-tests.log):" >&2
    sed -n '/The following tests FAILED/,/Errors while running/p' "$build/coverage-tests.log" >&2
  fi
fi

# Counters of code run by several threads at once can come out torn (a branch
# "taken -2"): gcovr is told to read past such lines.
gcovr --root "$root" --object-directory "$build" -j "$jobs" --gcov-ignore-parse-errors \
  --exclude "$root/tests/" --exclude "$root/bench/" --exclude "$build/" \
  --exclude-throw-branches --exclude-unreachable-branches \
  --json-summary "$build/coverage.json" >/dev/null

python3 - "$build/coverage.json" "$build/summary.txt" <<'PY'
import json, sys
files = json.load(open(sys.argv[1]))["files"]
order = ["dsp", "core", "state", "session", "effect", "formats", "tools", "gui/toolkit", "gui/editor"]
totals = {}
for f in files:
    name = f["filename"]
    folder = next((o for o in order if name.startswith(o + "/")), None)
    if folder is None:
        continue
    t = totals.setdefault(folder, [0, 0, 0, 0])
    t[0] += f["line_covered"]; t[1] += f["line_total"]
    t[2] += f["branch_covered"]; t[3] += f["branch_total"]
rows = ["coverage of the test suite: lines, branches (covered / total)"]
for folder in order:
    if folder in totals:
        lc, lt, bc, bt = totals[folder]
        rows.append(f"{folder + '/':14s} lines {100.0 * lc / max(lt, 1):5.1f}% ({lc}/{lt})"
                    f"   branches {100.0 * bc / max(bt, 1):5.1f}% ({bc}/{bt})")
core = [totals[f] for f in ("dsp", "core", "state") if f in totals]
if core:
    lc, lt, bc, bt = (sum(x[i] for x in core) for i in range(4))
    rows.append(f"{'dsp+core+state':14s} lines {100.0 * lc / max(lt, 1):5.1f}% ({lc}/{lt})"
                f"   branches {100.0 * bc / max(bt, 1):5.1f}% ({bc}/{bt})")
text = "\n".join(rows) + "\n"
print(text, end="")
open(sys.argv[2], "w").write(text)
PY
