// SPDX-License-Identifier: Apache-2.0
#include "platform/accessories/linux/LinuxAccessoryManager.h"

#include <gtest/gtest.h>

#include "platform/base/Text.h"
#include "platform/testing/MockKernel.h"
#include "platform/testing/TestLoop.h"

namespace zorva {
namespace {

class LinuxAccessoryManagerTest : public MockKernelTest {
 protected:
  using Lines = std::vector<std::string>;

  std::string addDevice(const char* name, const char* number, const char* deviceClass,
                        const char* removable, const char* product) {
    g_free(umockdev_testbed_add_device(
        kernel_, "usb", name, nullptr, "busnum", "1\n", "devnum", number, "bDeviceClass",
        deviceClass, "removable", removable, "product", product, "idVendor", "0b05\n", "idProduct",
        "1872\n", "bcdDevice", "0210\n", nullptr, "DEVTYPE", "usb_device", nullptr));
    return std::string("/sys/devices/") + name;
  }
  void addInterface(const std::string& device, const char* name, const char* interfaceClass) {
    g_free(umockdev_testbed_add_device(kernel_, "usb", name, device.c_str(), "bInterfaceClass",
                                       interfaceClass, nullptr, "DEVTYPE", "usb_interface",
                                       nullptr));
  }
  static std::string lineOf(const Accessory& accessory) {
    std::string line =
        formatText("%c %x ", accessory.connected ? '+' : '-', accessory.connectionIdentifier);
    for (const auto& text :
         {accessory.manufacturer, accessory.name, accessory.modelNumber, accessory.serialNumber,
          accessory.firmwareRevision, accessory.hardwareRevision}) {
      line += textOrNull(text) + ",";
    }
    for (const std::string& protocol : accessory.protocols) line += " " + protocol;
    return line;
  }
  Lines connected() {
    Lines lines;
    for (const Accessory& accessory : manager_.connectedAccessories()) {
      lines.push_back(lineOf(accessory));
    }
    return lines;
  }

  LoopForTest loop_;
  LinuxAccessoryManager manager_{loop_.event()};
};

TEST_F(LinuxAccessoryManagerTest, ListsWhatCanBeUnpluggedAndTellsOfComingsAndGoings) {
  if (!kernel_) return;  // outside
  addDevice("usb1", "1\n", "09\n", "unknown\n", "root hub");
  addDevice("1-1", "2\n", "09\n", "removable\n", "hub");
  addDevice("1-3", "3\n", "ef\n", "fixed\n", "camera");
  const std::string mouse = addDevice("1-1.4", "17\n", "00\n", "removable\n", "Mouse\n");
  set(mouse, "serial", "00\xff 42\n");
  addInterface(mouse, "1-1.4:1.0", "03\n");
  const std::string stick = addDevice("1-1.2", "4\n", "00\n", "unknown\n", "Stick\n");
  set(stick, "manufacturer", "\n");
  const std::string mouseTexts = " 111 (null),Mouse,0b05:1872,00\xff 42,(null),2.10, input";
  const std::string stickTexts = " 104 ,Stick,0b05:1872,(null),(null),2.10,";
  EXPECT_EQ(connected(), Lines({"+" + stickTexts, "+" + mouseTexts}));

  Lines reported;
  const auto tell = [&](const Accessory& accessory) { reported.push_back(lineOf(accessory)); };
  const Registration one = manager_.observeConnected(tell);
  const Registration other = manager_.observeDisconnected(tell);
  const auto next = [&] {
    loop_.runUntil([&] { return !reported.empty(); });
    return std::exchange(reported, {});
  };
  const Registration registered = manager_.registerForLocalNotifications();
  ASSERT_TRUE(registered);
  // One that is known is no news, nor is a hub; one is told with its interfaces, when it has them.
  for (const std::string& device : {mouse, std::string("/sys/devices/1-1")}) send(device, "bind");
  const std::string headset = addDevice("1-2", "18\n", "00\n", "removable\n", "Headset\n");
  send(headset, "add");
  loop_.drain();
  addInterface(headset, "1-2:1.0", "01\n");
  addInterface(headset, "1-2:1.1", "01\n");
  addInterface(headset, "1-2:1.2", "fe\n");
  addInterface(headset, "1-2:1.3", "42\n");
  send(headset, "bind");
  const std::string headsetTexts =
      " 112 (null),Headset,0b05:1872,(null),(null),2.10, audio application class-42";
  EXPECT_EQ(next(), Lines{"+" + headsetTexts});

  for (const auto& [device, texts] :
       {std::pair(headset, headsetTexts), std::pair(mouse, mouseTexts)}) {
    set(device, "product", "gone\n");
    send(device, "unbind");
    send(device, "remove");
    EXPECT_EQ(next(), Lines{"-" + texts});
  }
}

}  // namespace
}  // namespace zorva
