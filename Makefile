# Two commands do everything on a fresh Debian machine:
#   make demo   installs what is missing, builds the tool, and runs the main job
#   make test   installs what is missing, builds everything, and runs every test
# and for CI, `make format-check` (clang-format clean), `make test-sanitize`
# (the tests under the sanitizers) and `make fuzz` (the libraries, the tool
# and the fuzz targets of fuzz/ built with clang, each target run
# FUZZ_SECONDS); `make test-clang` (the tests built with clang, under its
# sanitizers) and `make docs` (the API reference, from the public headers,
# in $(BUILD)/docs/api/html). Warnings are errors unless WERROR=OFF.
BUILD ?= build
ASAN_BUILD ?= build-asan
CLANG_BUILD ?= build-clang
FUZZ_BUILD ?= build-fuzz
WERROR ?= ON
FUZZ_SECONDS ?= 20
FUZZ_TARGETS ?= cx csv check xml
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: all deps configure build demo test test-sanitize test-clang fuzz bench docs format \
        format-check clean

all: build

deps:
	bash scripts/install-deps.sh

$(BUILD)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCHARTXML_WERROR=$(WERROR) $(CMAKE_FLAGS)

configure: $(BUILD)/CMakeCache.txt

build: deps configure
	cmake --build $(BUILD) -j $(JOBS)

# The demo builds only what it runs, the tool and the libraries it links, so
# that the first charts come without waiting for the tests and benchmarks.
# The gallery in ./out is the demo's own: an earlier one makes way for it.
demo: deps configure
	cmake --build $(BUILD) -j $(JOBS) --target chartxml_cli
	rm -f out/chart-[0-9]*.* out/index.txt out/index.html
	./$(BUILD)/tools/chartxml demo

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

# The same suites under AddressSanitizer and UndefinedBehaviorSanitizer. The
# slow unwinder lets the suppressions of tests/lsan.supp see into the system's
# libraries, which are built without frame pointers.
SANITIZER_ENV = ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:fast_unwind_on_malloc=0 \
  LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan.supp:print_suppressions=0 \
  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

# Line tables are all the debug information a sanitizer's report needs, and
# the rest is a tenth of the build's time. The browser's checks judge the
# pages' script, which no sanitizer sees: they run in the plain build.
BROWSER_TESTS = browser_pages|GalleryOpensInABrowser

test-sanitize: deps
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DCHARTXML_SANITIZE=ON -DCHARTXML_BUILD_BENCH=OFF \
	  -DCMAKE_C_FLAGS_DEBUG=-g1 -DCMAKE_CXX_FLAGS_DEBUG=-g1 -DCHARTXML_WERROR=$(WERROR)
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	$(SANITIZER_ENV) ctest --test-dir $(ASAN_BUILD) --output-on-failure -j $(JOBS) -E '$(BROWSER_TESTS)'

# The suites built with clang as well, whose warnings and sanitizers differ
# from gcc's: under AddressSanitizer and UndefinedBehaviorSanitizer too (the
# libraries carry the fuzzer's coverage instrumentation as well). Line
# tables only, as for the gcc sanitizer build (a quarter of clang's time).
# The slowest tests (the tool run as a process, every allocation failing in
# turn, the browser's pages) are left to the gcc sanitizer build. CI leaves
# this run to developers and compiles the product with clang in `fuzz`.
CLANG_DEBUG_INFO = -O2 -gline-tables-only -DNDEBUG
CLANG_FLAGS = -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_FLAGS_RELWITHDEBINFO="$(CLANG_DEBUG_INFO)" \
  -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="$(CLANG_DEBUG_INFO)" -DCHARTXML_SANITIZE=ON -DCHARTXML_FUZZ=ON \
  -DCHARTXML_BUILD_BENCH=OFF -DCHARTXML_WERROR=$(WERROR)
CLANG_SKIPPED = ^cli\.|AllocationFaults\.|WideChartsAreBuiltAndCompleted|$(BROWSER_TESTS)

test-clang: deps
	cmake -S . -B $(CLANG_BUILD) $(CLANG_FLAGS)
	cmake --build $(CLANG_BUILD) -j $(JOBS)
	$(SANITIZER_ENV) ctest --test-dir $(CLANG_BUILD) --output-on-failure -j $(JOBS) -E '$(CLANG_SKIPPED)'

# libFuzzer targets (fuzz/): the CX_ call sequences, the CSV reader and its
# dictionary, the document check and the renderer's XML reader. Built with
# clang in $(FUZZ_BUILD)/ with everything but the tests (the libraries
# instrumented, ASan and UBSan on, clang's warnings errors), then each runs
# FUZZ_SECONDS over a copy of its seeds in fuzz/corpus/. Fails on any
# finding; findings and logs go to $(FUZZ_BUILD)/findings/, the grown corpus
# stays in $(FUZZ_BUILD)/corpus/.
fuzz: deps
	cmake -S . -B $(FUZZ_BUILD) $(CLANG_FLAGS) -DCHARTXML_BUILD_TESTS=OFF
	cmake --build $(FUZZ_BUILD) -j $(JOBS)
	bash fuzz/run.sh $(FUZZ_BUILD) $(FUZZ_SECONDS) $(FUZZ_TARGETS)

# The API reference with Doxygen; any Doxygen warning (such as a public name
# without a contract comment) fails it.
docs: deps configure
	cmake --build $(BUILD) --target docs

bench: build
	@for b in $(BUILD)/bench/bench_*; do [ -x "$$b" ] && "$$b"; done

# Every tracked C and C++ file under src include host render tools tests fuzz
# bench as clang-format writes it: `format` rewrites them, `format-check` fails
# on any that differs.
format:
	bash scripts/check-format.sh --fix

format-check: deps
	bash scripts/check-format.sh

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(CLANG_BUILD)
