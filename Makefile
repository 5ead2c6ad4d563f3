# Entry points that do all the set-up on a fresh machine:
#   make run   builds in Release only the tool (not the tests) and runs it on a copy of the example
#   make test  builds and runs every test
#   make install PREFIX=P  builds the library and the programs and installs them, the headers, the
#              CMake package and latopt.pc under P (default /usr/local)
#   make bench-tool  times whole runs of the tool on large generated solution files (Release)
#   make bench-read  times the tool on programs with many numbers and with very long number tokens
#   make bench-lll   times latopt-reduce against fplll's LLL on generated lattices (Release)
#   make bench-gate  times latopt-lab reduce with and without offers to the candidate gate (Release)
#   make bench-aardal  times the Aardal stage of the embedding on market split instances (Release)
#   make bench-search  times latopt-search beside CBC and fplll's BKZ on market split instances (Release)
#   make fuzz  builds the libFuzzer targets (clang) and runs each for FUZZ_SECONDS (600)
BUILD      ?= build
BUILD_TYPE ?= Release
GENERATOR  := Ninja
# CI treats warnings as errors.
WERROR     := $(if $(CI),ON,OFF)
CMAKE_ARGS := -G $(GENERATOR) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DLATOPT_WERROR=$(WERROR)
JOBS       ?= 2
PREFIX     ?= /usr/local
# What make install builds and installs.
INSTALLED  := latopt latopt_tool latopt_reduce latopt_search_tool latopt_lab

.PHONY: run test install bench bench-tool bench-read bench-lll bench-gate bench-aardal bench-search fuzz deps configure build clean format

run: configure
	cmake --build $(BUILD) -j $(JOBS) --target latopt_tool
	@mkdir -p $(BUILD)/run
	@cp examples/example.opt examples/example.sol $(BUILD)/run/
	$(BUILD)/bin/latopt $(BUILD)/run/example.sol

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

install: configure
	cmake --build $(BUILD) -j $(JOBS) --target $(INSTALLED)
	cmake --install $(BUILD) --prefix $(PREFIX)

bench:
	@./.ci/deps bench
	cmake -S . -B $(BUILD)-bench $(CMAKE_ARGS) -DLATOPT_BENCH=ON -DLATOPT_TESTS=OFF
	cmake --build $(BUILD)-bench -j $(JOBS)
	@for b in $(BUILD)-bench/bin/bench_*; do [ -x "$$b" ] && "$$b" || true; done

# The tool alone, in Release, in the benchmark directory (the options cached there stay).
bench-tool: deps
	cmake -S . -B $(BUILD)-bench $(CMAKE_ARGS) -DCMAKE_BUILD_TYPE=Release -DLATOPT_TESTS=OFF
	cmake --build $(BUILD)-bench -j $(JOBS) --target latopt_tool
	bench/tool_bench.sh $(BUILD)-bench/bin/latopt

bench-read: deps
	cmake -S . -B $(BUILD)-bench $(CMAKE_ARGS) -DCMAKE_BUILD_TYPE=Release -DLATOPT_TESTS=OFF
	cmake --build $(BUILD)-bench -j $(JOBS) --target latopt_tool
	bench/read_bench.sh $(BUILD)-bench/bin/latopt

bench-lll:
	@./.ci/deps bench
	cmake -S . -B $(BUILD)-bench $(CMAKE_ARGS) -DCMAKE_BUILD_TYPE=Release -DLATOPT_TESTS=OFF
	cmake --build $(BUILD)-bench -j $(JOBS) --target latopt_reduce
	bench/lll_vs_fplll.sh $(BUILD)-bench/bin/latopt-reduce

bench-gate: deps
	cmake -S . -B $(BUILD)-bench $(CMAKE_ARGS) -DCMAKE_BUILD_TYPE=Release -DLATOPT_TESTS=OFF
	cmake --build $(BUILD)-bench -j $(JOBS) --target latopt_lab
	bench/gate_overhead.sh $(BUILD)-bench/bin/latopt-lab

bench-aardal:
	@./.ci/deps bench
	cmake -S . -B $(BUILD)-bench $(CMAKE_ARGS) -DCMAKE_BUILD_TYPE=Release -DLATOPT_BENCH=ON -DLATOPT_TESTS=OFF
	cmake --build $(BUILD)-bench -j $(JOBS) --target bench_aardal_stage
	$(BUILD)-bench/bin/bench_aardal_stage

bench-search:
	@./.ci/deps bench
	cmake -S . -B $(BUILD)-bench $(CMAKE_ARGS) -DCMAKE_BUILD_TYPE=Release -DLATOPT_TESTS=OFF
	cmake --build $(BUILD)-bench -j $(JOBS) --target latopt_search_tool latopt_tool
	bench/search_vs_solvers.sh --bin $(BUILD)-bench/bin

# Each fuzz target for FUZZ_SECONDS from the committed corpus; FUZZ=name runs one of them.
FUZZ_SECONDS ?= 600
fuzz:
	FUZZ_SECONDS=$(FUZZ_SECONDS) tests/fuzz/run.sh $(FUZZ)

build: configure
	cmake --build $(BUILD) -j $(JOBS)

configure: deps
	@[ -f $(BUILD)/build.ninja ] || cmake -S . -B $(BUILD) $(CMAKE_ARGS)

# Checks the tools the build needs; as root, installs what is missing.
deps:
	@./.ci/deps

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf $(BUILD) $(BUILD)-bench $(BUILD)-asan $(BUILD)-fuzz
