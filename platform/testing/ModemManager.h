// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "platform/telephony/linux/LinuxTelephony.h"
#include "platform/telephony/linux/LinuxTelephonyNotifications.h"
#include "platform/telephony/linux/LinuxTelephonyServer.h"
#include "platform/testing/PrivateBus.h"
#include "platform/testing/TemporaryDirectory.h"
#include "platform/testing/TestLoop.h"

namespace zorva {

inline constexpr const char* kDevice = "/sys/devices/usb1/1-1";
// A connected modem on its home LTE network, which measures only the signal quality.
inline constexpr const char* kModem = R"(
bearers = [Object('/Bearer/%d' % i, {'Bearer': dict(Connected=i == 1, Interface='wwan0' if i else '')})
           for i in range(2)]
modem = add('/Modem/2',
    Modem=dict(State=dbus.Int32(11), PowerState=dbus.UInt32(3), UnlockRequired=dbus.UInt32(3),
               AccessTechnologies=dbus.UInt32(1 << 14), SignalQuality=(dbus.UInt32(50), True),
               Revision='81600.0000\n00', EquipmentIdentifier='490154203237518',
               Device='assigned', Physdev='/sys/devices/usb1/1-1', Sim=dbus.ObjectPath(ROOT + '/SIM/0'),
               Ports=[('cdc-wdm0', dbus.UInt32(6)), ('wwan0', dbus.UInt32(2))],
               Bearers=paths('/Bearer/0', '/Bearer/1')),
    Modem_Modem3gpp=dict(Imei='490154203237518', RegistrationState=dbus.UInt32(1),
                         OperatorName='Home', PacketServiceState=dbus.UInt32(2)),
    Modem_Signal=dict(Rate=dbus.UInt32(0), RssiThreshold=dbus.UInt32(0)),
    Modem_Location=dict(Location=dbus.Dictionary({dbus.UInt32(1): '262,01,1F,2A,0',
                                                  dbus.UInt32(4): '$GPGGA'}, signature='uv'),
                        Enabled=dbus.UInt32(0x14)),
    Modem_Voice=dict(Calls=paths()), Modem_Messaging=dict()))";

/// The telephony services of this machine, with a mock ModemManager on a private bus.
class LinuxTelephonyForTest {
 protected:
  void startService() {
    service_ = runProgram({"/usr/bin/python3", "platform/testing/ModemManagerMock.py"});
    loop_.runUntil([&] { return client_.running(); });
  }
  void stopService() {
    service_.reset();
    loop_.runUntil([&] { return !client_.running(); });
  }
  /// Runs Python code in the mock service.
  void act(const std::string& code) {
    EXPECT_GE(private_.call(mm::kService, mm::kPath, "org.zorva.Mock", "Do", "s", code.c_str()), 0)
        << code;
  }
  void deliver() {
    // The service's earlier signals are delivered before its reply.
    bus_.call(mm::kService, mm::kPath, "org.freedesktop.DBus.Peer", "Ping");
    loop_.drain();
  }

  DirectoryForTest root_;
  PrivateBusForTest private_;
  std::unique_ptr<ChildForTest> service_;
  LoopForTest loop_;
  LinuxBus bus_{loop_.event(), private_.address()};
  ModemManagerClient client_{loop_.event(), bus_};
  LinuxTelephonyNotifications notifications_{client_};
  LinuxTelephony telephony_{client_, root_ / "rfkill"};
  LinuxTelephonyServer server_{loop_.event(), client_, notifications_, root_ / ""};
};

}  // namespace zorva
