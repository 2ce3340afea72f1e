# make run   installs what is missing, builds, and starts Tessarine (a demo when there is no display)
# make test  installs what is missing, checks formatting, builds with warnings as errors, runs
#            every test twice, once plainly and once under AddressSanitizer and UBSan (the fuzz
#            targets' corpus is replayed in both)
# make test-fuzz builds the fuzz targets with clang and runs each for 20 s
# make fuzz  builds the libFuzzer targets with clang in build-fuzz and runs each for FUZZ_SECONDS
#            (default 600); new inputs land in build-fuzz/tests/fuzz/work/<target>/new
# make bench runs the benchmarks under bench/ (i3lock and xsecurelock as peers), writes
#            bench/REPORT.md and prints it
# make soak  locks and unlocks the real program 1,000 times (about 15 minutes) and fails on a
#            crash, a lock that did not come up or go away, any growth of its windows, X resources,
#            descriptors, threads, objects or timers, or more than 1 MB of resident memory
#            (SOAK_CYCLES=N for another number)
# make deb   builds the Debian package build/tessarine_<version>_<arch>.deb
# make install installs under /usr/local (PREFIX=/some/where for another prefix; DESTDIR works)

BUILD      := build
ASAN_BUILD := build-asan
FUZZ_BUILD := build-fuzz
FUZZ_SECONDS ?= 600
FUZZ_TARGETS := fuzz_property_lists fuzz_password_matcher fuzz_bus_properties
JOBS       ?= $(shell nproc)
CMAKE_ARGS := -G Ninja -DTESSARINE_WERROR=ON
SOURCES     = $(shell git ls-files '*.cpp' '*.h' 2>/dev/null || find app settings input triggers lockscreen ui platform tests bench -name '*.cpp' -o -name '*.h')

.PHONY: all deps configure build run demo test test-plain test-asan test-fuzz fuzz fuzz-build format \
        format-check bench soak deb install clean

all: build

deps:
	@tools/install-deps.sh
	@# The compositors the Wayland tests lock; the tests say why they are skipped without it.
	@tools/wayland-chroot.sh || echo "no trixie tree for the Wayland tests (see tools/wayland-chroot.sh)" >&2

configure: deps
	@cmake -S . -B $(BUILD) $(CMAKE_ARGS) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

run: build
	@if [ -n "$$DISPLAY" ]; then exec $(BUILD)/tessarine; else tools/demo.sh $(BUILD); fi

demo: build
	@tools/demo.sh $(BUILD)

format:
	@clang-format -i $(SOURCES)

format-check: deps
	@clang-format --dry-run --Werror $(SOURCES)
	@echo "formatting: clean"

# The fuzz targets are not fuzzed here, only their corpus replayed: a third build, with clang,
# would add a third of the run's time on CI's two cores.
test: format-check test-plain test-asan

test-plain: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

test-asan: deps
	@cmake -S . -B $(ASAN_BUILD) $(CMAKE_ARGS) -DCMAKE_BUILD_TYPE=Debug -DTESSARINE_SANITIZE=ON >/dev/null
	@cmake --build $(ASAN_BUILD) -j $(JOBS)
	@cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
		UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest --output-on-failure -j $(JOBS)

# The fuzz targets: every object of build-fuzz compiled by clang with libFuzzer's coverage and the
# sanitizers (docs/TESTING.md).
fuzz-build: deps
	@cmake -S . -B $(FUZZ_BUILD) $(CMAKE_ARGS) -DTESSARINE_FUZZ=ON -DCMAKE_CXX_COMPILER=clang++ \
		-DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g" >/dev/null
	@cmake --build $(FUZZ_BUILD) -j $(JOBS) --target fuzz_targets

test-fuzz: fuzz-build
	@cd $(FUZZ_BUILD) && ctest --output-on-failure -j $(JOBS) -L fuzz

fuzz: fuzz-build
	@for target in $(FUZZ_TARGETS); do \
		tests/fuzz/run-fuzzer.sh $(FUZZ_BUILD)/tests/fuzz/$$target tests/fuzz/corpus/$$target \
			$(FUZZ_BUILD)/tests/fuzz/work/$$target $(FUZZ_SECONDS) || exit 1; \
	done

bench: build
	@tools/install-deps.sh i3lock xsecurelock
	@bench/run.sh $(BUILD)

SOAK_CYCLES ?= 1000
soak: build
	@TESSARINE=$(CURDIR)/$(BUILD)/tessarine X11_PROBE=$(CURDIR)/$(BUILD)/tests/x11_probe \
		X11_RESOURCES=$(CURDIR)/$(BUILD)/tests/x11_resources TESTS_DIR=$(CURDIR)/tests \
		bash tests/e2e/e2e_soak.sh $(SOAK_CYCLES) 20 1024

deb: build
	@cd $(BUILD) && cpack -G DEB

install: build
	@cmake --install $(BUILD) $(if $(PREFIX),--prefix $(PREFIX))

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD)
