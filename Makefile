# Two commands do everything on a fresh machine:
#   make demo   builds and runs the demo host against the bundled sandbox SDK
#   make test   builds and passes the test suite
# Extra: make asan-test (the suite under ASan+UBSan), make bench (benchmarks),
#        make soak (30 minutes per bridge mode; SOAK_MINUTES shortens it),
#        make install (PREFIX=/usr/local by default; DESTDIR honoured),
#        make package (a .tar.gz and a .deb of the installed tree in $(BUILD)/packages),
#        make fuzz (libFuzzer targets, FUZZ_SECONDS each; clang),
#        make demo-gui (the desktop meeting client; needs a display).
BUILD      ?= build
ASAN_BUILD ?= build-asan
FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 600
JOBS       ?= $(shell nproc)
CTEST_ARGS ?=
PREFIX     ?= /usr/local

.PHONY: setup configure build demo demo-gui test asan-test bench soak fuzz install package clean

setup:
	@bash scripts/setup.sh

$(BUILD)/build.ninja: | setup
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null

build: setup $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

demo: build
	@bash scripts/run-demo.sh $(BUILD)

# The desktop meeting client (Qt 6) on the sandbox, with a scenario that keeps
# the meeting alive. Needs a display; to check it without one:
#   QT_QPA_PLATFORM=offscreen DEMO_GUI_SECONDS=20 make demo-gui
demo-gui: build
	@bash scripts/run-demo-gui.sh $(BUILD)

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS) $(CTEST_ARGS)

$(ASAN_BUILD)/build.ninja: | setup
	cmake -S . -B $(ASAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DMORVANTA_SANITIZE=ON -DMORVANTA_BUILD_BENCH=OFF >/dev/null

asan-test: setup $(ASAN_BUILD)/build.ninja
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 \
	  LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan.supp:print_suppressions=0 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1:suppressions=$(CURDIR)/tests/ubsan.supp \
	  ctest --output-on-failure -j $(JOBS) $(CTEST_ARGS)

bench: build
	@bash scripts/run-bench.sh $(BUILD)

# The fuzz build compiles the library with clang, instrumented for coverage,
# ASan and UBSan, and builds the fuzz targets alone (no tests, no benchmarks).
$(FUZZ_BUILD)/build.ninja: | setup
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMORVANTA_FUZZ=ON \
	  -DMORVANTA_BUILD_TESTS=OFF -DMORVANTA_BUILD_BENCH=OFF >/dev/null

fuzz: setup $(FUZZ_BUILD)/build.ninja
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target fuzz_answers fuzz_events fuzz_call_args
	@bash scripts/run-fuzz.sh $(FUZZ_BUILD) $(FUZZ_SECONDS)

# Not part of make test or make bench: it runs for an hour by default.
soak: setup $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS) --target soak
	cd $(BUILD)/bin && ./soak > $(CURDIR)/$(BUILD)/soak.log

install: build
	DESTDIR="$(DESTDIR)" cmake --install $(BUILD) --prefix "$(PREFIX)"

package: build
	cd $(BUILD) && cpack

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD)
