# Front door of the project. Every target sets up what it needs.
#   make deps    install the Debian packages (idempotent)
#   make         release build
#   make test    deps + release build + all tests
#   make check   the same tests under AddressSanitizer + UndefinedBehaviorSanitizer
#   make tsan    the tests under ThreadSanitizer
#   make coverage  the tests with gcov counters; line and branch coverage of dsp/, core/ and state/
#                  (and every folder) in build/coverage/summary.txt
#   make faults  each fault of scripts/faults.txt applied to a scratch copy, the suite run on it:
#                which tests catch which fault (build/faults/report.md)
#   make fuzz    the fuzzers (state chunks, preset folder, MIDI files, LV2 state) one after another,
#                FUZZ_SECONDS (default 60) in all, clang + ASan/UBSan
#   make bench   benchmarks (release)
#   make bench-deps   install the peer LV2 equalisers the LV2 benchmark measures against
#   make bench-peers  our LV2 plug-in against those peers (release)
#   make demo    render a generated test signal through a few settings
#   make screenshots  the editor drawn headless: main page, setup panel and wizard as PNGs
#                     in build/release/screenshots/
#   make install    release build; fenwoldrine-render to $(PREFIX)/bin, the LV2 bundle to $(LV2_DIR),
#                   the factory bank to the installation folder
#   make uninstall  removes the renderer, the LV2 bundle, Factory Bank.fwi and Presets/Factory/ again

JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 60
PREFIX ?= $(HOME)/.local
LV2_DIR ?= $(HOME)/.lv2
CMAKE_GEN := -G Ninja

.PHONY: all release debug tsan deps test check coverage faults bench bench-deps bench-peers demo screenshots fuzz clean install uninstall

all: release

deps:
	@bash scripts/deps.sh

build/release/build.ninja:
	cmake -S . -B build/release $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release

build/debug/build.ninja:
	cmake -S . -B build/debug $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DFW_SANITIZE=address

build/tsan/build.ninja:
	cmake -S . -B build/tsan $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFW_SANITIZE=thread

release: build/release/build.ninja
	cmake --build build/release -j $(JOBS)

debug: build/debug/build.ninja
	cmake --build build/debug -j $(JOBS)

test: deps
	$(MAKE) release
	cd build/release && ctest --output-on-failure -j $(JOBS)

check: deps
	$(MAKE) debug
	cd build/debug && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
		ctest --output-on-failure -j $(JOBS)

tsan: deps build/tsan/build.ninja
	cmake --build build/tsan -j $(JOBS)
	cd build/tsan && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 ctest --output-on-failure -j $(JOBS)

build/coverage/build.ninja:
	cmake -S . -B build/coverage $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DFW_COVERAGE=ON

coverage: deps build/coverage/build.ninja
	cmake --build build/coverage -j $(JOBS)
	bash scripts/coverage.sh build/coverage $(JOBS)

faults: deps
	python3 scripts/fault-check.py --jobs $(JOBS)

build/fuzz/build.ninja:
	CC=clang CXX=clang++ cmake -S . -B build/fuzz $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
		-DFW_SANITIZE=address -DFW_FUZZ=ON

