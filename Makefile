# SPDX-License-Identifier: Apache-2.0
# Shortcuts for the common tasks. `make` alone builds the programs; see README.md.

PRESET ?= release
BUILD = build/$(PRESET)
ARGUMENTS ?= -q
CONFIGURE ?=

.PHONY: build run test check format tidy memcheck package clean setup-build setup-test configure

build: configure
	@cmake --build --preset $(PRESET) --target programs

# Each installs the missing Debian packages, or prints what to do if it may not install them.
setup-build:
	@mkdir -p build
	@tools/setup tools/packages-build.txt

setup-test:
	@mkdir -p build
	@tools/setup tools/packages-build.txt tools/packages-test.txt

# Tests are configured at the first request for them. A build without tests needs fewer packages.
configure: setup-build
	@[ -f $(BUILD)/build.ninja ] || $(MAKE) --no-print-directory cmake TESTING=OFF

.PHONY: cmake
cmake:
	@cmake --preset $(PRESET) -DBUILD_TESTING=$(TESTING) $(CONFIGURE) > $(BUILD).configure.log 2>&1 || \
	  { cat $(BUILD).configure.log; exit 1; }

# Logs this machine: one snapshot. `make run ARGUMENTS=` keeps logging until it is stopped.
run: configure
	@cmake --build --preset $(PRESET) --target zorva
	@$(BUILD)/bin/zorva $(ARGUMENTS)

# Builds everything.
.PHONY: all-built
all-built: setup-test
	@$(MAKE) --no-print-directory cmake TESTING=ON
	@cmake --build --preset $(PRESET)

test: all-built
	@ctest --preset $(PRESET)

# What CI checks besides the tests: format, clang-tidy, memory, and the tests of the sanitizer
# build.
check: setup-test
	@tools/check_format
	@$(MAKE) --no-print-directory tidy memcheck
	@$(MAKE) --no-print-directory test PRESET=asan

format: setup-test
	@find $$(sed -n 's/^\([a-z][a-z]*\).*/\1/p' tools/rooms.txt | sort -u) \
	  -name '*.h' -o -name '*.cpp' | xargs clang-format -i

# clang-tidy with the checks of .clang-tidy, on everything but the tests.
tidy: all-built
	@tools/check_tidy $(BUILD)

# Runs programs under valgrind.
memcheck: all-built
	@tools/memcheck $(BUILD)

# Builds a Debian package in build/ from the last commit.
package: setup-test
	@tools/setup tools/packages-package.txt
	@tools/make_package build

clean:
	rm -rf build
