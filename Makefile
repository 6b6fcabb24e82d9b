# make run and make test are all that a newcomer needs; each installs what is missing, as root on Debian 12.
.PHONY: run test test-sanitize test-release test-powerpc test-again crash-test soak check-format check-tidy tidy bench bench-check \
    fuzz coverage install clean deps-run deps-test deps-bench deps-fuzz deps-coverage

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
	tools/dev/run-tests.sh build/sanitize $(jobs)

test-release: deps-test
	cmake --preset release
	cmake --build build/release
	tools/dev/run-tests.sh build/release $(jobs)

test-powerpc: deps-test
	cmake --preset powerpc
	cmake --build build/powerpc
	tools/dev/run-tests.sh build/powerpc $(jobs)

# The same tests over and over with other random numbers each time, until one fails: then its ZELFDB_SEED repeats it.
TIMES = 10
test-again: deps-test
	cmake --preset release
	cmake --build build/release
	ZELFDB_SEED=new tools/dev/run-tests.sh build/release $(jobs) --repeat until-fail:$(TIMES)

# Every moment of every changing operation at which a process may die, not only the sample that make test takes.
crash-test: deps-test
	cmake --preset release
	cmake --build build/release --target test_crash
	ZELFDB_CRASH_POINTS=all build/release/tests/test_crash --gtest_brief=1

# A crowd of processes of which one is killed every few milliseconds, for so long; fails when anything grows on the way.
MINUTES = 10
soak: deps-test
	cmake --preset release
	cmake --build build/release --target soak
	ZELFDB_SEED=$${ZELFDB_SEED:-new} ZELFDB_SOAK_MINUTES=$(MINUTES) build/release/tests/soak --gtest_brief=1

check-format: deps-test
	tools/dev/check-format.sh

check-tidy: deps-test
	tools/dev/check-tidy.sh quick

# With the path-sensitive analysis, and the tool's verbs: as long as half of make test.
tidy: deps-test
	tools/dev/check-tidy.sh all

# Measures against floors taken in the same run; bench-check also fails when a ratio is over its limit.
bench: deps-bench
	cmake --preset bench
	cmake --build build/bench
	build/bench/bench/bench_zelfdb

bench-check: deps-bench
	cmake --preset bench
	cmake --build build/bench
	build/bench/bench/bench_zelfdb --check

# Looks for inputs that the library, the checker or the tool does not stand: each target for FUZZ_TIME_S seconds. Fails when
# one is found, which is left in build/fuzz/findings; what was learned is kept in build/fuzz/corpus for the next time.
FUZZ_TIME_S = 60
fuzz: deps-fuzz
	cmake -S . -B build/fuzz -G Ninja -D CMAKE_BUILD_TYPE=RelWithDebInfo -D CMAKE_C_COMPILER=clang \
	    -D CMAKE_CXX_COMPILER=clang++ -D ZELFDB_FUZZ=ON -D ZELFDB_BUILD_TOOLS=OFF -D ZELFDB_BUILD_TESTS=OFF
	cmake --build build/fuzz --target fuzz
	tools/dev/fuzz.sh build/fuzz $(FUZZ_TIME_S)

# Which lines and branches of the library's folders their own tests run; fails below 95 % and 90 %, and when one is left out
# that docs/coverage.md gives no reason for. build/coverage/coverage.html shows them in the sources.
covered := core np fdb port vlan qos classify mirror replay
coverage: deps-coverage
	cmake --preset coverage
	cmake --build build/coverage --target $(covered:%=test_%)
	find build/coverage -name '*.gcda' -delete
	tools/dev/run-tests.sh build/coverage $(jobs) --tests-regex "^($$(echo $(covered) | tr ' ' '|'))/"
	tools/dev/coverage.sh build/coverage 95 90 $(covered)

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
deps-fuzz:
	@tools/dev/install-dependencies.sh fuzz
deps-coverage:
	@tools/dev/install-dependencies.sh coverage
