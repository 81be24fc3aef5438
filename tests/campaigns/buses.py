# SPDX-License-Identifier: Apache-2.0
"""A message bus that hangs, or breaks off, services that hang, and restarts of all of them."""
import os
import pathlib
import re
import select
import signal
import socket
import struct
import subprocess
import tempfile
import threading
import time

import dbus

from campaign import Daemon, Tally, broken_lines, clear, logs, progress
from programs import ROOT, program, run, wait_for

MODEM_MANAGER = 'org.freedesktop.ModemManager1'
SERVICES = {
    'org.freedesktop.login1': '-m dbusmock --system -t logind',
    'org.bluez': '-m dbusmock --system -t bluez5',
    MODEM_MANAGER: f'{ROOT}/platform/testing/ModemManagerMock.py',
}
MODEM = '''
bearer = Object('/Bearer/0', {'Bearer': dict(Connected=True, Interface='wwan0')})
modem = add('/Modem/0', Modem=dict(State=dbus.Int32(11), Bearers=paths('/Bearer/0')))
'''


class Bus:
    """A bus with a login manager, a Bluetooth service and a modem. Clients reach it through a proxy, which
    passes on what rule(number, message, from_client) returns for each message. If that is None, it ends the
    connection. The number counts the messages of the clients; the first is a Hello."""

    def __init__(self, directory):
        self.real = pathlib.Path(directory) / 'real'
        self.conf = pathlib.Path(directory) / 'conf'
        self.conf.write_text(
            f'<busconfig><type>session</type><listen>unix:path={self.real}</listen><policy context="default">'
            '<allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/>'
            '</policy></busconfig>')
        self.listener = socket.create_server(f'{directory}/front', family=socket.AF_UNIX)
        os.environ['DBUS_SYSTEM_BUS_ADDRESS'] = f'unix:path={directory}/front'
        self.lock = threading.RLock()
        self.behave(passes)
        self.start()
        threading.Thread(target=self.accept, daemon=True).start()

    def behave(self, rule):
        self.rule, self.number = rule, 0

    def start(self):
        """The bus first, then its services."""
        self.children = {}
        self.launch('the bus', f'dbus-daemon --nofork --nopidfile --config-file={self.conf}')
        wait_for(self.listens, 'the bus')
        self.begin()

    def listens(self):
        """Its socket exists some time before that."""
        with socket.socket(socket.AF_UNIX) as probe:
            return probe.connect_ex(str(self.real)) == 0

    def launch(self, name, command):
        environment = {**os.environ, 'DBUS_SYSTEM_BUS_ADDRESS': f'unix:path={self.real}'}
        self.children[name] = subprocess.Popen(command.split(), env=environment, stdout=subprocess.DEVNULL,
                                               stderr=subprocess.DEVNULL)

    def begin(self):
        """Starts all services that are not running."""
        with self.lock:
            missing = SERVICES.keys() - self.children.keys()
            bus = dbus.bus.BusConnection(f'unix:path={self.real}')
            for name in missing:
                wait_for(lambda: not bus.name_has_owner(name), f'the end of {name}')
                self.launch(name, f'/usr/bin/python3 {SERVICES[name]}')
            for name in missing:
                wait_for(lambda: bus.name_has_owner(name), name)
            if MODEM_MANAGER in missing:
                manager = bus.get_object(MODEM_MANAGER, '/org/freedesktop/ModemManager1')
                manager.Do(MODEM, dbus_interface='org.zorva.Mock')
            bus.close()

    def end(self, name):
        child = self.children.pop(name)
        child.kill()
        child.wait()

    def stop(self):
        for name in list(self.children):
            self.end(name)
        self.real.unlink(missing_ok=True)

    def accept(self):
        while True:
            threading.Thread(target=self.serve, args=(self.listener.accept()[0],), daemon=True).start()

    def serve(self, client):
        with client, socket.socket(socket.AF_UNIX) as server:
            try:
                server.connect(str(self.real))
                self.pass_on(client, server)
            except OSError:
                pass  # one of them has gone

    def pass_on(self, client, server):
        begun = set()  # ends that have authenticated and now send messages
        waiting = {client: b'', server: b''}
        while True:
            for end in select.select([client, server], [], [])[0]:
                data, descriptors, _, _ = socket.recv_fds(end, 1 << 16, 16)
                if not data:
                    return
                other = server if end is client else client
                if end not in begun:
                    other.sendall(data)
                    begun |= {end} if end is client and data.endswith(b'BEGIN\r\n') else set()
                    continue
                begun.add(server)
                waiting[end] += data
                while len(waiting[end]) >= 16:
                    body, _, fields = struct.unpack('<III', waiting[end][4:16])
                    length = 16 + (fields + 7) // 8 * 8 + body
                    if len(waiting[end]) < length:
                        break
                    message, waiting[end] = waiting[end][:length], waiting[end][length:]
                    self.number += end is client
                    passed = self.rule(self.number, message, end is client)
                    if passed is None:
                        return
                    socket.send_fds(other, [passed], descriptors if passed else [])
                    while descriptors:
                        os.close(descriptors.pop())


