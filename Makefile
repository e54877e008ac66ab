# Two commands do everything on a fresh Debian machine:
#   make demo   installs what is missing, builds, and runs the main job
#   make test   installs what is missing, builds, and runs every test
BUILD ?= build
ASAN_BUILD ?= build-asan
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: all deps configure build demo test test-sanitize bench format clean

all: build

deps:
	bash scripts/install-deps.sh

$(BUILD)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS)

configure: $(BUILD)/CMakeCache.txt

build: deps configure
	cmake --build $(BUILD) -j $(JOBS)

demo: build
	./$(BUILD)/tools/chartxml demo

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

# The same suites under AddressSanitizer and UndefinedBehaviorSanitizer. The
# slow unwinder lets the suppressions of tests/lsan.supp see into the system's
# libraries, which are built without frame pointers.
test-sanitize: deps
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DCHARTXML_SANITIZE=ON -DCHARTXML_BUILD_BENCH=OFF
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:fast_unwind_on_malloc=0 \
	  LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan.supp:print_suppressions=0 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --test-dir $(ASAN_BUILD) --output-on-failure -j $(JOBS)

bench: build
	@for b in $(BUILD)/bench/bench_*; do [ -x "$$b" ] && "$$b"; done

format:
	clang-format -i $$(git ls-files '*.cc' '*.h' '*.c')

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
