// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <umockdev.h>

namespace zorva {

/// Runs each of its tests twice: the outer process starts this program again with the mock kernel's
/// library preloaded, and the inner one runs the case.
class MockKernelTest : public testing::Test {
 protected:
  void SetUp() override {
    if (std::getenv("ZORVA_TEST_IN_MOCK_KERNEL")) {
      kernel_ = umockdev_testbed_new();
      return;
    }
    // The sanitizer's runtime would reject a library that is preloaded before it.
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    const std::string again =
        "ZORVA_TEST_IN_MOCK_KERNEL=1 LD_PRELOAD=libumockdev-preload.so.0"
        " ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0 '" +
        std::filesystem::read_symlink("/proc/self/exe").string() +
        "' --gtest_filter=" + test->test_suite_name() + "." + test->name();
    ASSERT_EQ(std::system(again.c_str()), 0) << "in the mock kernel";
  }
  void TearDown() override {
    if (kernel_) g_object_unref(kernel_);
  }

  /// The outer process has nothing to test.
  bool outside() const { return kernel_ == nullptr; }

  void set(const std::string& device, const char* attribute, const char* value) {
    umockdev_testbed_set_attribute(kernel_, device.c_str(), attribute, value);
  }
  void send(const std::string& device, const char* event) {
    umockdev_testbed_uevent(kernel_, device.c_str(), event);
  }

  UMockdevTestbed* kernel_ = nullptr;  // null in the outer process
};

}  // namespace zorva
