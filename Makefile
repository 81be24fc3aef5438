# SPDX-License-Identifier: Apache-2.0
# The short way to everything. `make` alone builds the programs; see README.md.

PRESET ?= release
BUILD = build/$(PRESET)
ARGUMENTS ?= -q
CONFIGURE ?=

.PHONY: build run test check format tidy memcheck package clean setup-build setup-test configure

build: configure
	@cmake --build --preset $(PRESET) --target programs

# Each installs the Debian packages that are missing or, without the right to, lists them.
setup-build:
	@mkdir -p build
	@tools/setup tools/packages-build.txt

setup-test:
	@mkdir -p build
	@tools/setup tools/packages-build.txt tools/packages-test.txt

# Until `make test` or a check is run, the tests and what they need are not configured.
configure: setup-build
	@[ -f $(BUILD)/build.ninja ] || $(MAKE) --no-print-directory cmake TESTING=OFF

.PHONY: cmake
cmake:
	@cmake --preset $(PRESET) -DBUILD_TESTING=$(TESTING) $(CONFIGURE) > $(BUILD).configure.log 2>&1 || \
	  { cat $(BUILD).configure.log; exit 1; }

# Logs this machine: one snapshot. `make run ARGUMENTS=` keeps logging until it is ended.
run: configure
	@cmake --build --preset $(PRESET) --target zorva
	@$(BUILD)/bin/zorva $(ARGUMENTS)

# Builds everything, tests included.
.PHONY: all-built
all-built: setup-test
	@$(MAKE) --no-print-directory cmake TESTING=ON
	@cmake --build --preset $(PRESET)

test: all-built
	@ctest --preset $(PRESET)

# What CI checks beside the tests: format, clang-tidy, memory, and the tests of the sanitizer build.
check: setup-test
	@tools/check_format
	@$(MAKE) --no-print-directory tidy memcheck
	@$(MAKE) --no-print-directory test PRESET=asan

format: setup-test
	@find $$(sed -n 's/^\([a-z][a-z]*\).*/\1/p' tools/rooms.txt | sort -u) \
	  -name '*.h' -o -name '*.cpp' | xargs clang-format -i

# clang-tidy with the checks of .clang-tidy, over everything but the tests.
tidy: all-built
	@tools/check_tidy $(BUILD)

# Programs under valgrind.
memcheck: all-built
	@tools/memcheck $(BUILD)

# A Debian package in build/, from what is committed.
package: setup-test
	@tools/setup tools/packages-package.txt
	@tools/make_package build

clean:
	rm -rf build
