# Thin wrapper over CMake. `make run` and `make test` do all the set-up on a fresh machine.
BUILD      ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS       ?= $(shell nproc)
CMAKE_ARGS ?=
CTEST_ARGS ?=

.PHONY: all deps configure build test run bench fuzz install package docs format clean

all: build

deps:
	@bash scripts/install-deps.sh

configure: deps
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_ARGS) >/dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS) $(CTEST_ARGS)

run: build
	@$(BUILD)/examples/zul_text_demo
	@bash scripts/tour.sh $(BUILD)
	@echo; echo "== the demo application (examples/demo, on examples/demo.pml)"
	@$(BUILD)/examples/zul_demo examples/demo.pml $(BUILD)/examples

bench: deps
	@cmake -S . -B $(BUILD)-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DZUL_BUILD_BENCH=ON -DZUL_BUILD_TESTS=OFF >/dev/null
	@cmake --build $(BUILD)-bench -j $(JOBS)
	@bash scripts/run-bench.sh $(BUILD)-bench

FUZZ_SECONDS ?= 60
fuzz: deps
	@CXX=clang++ cmake -S . -B $(BUILD)-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
		-DZUL_BUILD_FUZZ=ON -DZUL_BUILD_TESTS=OFF -DZUL_SANITIZE=address,undefined >/dev/null
	@cmake --build $(BUILD)-fuzz -j $(JOBS)
	@bash scripts/run-fuzz.sh $(BUILD)-fuzz $(FUZZ_SECONDS)

install: build
	@cmake --install $(BUILD)

# Debian packages libzul0, libzul-dev and zul-tools, written to $(BUILD)/packages.
package: build
	@cd $(BUILD) && cpack -B packages >/dev/null && ls packages/*.deb

# API reference from the doc comments, written to $(BUILD)/docs/html; fails on an
# undocumented public declaration (the list is in $(BUILD)/docs/warnings.txt).
docs: configure
	@cmake --build $(BUILD) --target docs || { cat $(BUILD)/docs/warnings.txt; exit 1; }

format:
	@git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	@rm -rf $(BUILD) $(BUILD)-bench $(BUILD)-fuzz
