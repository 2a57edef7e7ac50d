# Two commands for a newcomer: `make demo` and `make test`. Both install what is missing first.
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: all deps build build-asan test test-fast demo bench format clean

all: build

deps:
	@bash scripts/install-deps.sh

$(BUILD)/build.ninja:
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS)

$(ASAN_BUILD)/build.ninja:
	cmake -S . -B $(ASAN_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DGGRAPH_SANITIZE=ON $(CMAKE_FLAGS)

build: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

build-asan: deps $(ASAN_BUILD)/build.ninja
	cmake --build $(ASAN_BUILD) -j $(JOBS)

# The suite, then the suite again under AddressSanitizer and UndefinedBehaviorSanitizer.
test: build build-asan
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  LSAN_OPTIONS=suppressions=$(CURDIR)/scripts/lsan.supp \
	  ctest --test-dir $(ASAN_BUILD) --output-on-failure -j $(JOBS)

test-fast: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

demo: build
	@bash scripts/demo.sh $(BUILD)

bench: deps
	@bash scripts/install-deps.sh --bench
	cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DGGRAPH_BENCH=ON -DGGRAPH_TESTS=OFF
	cmake --build build-bench -j $(JOBS)
	@bash bench/run.sh build-bench

format:
	find src tests bench -name '*.cpp' -o -name '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) build-bench out
