# Entry points: `make demo`, `make test`, `make install PREFIX=...`.  Each
# installs the Debian packages it needs (scripts/install-deps), configures and
# builds first.  Build output goes to log files in the build folder; a failed
# step shows the end of its log.
PY        := /usr/bin/python3
BUILD     := build
ASAN      := build-asan
TSAN      := build-tsan
WIN64     := build-win64
FUZZ      := build-fuzz
LIBFUZZ   := build-libfuzzer
FUZZ_CASES ?= 1400000
FUZZ_SEED ?= 1
JOBS      := $(shell nproc)
PREFIX    ?= /usr/local

# The parts of the tree a first configuration leaves out unless asked for.
LEAN      := -DFENNEL_DSP_BUILD_TESTS=OFF -DFENNEL_DSP_BUILD_BENCH=OFF -DFENNEL_DSP_BUILD_WINDOWS_TESTS=OFF

# $(call logged,command,log file): runs the command with its output in the
# log; on failure prints the log's last lines and fails.
logged = env -u MAKEFLAGS -u MFLAGS -u MAKELEVEL $(1) >$(2) 2>&1 || { echo "failed: $(1)"; echo "--- last lines of $(2):"; tail -n 40 $(2); exit 1; }

.PHONY: all libs build build-asan build-tsan windows demo install test fuzz fuzz-generator bench clean

all: libs

# The two libraries only (what install, the Python package and the demo use).
# A build folder configured before keeps its settings.
libs:
	@scripts/install-deps demo
	@mkdir -p $(BUILD)
	@[ -f $(BUILD)/CMakeCache.txt ] || $(call logged,cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release $(LEAN),$(BUILD)/configure.log)
	@$(call logged,cmake --build $(BUILD) -j$(JOBS) --target fennel_dsp fennel_host,$(BUILD)/build.log)

# Everything the tests need, in the release build.
build:
	@scripts/install-deps test
	@mkdir -p $(BUILD)
	@$(call logged,cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release -DFENNEL_DSP_BUILD_TESTS=ON -DFENNEL_DSP_BUILD_EXAMPLES=ON,$(BUILD)/configure.log)
	@$(call logged,cmake --build $(BUILD) -j$(JOBS),$(BUILD)/build.log)

build-asan:
	@scripts/install-deps test
	@mkdir -p $(ASAN)
	@$(call logged,cmake -S . -B $(ASAN) -DCMAKE_BUILD_TYPE=Debug -DFENNEL_SANITIZE=ON -DFENNEL_DSP_BUILD_TESTS=ON -DFENNEL_DSP_BUILD_BENCH=OFF -DFENNEL_DSP_BUILD_EXAMPLES=OFF,$(ASAN)/configure.log)
	@$(call logged,cmake --build $(ASAN) -j$(JOBS),$(ASAN)/build.log)

