# The two commands a newcomer needs are `make demo` and `make test`; each prepares the machine
# first, so they work on a fresh Debian install.
JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 60

.PHONY: all deps build demo test test-sanitize bench fuzz format clean

all: build

deps:
	@scripts/install-deps

build: deps
	cmake --preset default >/dev/null
	cmake --build build -j $(JOBS)

# The demo runs only the tool: tests and benchmarks wait for `make test` and `make bench`.
demo: deps
	cmake --preset default >/dev/null
	cmake --build build -j $(JOBS) --target metamodel
	scripts/demo build

test: build
	ctest --test-dir build --output-on-failure -j $(JOBS)

test-sanitize: deps
	cmake --preset sanitize >/dev/null
	cmake --build build-sanitize -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
		ctest --test-dir build-sanitize --output-on-failure -j $(JOBS)

bench: build
	scripts/bench build

fuzz: deps
	cmake --preset fuzz >/dev/null
	cmake --build build-fuzz -j $(JOBS)
	scripts/fuzz build-fuzz $(FUZZ_SECONDS)

format:
	find src tests bench fuzz -name '*.h' -o -name '*.cpp' | xargs clang-format -i

clean:
	rm -rf build build-sanitize build-fuzz
