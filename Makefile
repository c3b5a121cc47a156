# Entry points: `make demo` and `make test`.  Each installs the Debian
# packages it needs, configures and builds first.
PY        := /usr/bin/python3
BUILD     := build
ASAN      := build-asan
WIN64     := build-win64
JOBS      := $(shell nproc)

.PHONY: all deps build build-asan windows demo test bench clean

all: build

deps:
	@scripts/install-deps

build: deps
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release >/dev/null
	@cmake --build $(BUILD) -j$(JOBS)

build-asan: deps
	@cmake -S . -B $(ASAN) -DCMAKE_BUILD_TYPE=Debug -DFENNEL_SANITIZE=ON -DFENNEL_BENCH=OFF >/dev/null
	@cmake --build $(ASAN) -j$(JOBS)

# fennel_dsp.dll for 64-bit Windows, cross-built with MinGW-w64, with the
# stand-in engine modules and the test program its tests run under Wine.
windows: deps
	@cmake -S . -B $(WIN64) -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake -DCMAKE_BUILD_TYPE=Release >/dev/null
	@cmake --build $(WIN64) -j$(JOBS)

demo: build
	@$(BUILD)/bin/fennel_demo
	@FENNEL_DSP_LIB_DIR=$(BUILD)/lib PYTHONPATH=python $(PY) examples/tour.py

# The suites plan with FFTW_ESTIMATE: they make hundreds of distinct
# transforms, and results do not depend on the planner's effort (one test
# target runs the engine and 1D FFT tests with the default effort).
test: build build-asan windows
	@cd $(BUILD) && FENNEL_DSP_PLANNER=estimate ctest --output-on-failure -j$(JOBS)
	@cd $(ASAN) && FENNEL_DSP_PLANNER=estimate ASAN_OPTIONS=detect_leaks=1 ctest --output-on-failure -j$(JOBS) -E 'no_host|default_effort'
	@FENNEL_DSP_PLANNER=estimate FENNEL_DSP_LIB_DIR=$(BUILD)/lib PYTHONPATH=python $(PY) -m pytest -q -p no:cacheprovider --doctest-modules tests/python python/fennel_dsp
	@tests/windows/run_wine_tests.sh $(BUILD) $(WIN64)

bench: build
	@for b in $(BUILD)/bin/bench_*; do $$b --benchmark_min_time=0.2; done
	@for p in bench/py_*.py; do FENNEL_DSP_LIB_DIR=$(BUILD)/lib PYTHONPATH=python $(PY) $$p; done

clean:
	rm -rf $(BUILD) $(ASAN) $(WIN64)
