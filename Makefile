# The short way to everything. `make` alone builds; see README.md.

PRESET ?= release
BUILD = build/$(PRESET)
PACKAGES = tools/packages.txt
ARGUMENTS ?= -q
CONFIGURE ?=

.PHONY: build setup run test check format tidy memcheck package clean

build: setup
	@cmake --preset $(PRESET) $(CONFIGURE) > $(BUILD).configure.log 2>&1 || { cat $(BUILD).configure.log; exit 1; }
	@cmake --build --preset $(PRESET)

# Installs the Debian packages that are missing; says what to do where it may not.
setup:
	@mkdir -p build
	@tools/setup $(PACKAGES)

# Logs this machine: one snapshot. `make run ARGUMENTS=` keeps logging until it is told to end.
run: build
	@$(BUILD)/bin/zorva $(ARGUMENTS)

test: build
	@ctest --preset $(PRESET)

# What CI checks beside the tests: format, clang-tidy, memory, and the tests of the sanitizer build.
check:
	@tools/setup $(PACKAGES)
	@tools/check_format
	@$(MAKE) --no-print-directory tidy memcheck
	@$(MAKE) --no-print-directory test PRESET=asan

format:
	@find $$(sed -n 's/^\([a-z][a-z]*\).*/\1/p' tools/rooms.txt | sort -u) \
	  -name '*.h' -o -name '*.cpp' | xargs clang-format -i

# clang-tidy with the checks of .clang-tidy, over everything but the tests.
tidy: build
	@tools/check_tidy $(BUILD)

# Programs under valgrind.
memcheck: build
	@tools/memcheck $(BUILD)

# A Debian package in build/, from what is committed.
package: setup
	@tools/setup tools/packages-package.txt
	@tools/make_package build

clean:
	rm -rf build
