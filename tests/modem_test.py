# SPDX-License-Identifier: Apache-2.0
"""zorva with a modem: mocked login manager and ModemManager on a bus of their own, a network
namespace whose mobile interface leads to a peer, real processes, sockets and packets."""
import os
import pathlib
import re
import signal
import socket
import subprocess
import sys
import tempfile
import unittest

import dbus

import programs
from programs import ROOT, program, run, wait_for

LOGIN_MANAGER = r'''
import os, sys, dbus, dbus.mainloop.glib, dbus.service
from gi.repository import GLib
NAME = 'org.freedesktop.login1.Manager'
class Manager(dbus.service.Object):
    lock = None
    @dbus.service.method(NAME, in_signature='ssss', out_signature='h')
    def Inhibit(self, what, who, why, mode):
        if (what, mode) != ('sleep', 'delay'):
            raise dbus.exceptions.DBusException('no')
        self.lock, held = os.pipe()
        lock = dbus.types.UnixFd(held)
        os.close(held)
        GLib.io_add_watch(self.lock, GLib.IO_HUP, self.dropped)
        self.say('taken')
        return lock
    def dropped(self, *_):
        os.close(self.lock)
        self.say('dropped')
    @dbus.service.method(NAME, in_signature='b')
    def Sleep(self, sleep):
        self.say('sleep' if sleep else 'awake')
        self.PrepareForSleep(sleep)
    @dbus.service.signal(NAME, signature='b')
    def PrepareForSleep(self, sleep):
        pass
    def say(self, what):
        print(what, flush=True)
dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SystemBus()
name = dbus.service.BusName('org.freedesktop.login1', bus)
manager = Manager(bus, '/org/freedesktop/login1')
GLib.MainLoop().run()
'''
MODEM = '''
bearer = Object('/Bearer/0', {'Bearer': dict(Connected=True, Interface='wwan0')})
modem = add('/Modem/0',
    Modem=dict(State=dbus.Int32(11), PowerState=dbus.UInt32(3), UnlockRequired=dbus.UInt32(1),
               AccessTechnologies=dbus.UInt32(1 << 14), SignalQuality=(dbus.UInt32(60), True),
               Revision='1.2', Physdev='/sys/devices/none', Sim=dbus.ObjectPath(ROOT + '/SIM/0'),
               Bearers=paths('/Bearer/0')),
    Modem_Modem3gpp=dict(RegistrationState=dbus.UInt32(1), OperatorName='Home'),
    Modem_Signal=dict(Rate=dbus.UInt32(0), RssiThreshold=dbus.UInt32(0),
                      Lte=dbus.Dictionary({'rssi': -70.0}, signature='sv')),
    Modem_Voice=dict(Calls=paths()), Modem_Messaging=dict())
'''


