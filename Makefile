# make run and make test are all that a newcomer needs; each installs what is missing, as root on Debian 12.
.PHONY: run test test-sanitize test-release test-powerpc check-format check-tidy bench bench-check install clean \
    deps-run deps-test deps-bench

# Sanitizers fail a test rather than go on. What the library keeps on purpose when the NP refuses is no leak of ours.
export ASAN_OPTIONS = detect_stack_use_after_return=1:detect_leaks=1
export LSAN_OPTIONS = suppressions=$(CURDIR)/tests/lsan.supp:print_suppressions=0
export UBSAN_OPTIONS = print_stacktrace=1

jobs := $(shell nproc)

run: deps-run
	cmake --preset run
	cmake --build build/run
	examples/run-demo.sh build/run

test: deps-test check-format test-sanitize test-release test-powerpc check-tidy
	@tools/dev/summary.sh build/sanitize build/release build/powerpc

test-sanitize: deps-test
	cmake --preset sanitize
	cmake --build build/sanitize
	ctest --test-dir build/sanitize -j$(jobs) --output-on-failure --output-log build/sanitize/ctest.log --quiet

test-release: deps-test
	cmake --preset release
	cmake --build build/release
	ctest --test-dir build/release -j$(jobs) --output-on-failure --output-log build/release/ctest.log --quiet

test-powerpc: deps-test
	cmake --preset powerpc
	cmake --build build/powerpc
	ctest --test-dir build/powerpc -j$(jobs) --output-on-failure --output-log build/powerpc/ctest.log --quiet

check-format: deps-test
	tools/dev/check-format.sh

check-tidy: test-release
	tools/dev/check-tidy.sh build/release

# Measures against floors taken in the same run; bench-check also fails when a ratio is over its limit.
bench: deps-bench
	cmake --preset bench
	cmake --build build/bench
	build/bench/bench/bench_zelfdb

bench-check: deps-bench
	cmake --preset bench
	cmake --build build/bench
	build/bench/bench/bench_zelfdb --check

install: deps-run
	cmake --preset run
	cmake --build build/run
	cmake --install build/run

clean:
	rm -rf build

deps-run:
	@tools/dev/install-dependencies.sh run
deps-test:
	@tools/dev/install-dependencies.sh test
deps-bench:
	@tools/dev/install-dependencies.sh bench