def passes(number, message, from_client):
    return message


def vanishes(front, name, at, returns):
    """A rule that kills the service before a message of the clients, and restarts it or not."""
    def rule(number, message, from_client):
        if from_client and number == at:
            with front.lock:
                front.end(name)
                if returns:
                    front.begin()
        return message
    return rule


def categories(text):
    return set(re.findall(r'^\S+ \S+ \[(\w+)\]', text, re.M))


def bus():
    tally = Tally()
    os.environ['DBUS_SYSTEM_BUS_ADDRESS'] = 'unix:path=/none'
    entries = categories(run(program('zorva'), '-q').stdout)

    def snapshot(what, rule):
        begun = time.monotonic()
        front.behave(rule)
        shown = run(program('zorva'), '-q', errors='replace')
        tally.check(shown.returncode == 0 and not broken_lines(shown.stdout) and entries <= categories(shown.stdout),
                    f'{what}: status {shown.returncode}, {broken_lines(shown.stdout)[:2]}, '
                    f'no {entries - categories(shown.stdout)}')
        return time.monotonic() - begun

    with tempfile.TemporaryDirectory() as directory:
        front = Bus(directory)
        snapshot('a whole bus', passes)
        count = front.number
        hanging = [snapshot(f'no answer from message {at}', lambda number, message, from_client:
                            message if number < at else b'') for at in range(1, count + 1, 6)]
        for at in range(1, count + 1):
            snapshot(f'cut at message {at}', lambda number, message, from_client:
                     None if from_client and number == at else message)
        for name in SERVICES:
            for at in range(1, count + 1):
                progress(at, count, f'{name} vanishes')
                front.begin()
                snapshot(f'{name} vanishes at message {at}', vanishes(front, name, at, returns=False))
                front.begin()
                snapshot(f'{name} vanishes and returns at message {at}', vanishes(front, name, at, returns=True))
        tally.tried.append(f'snapshots: {len(hanging)} with a bus that hangs take up to {max(hanging):.0f} s, '
                           f'{count} with one that breaks off, {len(SERVICES) * count * 2} with a service that vanishes, '
                           'half of them with its return')
        hold(front, tally)
        front.stop()
    return tally.result()


def hold(front, tally, restarts=20):
    """One daemon through all of it, and through restarts of the bus and its services."""
    front.behave(passes)
    daemon = Daemon()
    longest = {}

    def answered(what):
        """Begins a new log, and waits for the answer to a notification in it."""
        begun = time.monotonic()
        for log in logs():
            log.unlink()
        [log] = wait_for(logs, f'a new log with {what}')
        daemon.post('VKSSRPingGoingOut')
        wait_for(lambda: '[Skyvault Event] type=ping;' in log.read_text(), f'an answer with {what}')
        longest[what] = max(longest.get(what, 0), round(time.monotonic() - begun))
        tally.check(not broken_lines(log.read_text()), f'{what}: {broken_lines(log.read_text())[:2]}')

    def descriptors():
        time.sleep(6)  # a bus that dropped its clients is not called for five seconds
        answered('a whole bus')
        links = [os.readlink(link) for link in pathlib.Path(f'/proc/{daemon.process.pid}/fd').iterdir()]
        # The event loop makes a timer for each clock at its first use, and keeps it.
        return sorted(link for link in links if link != 'anon_inode:[timerfd]')

    first = descriptors()
    children = list(front.children.values())
    for what, hanging in ('a bus that hangs', children[:1]), ('services that hang', children[1:]):
        for child in hanging:
            child.send_signal(signal.SIGSTOP)
        begun = time.monotonic()
        while time.monotonic() < begun + 30:
            answered(what)
        for child in hanging:
            child.send_signal(signal.SIGCONT)
        answered('late answers')
    front.behave(lambda number, message, from_client: None)
    answered('a bus that breaks off')
    front.behave(passes)
    for number in range(restarts):
        progress(number + 1, restarts, 'restarts')
        front.stop()
        answered('no bus')
        with subprocess.Popen([program('zorva'), '-q'], stdout=subprocess.DEVNULL) as snapshot:
            front.start()
        tally.check(snapshot.returncode == 0, 'a snapshot during a restart')
        answered('a new bus')
    last = descriptors()
    tally.check(len(last) <= len(first), f'descriptors: {first}, at last {last}')
    tally.check(daemon.end() == 0, 'the daemon did not end well')
    clear()
    tally.tried.append(f'a daemon and {restarts} restarts: a new log with an answer in it took up to (s) {longest}; '
                       f'{len(first)} to {len(last)} descriptors')