# The concurrency tests under ThreadSanitizer.
build-tsan:
	@scripts/install-deps test
	@mkdir -p $(TSAN)
	@$(call logged,cmake -S . -B $(TSAN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFENNEL_TSAN=ON -DFENNEL_DSP_BUILD_TESTS=ON -DFENNEL_DSP_BUILD_BENCH=OFF -DFENNEL_DSP_BUILD_EXAMPLES=OFF -DFENNEL_DSP_BUILD_WINDOWS_TESTS=OFF,$(TSAN)/configure.log)
	@$(call logged,cmake --build $(TSAN) -j$(JOBS) --target fennel_tests,$(TSAN)/build.log)

# fennel_dsp.dll for 64-bit Windows, cross-built with MinGW-w64, with the
# stand-in engine modules and the test program its tests run under Wine.
windows:
	@scripts/install-deps test
	@mkdir -p $(WIN64)
	@$(call logged,cmake -S . -B $(WIN64) -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake -DCMAKE_BUILD_TYPE=Release,$(WIN64)/configure.log)
	@$(call logged,cmake --build $(WIN64) -j$(JOBS),$(WIN64)/build.log)

# The C demo and the Python gallery (PNG files in examples/gallery/).
demo: libs
	@grep -q '^FENNEL_DSP_BUILD_EXAMPLES:BOOL=ON' $(BUILD)/CMakeCache.txt || $(call logged,cmake -S . -B $(BUILD) -DFENNEL_DSP_BUILD_EXAMPLES=ON,$(BUILD)/configure.log)
	@$(call logged,cmake --build $(BUILD) -j$(JOBS) --target fennel_demo,$(BUILD)/build.log)
	@$(BUILD)/bin/fennel_demo
	@PYTHONPATH=python $(PY) examples/gallery.py

# Libraries, headers, the CMake package and the pkg-config file.
install: libs
	@$(call logged,cmake --install $(BUILD) --prefix $(PREFIX),$(BUILD)/install.log)
	@echo "installed into $(PREFIX)"

# The suites plan with FFTW_ESTIMATE: they make hundreds of distinct
# transforms, and results do not depend on the planner's effort (one test
# target runs the engine and 1D FFT tests with the default effort; the
# sanitizer's quarantine keeps freed memory, so the load/unload cycles count
# memory in the release build only).  The
# concurrency tests run again under ThreadSanitizer.  Then the packages as
# users consume them: an installed prefix from CMake, pkg-config and the
# README's C program, and `pip install .` in a fresh virtual environment.
test: build build-asan build-tsan windows
	@cd $(BUILD) && FENNEL_DSP_PLANNER=estimate ctest --output-on-failure -j$(JOBS)
	@cd $(ASAN) && FENNEL_DSP_PLANNER=estimate ASAN_OPTIONS=detect_leaks=1 ctest --output-on-failure -j$(JOBS) -E 'no_host|default_effort|unload_'
	@FENNEL_DSP_PLANNER=estimate TSAN_OPTIONS=halt_on_error=1 $(TSAN)/bin/fennel_tests --gtest_filter='*Concurrent*' --gtest_brief=1
	@FENNEL_DSP_PLANNER=estimate PYTHONPATH=python $(PY) -m pytest -q -p no:cacheprovider --doctest-modules tests/python python/fennel_dsp
	@tests/windows/run_wine_tests.sh $(BUILD) $(WIN64)
	@tests/consumers/check_install.sh $(BUILD)
	@tests/consumers/check_python_package.sh $(BUILD)

# Random bad-input cases over every export under ASan and UBSan, optimised:
# FUZZ_CASES in all (at least 10^5 per export family by default), split over
# $(JOBS) processes seeded FUZZ_SEED + 1, FUZZ_SEED + 2, ...  `make fuzz` runs
# them as a libFuzzer target built with clang (coverage-guided);
# `make fuzz-generator` runs the driver's own generator in a gcc build, then
# its fault sweep.  The driver's FENNEL_FUZZ_* variables pass through
# (FENNEL_FUZZ_ALIASING=0 make fuzz).
FUZZ_CMAKE = -DCMAKE_BUILD_TYPE=RelWithDebInfo -DFENNEL_SANITIZE=ON -DFENNEL_DSP_BUILD_TESTS=ON -DFENNEL_DSP_BUILD_BENCH=OFF -DFENNEL_DSP_BUILD_EXAMPLES=OFF -DFENNEL_DSP_BUILD_WINDOWS_TESTS=OFF
fuzz:
	@scripts/install-deps fuzz
	@mkdir -p $(LIBFUZZ)
	@$(call logged,cmake -S . -B $(LIBFUZZ) -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DFENNEL_LIBFUZZER=ON $(FUZZ_CMAKE),$(LIBFUZZ)/configure.log)
	@$(call logged,cmake --build $(LIBFUZZ) -j$(JOBS) --target fennel_fuzz,$(LIBFUZZ)/build.log)
	@pids=; for i in $$(seq 1 $(JOBS)); do \
	  FENNEL_DSP_PLANNER=estimate $(LIBFUZZ)/bin/fennel_fuzz -runs=$$(($(FUZZ_CASES) / $(JOBS))) -seed=$$(($(FUZZ_SEED) + $$i)) -max_len=256 >$(LIBFUZZ)/fuzz-$$i.log 2>&1 & pids="$$pids $$!"; \
	done; st=0; for p in $$pids; do wait $$p || st=1; done; \
	for i in $$(seq 1 $(JOBS)); do grep -h "cases per family\|Done\|violation\|ERROR" $(LIBFUZZ)/fuzz-$$i.log; done; \
	[ $$st = 0 ] || { echo "fuzz failed: see $(LIBFUZZ)/fuzz-*.log"; exit 1; }

fuzz-generator:
	@scripts/install-deps test
	@mkdir -p $(FUZZ)
	@$(call logged,cmake -S . -B $(FUZZ) $(FUZZ_CMAKE),$(FUZZ)/configure.log)
	@$(call logged,cmake --build $(FUZZ) -j$(JOBS) --target fennel_fuzz,$(FUZZ)/build.log)
	@pids=; for i in $$(seq 1 $(JOBS)); do \
	  FENNEL_DSP_PLANNER=estimate $(FUZZ)/bin/fennel_fuzz $$(($(FUZZ_CASES) / $(JOBS))) $$(($(FUZZ_SEED) + $$i)) 20000 & pids="$$pids $$!"; \
	done; st=0; for p in $$pids; do wait $$p || st=1; done; exit $$st

bench:
	@scripts/install-deps bench
	@mkdir -p $(BUILD)
	@$(call logged,cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release -DFENNEL_DSP_BUILD_BENCH=ON,$(BUILD)/configure.log)
	@$(call logged,cmake --build $(BUILD) -j$(JOBS),$(BUILD)/build.log)
	@for b in $(BUILD)/bin/bench_*; do $$b --benchmark_min_time=0.2; done
	@for p in bench/py_*.py; do PYTHONPATH=python $(PY) $$p; done

clean:
	rm -rf $(BUILD) $(ASAN) $(TSAN) $(WIN64) $(FUZZ) $(LIBFUZZ) build-python
