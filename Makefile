# Front door of the project. Every target sets up what it needs.
#   make deps    install the Debian packages (idempotent)
#   make         release build
#   make test    deps + release build + all tests
#   make check   the same tests under AddressSanitizer + UndefinedBehaviorSanitizer
#   make tsan    the tests under ThreadSanitizer
#   make fuzz    the state chunk fuzzer for FUZZ_SECONDS (default 60), clang + ASan/UBSan
#   make bench   benchmarks (release)
#   make demo    render a generated test signal through a few settings

JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 60
CMAKE_GEN := -G Ninja

.PHONY: all release debug tsan deps test check bench demo fuzz clean

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

build/fuzz/build.ninja:
	CC=clang CXX=clang++ cmake -S . -B build/fuzz $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
		-DFW_SANITIZE=address -DFW_FUZZ=ON

# New inputs found go to build/fuzz/corpus; a finding is written as build/fuzz/crash-* etc.
fuzz: deps build/fuzz/build.ninja
	cmake --build build/fuzz --target fenwoldrine-state-fuzzer -j $(JOBS)
	mkdir -p build/fuzz/corpus
	ASAN_OPTIONS=detect_leaks=1 ./build/fuzz/tests/fuzz/fenwoldrine-state-fuzzer \
		-max_total_time=$(FUZZ_SECONDS) -timeout=20 -rss_limit_mb=4096 -print_final_stats=1 \
		-artifact_prefix=build/fuzz/ build/fuzz/corpus tests/fuzz/seeds

bench: deps
	$(MAKE) release
	./build/release/bench/fenwoldrine-bench

demo: deps
	$(MAKE) release
	bash scripts/demo.sh build/release

clean:
	rm -rf build
