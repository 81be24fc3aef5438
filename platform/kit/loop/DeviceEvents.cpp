// SPDX-License-Identifier: Apache-2.0
#include "platform/kit/loop/DeviceEvents.h"

#include <algorithm>
#include <linux/netlink.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/kit/netlink/NetlinkSocket.h"

namespace zorva {
namespace {

constexpr const char* kDeviceManager = "/run/udev/control";
constexpr std::uint32_t kKernelGroup = 1;  // of NETLINK_KOBJECT_UEVENT
constexpr std::size_t kMaxEvent = 16384;   // bytes; the kernel's own limit is 2 KiB of variables

// The variables of the kernel's message: "ACTION@PATH" and then "NAME=VALUE", each with a zero byte
// at its end. What a device manager sends begins otherwise.
class Variables {
 public:
  explicit Variables(std::string_view message) : message_(message) {}

  const char* value(std::string_view name) const {
    for (std::size_t at = message_.find('\0'); at < message_.size();
         at = message_.find('\0', at + 1)) {
      const std::string_view rest = message_.substr(at + 1);
      if (rest.size() > name.size() && rest.starts_with(name) && rest[name.size()] == '=') {
        return rest.data() + name.size() + 1;
      }
    }
    return nullptr;
  }

 private:
  std::string_view message_;  // ends with a zero byte
};

}  // namespace

std::string DeviceEvent::name() const {
  std::string name = path.substr(path.rfind('/') + 1);
  std::replace(name.begin(), name.end(), '!', '/');
  return name;
}

bool DeviceEvents::attach(sd_event* event) {
  if (monitor_) return true;
  sd_device_monitor* made = nullptr;
  if (sd_device_monitor_new(&made) < 0) return false;
  monitor_.reset(made);
  bool attached = true;
  for (const auto& [subsystem, type] : types_) attached = attached && add(subsystem, type);
  attached =
      attached && sd_device_monitor_attach_event(made, event) >= 0 && (types_.empty() || start());
  if (!attached) monitor_.reset();
  if (attached && ::access(kDeviceManager, F_OK) != 0) listenToKernel(event);
  return attached;
}

bool DeviceEvents::listen(const std::string& subsystem, const std::string& deviceType) {
  if (!types_.emplace(subsystem, deviceType).second || !monitor_) return true;
  return add(subsystem, deviceType) && start();
}

bool DeviceEvents::add(const std::string& subsystem, const std::string& deviceType) {
  return sd_device_monitor_filter_add_match_subsystem_devtype(
             monitor_.get(), subsystem.c_str(),
             deviceType.empty() ? nullptr : deviceType.c_str()) >= 0;
}

bool DeviceEvents::start() {
  if (started_) return sd_device_monitor_filter_update(monitor_.get()) >= 0;
  started_ = sd_device_monitor_start(monitor_.get(), onDevice, this) >= 0;
  return started_;
}

void DeviceEvents::listenToKernel(sd_event* event) {
  kernel_ = openNetlink(NETLINK_KOBJECT_UEVENT, {kKernelGroup});
  sd_event_source* source = nullptr;
  if (!kernel_ || sd_event_add_io(event, &source, kernel_.get(), EPOLLIN, onKernel, this) < 0) {
    kernel_ = {};
    return;
  }
  kernelSource_.reset(source);
}

void DeviceEvents::handle(const DeviceEvent& event) {
  const Handler handler = handler_;  // may destroy this object
  handler(event);
}

int DeviceEvents::onDevice(sd_device_monitor*, sd_device* device, void* self) {
  auto& events = *static_cast<DeviceEvents*>(self);
  events.kernelSource_.reset();  // or each event would come twice
  events.kernel_ = {};
  const auto value = [device](const char* variable) {
    const char* found = nullptr;
    return sd_device_get_property_value(device, variable, &found) < 0 ? nullptr : found;
  };
  const char* subsystem = nullptr;
  const char* path = nullptr;
  const char* const action = value("ACTION");
  if (action != nullptr && sd_device_get_subsystem(device, &subsystem) >= 0 &&
      sd_device_get_syspath(device, &path) >= 0) {
    events.handle({action, subsystem, path, value});
  }
  return 0;
}

int DeviceEvents::onKernel(sd_event_source*, int descriptor, std::uint32_t, void* self) {
  auto& events = *static_cast<DeviceEvents*>(self);
  char message[kMaxEvent + 1];
  sockaddr_nl sender{};
  socklen_t size = sizeof sender;
  const ssize_t length = ::recvfrom(descriptor, message, kMaxEvent, MSG_DONTWAIT,
                                    reinterpret_cast<sockaddr*>(&sender), &size);
  if (length <= 0 || sender.nl_family != AF_NETLINK || sender.nl_pid != 0) return 0;
  message[length] = '\0';
  const Variables variables({message, static_cast<std::size_t>(length) + 1});
  const char* const action = variables.value("ACTION");
  const char* const subsystem = variables.value("SUBSYSTEM");
  const char* const path = variables.value("DEVPATH");
  if (action == nullptr || subsystem == nullptr || path == nullptr) return 0;
  const auto type = events.types_.find(subsystem);
  const char* const deviceType = variables.value("DEVTYPE");
  if (type == events.types_.end() ||
      (!type->second.empty() && (deviceType == nullptr || type->second != deviceType))) {
    return 0;
  }
  events.handle({action, subsystem, std::string("/sys") + path,
                 [&variables](const char* variable) { return variables.value(variable); }});
  return 0;
}

}  // namespace zorva