class ModemTest(unittest.TestCase):
    def setUp(self):
        self.directory = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.address = f'unix:path={self.directory}/bus'
        os.environ['DBUS_SYSTEM_BUS_ADDRESS'] = self.address
        (self.directory / 'bus.conf').write_text(
            f'<busconfig><type>session</type><listen>{self.address}</listen><policy context="default">'
            '<allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/>'
            '</policy></busconfig>')
        self.start('dbus-daemon', '--nofork', '--nopidfile', f'--config-file={self.directory}/bus.conf')
        wait_for((self.directory / 'bus').exists, 'the bus')
        self.bus = dbus.bus.BusConnection(self.address)
        self.addCleanup(self.bus.close)
        self.start(sys.executable, '-c', LOGIN_MANAGER, output='locks')
        self.start(sys.executable, ROOT / 'platform/testing/ModemManagerMock.py')
        self.login = self.service('org.freedesktop.login1', '/org/freedesktop/login1')
        self.modem = self.service('org.freedesktop.ModemManager1', '/org/freedesktop/ModemManager1')
        self.do(MODEM)

    def start(self, *command, output=None):
        """Starts a program that is ended with the test; its output goes to a file."""
        with open(self.directory / (output or 'noise'), 'wb') as file:
            child = subprocess.Popen([str(word) for word in command], stdout=file)
        self.addCleanup(child.wait)
        self.addCleanup(child.kill)
        return child

    def service(self, name, path):
        wait_for(lambda: self.bus.name_has_owner(name), name)
        return self.bus.get_object(name, path)

    def do(self, code):
        self.modem.Do(code, dbus_interface='org.zorva.Mock')

    def start_zorva(self):
        zorva = self.start(program('zorva'), output='log')
        wait_for(lambda: '[Locale]' in self.log(), 'the snapshot')
        return zorva

    def log(self):
        return (self.directory / 'log').read_text()

    def new_lines(self, last):
        """What was logged since the last call, up to an entry that contains the text."""
        wait_for(lambda: last in self.log()[self.read:], last)
        lines = self.log()[self.read:].splitlines()
        self.read = len(self.log())
        return [re.sub(r'^\S+ \S+ ', '', line) for line in lines]

    def threshold(self):
        """From how many dBm on the modem reports its strength; 0 while nobody asked for that."""
        modem = self.bus.get_object('org.freedesktop.ModemManager1', '/org/freedesktop/ModemManager1/Modem/0')
        return modem.GetAll('org.freedesktop.ModemManager1.Modem.Signal',
                            dbus_interface='org.freedesktop.DBus.Properties')['RssiThreshold']

    def sleep(self, asleep):
        self.login.Sleep(asleep, dbus_interface='org.freedesktop.login1.Manager')

    def test_the_packet_that_woke_the_device_leads_to_its_process(self):
        peer = self.start('unshare', '--net', 'sleep', '1000')
        ours = os.readlink('/proc/self/ns/net')
        wait_for(lambda: os.readlink(f'/proc/{peer.pid}/ns/net') != ours, 'the namespace')
        inside = ['nsenter', f'--net=/proc/{peer.pid}/ns/net']
        for command in ('ip link add wwan0 type veth peer name tower', f'ip link set tower netns {peer.pid}',
                        'ip addr add 10.9.0.1/24 dev wwan0', 'ip link set wwan0 up'):
            self.assertEqual(run(*command.split()).stderr, '', command)
        for command in 'ip addr add 10.9.0.2/24 dev tower', 'ip link set tower up':
            self.assertEqual(run(*inside, *command.split()).stderr, '', command)
        server = self.start(sys.executable, '-c',
                            'import socket, time; s = socket.create_server(("0.0.0.0", 4711));'
                            'u = socket.socket(type=socket.SOCK_DGRAM); u.bind(("10.9.0.1", 4712));'
                            'print("up", flush=True); time.sleep(1000)', output='server')
        wait_for(lambda: (self.directory / 'server').read_text(), 'the server')
        path = os.path.realpath(f'/proc/{server.pid}/exe')
        name = pathlib.Path(f'/proc/{server.pid}/comm').read_text().strip()
        locks = self.directory / 'locks'
        reasons = pathlib.Path('/sys/kernel/wakeup_reasons')
        reasons.mkdir()
        reason = reasons / 'last_resume_reason'
        self.assertIn('[Telephony]', run(program('zorva'), '-q').stdout)
        self.assertEqual(self.threshold(), 0)
        wait_for(lambda: locks.read_text() == 'taken\ndropped\n', 'the lock of the snapshot')
        self.start_zorva()
        self.read = len(self.log())

        def send(kind, port, text):
            code = (f'import socket; s = socket.socket(type=socket.{kind}); s.connect(("10.9.0.1", {port}));'
                    f's.send(b"{text}")')
            self.assertEqual(run(*inside, sys.executable, '-c', code).stderr, '')

        reason.write_text('57 modem\n')
        send('SOCK_DGRAM', 4712, 'nothing is captured while awake')
        def fall_asleep():
            wait_for(lambda: self.threshold() == 2, 'the threshold')
            self.sleep(True)
            self.assertEqual(self.new_lines('event=will_sleep')[-1], '[Sleep] event=will_sleep;')
            wait_for(lambda: locks.read_text().endswith('dropped\n'), 'the lock')
            self.assertEqual(self.threshold(), 0)

        fall_asleep()
        send('SOCK_STREAM', 4711, 'hello')
        self.sleep(False)
        lines = self.new_lines('[PacketTracker]')
        self.assertRegex(lines[0], r'^\[Wake\] reason=baseband .*modem.*; info=Dlci 1 \[pdp_0\]: 45 00 ')
        self.assertRegex(lines[1], r'^\[PacketDecoder\] version=IPv4; length=60; ttl=64; protocol=TCP; '
                                   r'source=10.9.0.2; destination=10.9.0.1; source_port=\d+; dest_port=4711; '
                                   r'seq=\d+; ack=0; offset=10; window=\d+; control=xxxxxxSx;$')
        self.assertEqual(lines[2], f'[PacketTracker] process={name}; path={path}; pid={server.pid}; '
                                   'tcp_status=LISTENING; local=0.0.0.0:4711; remote=0.0.0.0:0;')

        # The modem wakes the device and reports the reason only later.
        for announce, status in (("modem.Added(ROOT + '/SMS/0', True)", 'Incoming SMS'),
                                 ("call = Object('/Call/0', {'Call': dict(State=dbus.Int32(3))});"
                                  "modem.set('Modem.Voice', Calls=paths('/Call/0'))", 'Incoming Call')):
            fall_asleep()
            self.sleep(False)
            self.do(announce)
            self.assertIn(f'[PacketDecoder] status={status};', self.new_lines('[PacketDecoder]'))

        # Another device woke it: no service is called, and what the modem receives meanwhile is ignored.
        reason.write_text('8 rtc0\n')
        fall_asleep()
        send('SOCK_DGRAM', 4712, 'noise')
        self.sleep(False)
        self.assertRegex(self.new_lines('[Wake]')[0], r'^\[Wake\] reason=.*rtc0.*; info=<none>;$')
        self.assertEqual(locks.read_text().split(),
                         ['taken', 'dropped', 'taken'] + ['sleep', 'dropped', 'awake', 'taken'] * 4)


programs.enter_device(network=True)
programs.main()
