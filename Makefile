# Front door of the project. Every target sets up what it needs.
#   make deps    install the Debian packages (idempotent)
#   make         release build
#   make test    deps + release build + all tests
#   make check   the same tests under AddressSanitizer + UndefinedBehaviorSanitizer
#   make tsan    the tests under ThreadSanitizer
#   make bench   benchmarks (release)
#   make demo    render a generated test signal through a few settings

JOBS ?= $(shell nproc)
CMAKE_GEN := -G Ninja

.PHONY: all release debug tsan deps test check bench demo clean

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

bench: deps
	$(MAKE) release
	./build/release/bench/fenwoldrine-bench

demo: deps
	$(MAKE) release
	bash scripts/demo.sh build/release

clean:
	rm -rf build