# Each fuzzer runs for a share of FUZZ_SECONDS, from its seeds in tests/fuzz/seeds/<seeds>
# and the inputs it found before, kept in build/fuzz/corpus/<seeds>; a finding is written
# as build/fuzz/<name>-crash-* etc. and stops the run. The LV2 fuzzer also starts from the
# state chunk seeds.
FUZZERS := state:state preset:preset midi:midi lv2-state:lv2
FUZZ_SHARE = $(shell s=$$(( $(FUZZ_SECONDS) / 4 )); echo $$(( s > 0 ? s : 1 )))
fuzz: deps build/fuzz/build.ninja
	cmake --build build/fuzz -j $(JOBS) --target $(foreach f,$(FUZZERS),fenwoldrine-$(firstword $(subst :, ,$(f)))-fuzzer)
	@set -e; for f in $(FUZZERS); do \
		name=$${f%%:*}; seeds=$${f##*:}; extra=; \
		if [ $$seeds = lv2 ]; then extra=tests/fuzz/seeds/state; fi; \
		mkdir -p build/fuzz/corpus/$$seeds; \
		echo "== fenwoldrine-$$name-fuzzer, $(FUZZ_SHARE) s"; \
		ASAN_OPTIONS=detect_leaks=1 ./build/fuzz/tests/fuzz/fenwoldrine-$$name-fuzzer \
			-max_total_time=$(FUZZ_SHARE) -timeout=20 -rss_limit_mb=4096 -print_final_stats=1 \
			-artifact_prefix=build/fuzz/$$name- build/fuzz/corpus/$$seeds tests/fuzz/seeds/$$seeds $$extra; \
	done

screenshots: deps
	$(MAKE) release
	@mkdir -p build/release/screenshots
	@set -e; for page in main setup wizard; do \
		./build/release/tools/fenwoldrine-editor-preview build/release/screenshots/$$page.png --page $$page; \
		echo "build/release/screenshots/$$page.png"; \
	done

bench: deps
	$(MAKE) release
	./build/release/bench/fenwoldrine-bench
	./build/release/bench/fenwoldrine-editor-bench

bench-deps:
	@bash scripts/bench-deps.sh

bench-peers: deps
	$(MAKE) release
	./build/release/bench/lv2-peers/fenwoldrine-lv2-peers

demo: deps
	$(MAKE) release
	bash scripts/demo.sh build/release

# The installation folder the effect reads its banks and presets from: the
# stored value "Path" when the user has one, else $XDG_DATA_HOME (when
# absolute) or ~/.local/share, plus Kestrawn/Fenwoldrine.
FW_INSTALL_FOLDER = case "$$XDG_CONFIG_HOME" in /*) config="$$XDG_CONFIG_HOME" ;; *) config="$$HOME/.config" ;; esac; \
	case "$$XDG_DATA_HOME" in /*) base="$$XDG_DATA_HOME" ;; *) base="$$HOME/.local/share" ;; esac; \
	[ "$$base" != "/.local/share" ] || { echo "no home folder to install into" >&2; exit 1; }; \
	dest="$$base/Kestrawn/Fenwoldrine"; \
	if [ "$$(wc -c < "$$config/Kestrawn/Fenwoldrine/Path" 2>/dev/null || echo 0)" -ge 2 ]; then \
		dest="$$(cat "$$config/Kestrawn/Fenwoldrine/Path")"; dest="$${dest%/}"; fi

# A file the user already has (an edited preset, say) is left as it is.
install:
	$(MAKE) release
	install -d "$(PREFIX)/bin"
	install -m 755 build/release/tools/fenwoldrine-render "$(PREFIX)/bin/fenwoldrine-render"
	install -d "$(LV2_DIR)"
	rm -rf "$(LV2_DIR)/fenwoldrine.lv2"
	cp -r build/release/lv2/fenwoldrine.lv2 "$(LV2_DIR)/fenwoldrine.lv2"
	@$(FW_INSTALL_FOLDER); \
	mkdir -p "$$dest/Presets/Factory" || exit 1; \
	for f in "build/release/factory/Factory Bank.fwi" build/release/factory/Presets/Factory/*.fwi; do \
		to="$$dest/$${f#build/release/factory/}"; \
		if [ -e "$$to" ]; then echo "kept $$to"; else cp "$$f" "$$to" || exit 1; echo "installed $$to"; fi; \
	done

# Only what install put there: the user's Default Bank.fwi and own presets stay.
uninstall:
	rm -f "$(PREFIX)/bin/fenwoldrine-render"
	rm -rf "$(LV2_DIR)/fenwoldrine.lv2"
	@$(FW_INSTALL_FOLDER); \
	rm -f "$$dest/Factory Bank.fwi" && rm -rf "$$dest/Presets/Factory" && \
	echo "removed $$dest/Factory Bank.fwi and $$dest/Presets/Factory/"

clean:
	rm -rf build
