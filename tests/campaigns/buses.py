"""A message bus that hangs, breaks off, answers late or with what nobody asked for, or is restarted."""
import contextlib
import os
import pathlib
import random
import re
import select
import socket
import struct
import subprocess
import tempfile
import threading
import time

import dbus

from campaign import Daemon, Tally, broken_lines, clear, logs, progress
from programs import ROOT, program, run, wait_for

# Well-formed answers to nobody's question: their types, and how they are marshalled.
WRONG = [(b'', b''), (b's', struct.pack('<I', 6) + b'%n%s\x1b[\0'), (b'u', b'\xff' * 4),
         (b'v', b'\1i\0\0' + b'\xff' * 4), (b'h', bytes(4)), (b'as', bytes(4)), (b'a{sv}', bytes(8)),
         (b'(st)', struct.pack('<I', 8) + b'poweroff\0' + bytes(3) + b'\xff' * 8)]
MODEM = '''
bearer = Object('/Bearer/0', {'Bearer': dict(Connected=True, Interface='wwan0')})
modem = add('/Modem/0', Modem=dict(State=dbus.Int32(11), Bearers=paths('/Bearer/0')))
'''


class Bus:
    """A bus with a login manager, a Bluetooth service and a modem, and in front of it a bus that passes
    on, message by message, what rule(number, message, from_client) returns instead, or ends the
    connection at None. The number counts what the clients have sent; the first is their Hello."""

    def __init__(self, directory):
        self.directory = pathlib.Path(directory)
        self.children = []
        (self.directory / 'conf').write_text(
            f'<busconfig><type>session</type><listen>unix:path={directory}/real</listen><policy '
            'context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>'
            '<allow own="*"/></policy></busconfig>')
        self.front = str(self.directory / 'front')
        self.listener = socket.create_server(self.front, family=socket.AF_UNIX)
        self.begin(passes)
        threading.Thread(target=self.accept, daemon=True).start()

    def begin(self, rule, silent=False):
        self.rule = rule
        self.silent = silent
        self.number = 0

    def start(self):
        environment = {**os.environ, 'DBUS_SYSTEM_BUS_ADDRESS': f'unix:path={self.directory}/real'}
        python = ['/usr/bin/python3']
        for command in (['dbus-daemon', '--nofork', '--nopidfile', f'--config-file={self.directory}/conf'],
                        [*python, ROOT / 'platform/linux/ModemManagerMock_test.py'],
                        *([*python, '-m', 'dbusmock', '--system', '-t', template]
                          for template in ('logind', 'bluez5'))):
            self.children.append(subprocess.Popen([str(word) for word in command], env=environment,
                                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
            wait_for((self.directory / 'real').exists, 'the bus')
        bus = wait_for(self.connection, 'the bus')
        for name in 'org.freedesktop.ModemManager1', 'org.freedesktop.login1', 'org.bluez':
            wait_for(lambda: bus.name_has_owner(name), name)
        bus.get_object('org.freedesktop.ModemManager1', '/org/freedesktop/ModemManager1').Do(
            MODEM, dbus_interface='org.zorva.Mock')
        bus.close()

    def connection(self):
        with contextlib.suppress(dbus.DBusException):
            return dbus.bus.BusConnection(f'unix:path={self.directory}/real')

    def stop(self):
        for child in self.children:
            child.kill()
            child.wait()
        self.children.clear()
        (self.directory / 'real').unlink(missing_ok=True)

    def accept(self):
        while True:
            client = self.listener.accept()[0]
            threading.Thread(target=self.serve, args=(client,), daemon=True).start()

    def serve(self, client):
        with client, socket.socket(socket.AF_UNIX) as server, contextlib.suppress(OSError):
            if self.silent:
                return client.recv(1 << 16) and select.select([], [], [], 60)
            server.connect(str(self.directory / 'real'))
            begun = {client: False, server: False}  # until then they agree on how to talk
            waiting = {client: [b'', []], server: [b'', []]}
            while True:
                for end in select.select([client, server], [], [])[0]:
                    data, descriptors, _, _ = socket.recv_fds(end, 1 << 16, 16)
                    if not data:
                        return
                    other = server if end is client else client
                    if not begun[end]:
                        other.sendall(data)
                        begun[end] = end is client and data.endswith(b'BEGIN\r\n')
                        continue
                    begun[server] = True
                    waiting[end][0] += data
                    waiting[end][1] += descriptors
                    for message in messages(waiting[end]):
                        self.number += end is client
                        passed = self.rule(self.number, message, end is client)
                        if passed is None:
                            return
                        if isinstance(passed, Late):
                            timer = threading.Timer(30, send, (client, passed))
                            timer.daemon = True
                            timer.start()
                        elif passed:
                            to = client if isinstance(passed, Answer) else other
                            socket.send_fds(to, [passed], waiting[end][1])
                        while waiting[end][1]:
                            os.close(waiting[end][1].pop())


class Answer(bytes):
    """What goes back to the client instead of on to the bus."""


class Late(bytes):
    """What reaches the client only after half a minute."""


def send(client, message):
    with contextlib.suppress(OSError):
        client.sendall(message)


def messages(waiting):
    while len(waiting[0]) >= 16:
        body, _, fields = struct.unpack('<III', waiting[0][4:16])
        length = 16 + (fields + 7) // 8 * 8 + body
        if len(waiting[0]) < length:
            return
        message, waiting[0] = waiting[0][:length], waiting[0][length:]
        yield message


def wrong_answer(message, signature, body):
    if message[1] != 1 or message[2] & 1:  # no call, or one that wants no answer
        return b''
    fields = struct.pack('<BBBB', 5, 1, ord('u'), 0) + message[8:12]
    fields += struct.pack('<BBBBB', 8, 1, ord('g'), 0, len(signature)) + signature + b'\0'
    head = struct.pack('<cBBBIII', b'l', 2, 1, 1, len(body), 0x7fffffff, len(fields)) + fields
    return Answer(head + bytes(-len(head) % 8) + body)


def damaged(numbers):
    """Changes up to four bytes of each answer."""
    def rule(number, message, from_client):
        if from_client or number < 2:
            return message
        changed = bytearray(message)
        for _ in range(numbers.randint(1, 4)):
            changed[numbers.randrange(len(changed))] = numbers.choice(b'\0\1\xff%suoha(){}') 
        return bytes(changed)
    return rule


def categories(text):
    return set(re.findall(r'^\S+ \S+ \[(\w+)\]', text, re.M))


def passes(number, message, from_client):
    return message


def from_hello_on(wanted):
    """A rule that lets the Hello pass, and does to the rest what wanted(message, from_client) says."""
    return lambda number, message, from_client: message if number < 2 else wanted(message, from_client)


def cut(at):
    return lambda number, message, from_client: None if from_client and number == at else message


def halt(at):
    return lambda number, message, from_client: message if number < at else b''


def late(message, from_client):
    return message if from_client else Late(message)


def bus():
    tally = Tally()
    os.environ['DBUS_SYSTEM_BUS_ADDRESS'] = 'unix:path=/none'
    entries = categories(run(program('zorva'), '-q').stdout)

    def snapshot(what, rule, silent=False):
        begun = time.monotonic()
        front.begin(rule, silent)
        shown = run(program('zorva'), '-q', errors='replace')
        tally.check(shown.returncode == 0, f'{what}: status {shown.returncode}')
        tally.check(not broken_lines(shown.stdout), f'{what}: {broken_lines(shown.stdout)[:2]}')
        tally.check(entries <= categories(shown.stdout), f'{what}: no {entries - categories(shown.stdout)}')
        return time.monotonic() - begun

    with tempfile.TemporaryDirectory() as directory:
        front = Bus(directory)
        os.environ['DBUS_SYSTEM_BUS_ADDRESS'] = f'unix:path={front.front}'
        front.start()
        snapshot('a whole bus', passes)
        count = front.number
        hanging = [snapshot('accepts only', passes, silent=True), snapshot('no Hello', halt(1))]
        hanging += [snapshot(f'no answer from {at}', halt(at)) for at in range(2, count + 1, 8)]
        tally.tried.append(f'snapshots with a bus that hangs at any of {count} messages take up to '
                           f'{max(hanging):.0f} s')
        for at in range(1, count + 1):
            snapshot(f'cut at {at}', cut(at))
        for answer in WRONG:
            snapshot(f'answers {answer[0]}', from_hello_on(
                lambda message, from_client: wrong_answer(message, *answer) if from_client else b''))
        numbers = random.Random(1)
        for number in range(100):
            progress(number + 1, 100, 'damaged answers')
            snapshot(f'damaged {number}', damaged(numbers))
        tally.tried.append(f'{count} cut connections, {len(WRONG)} wrong types, 100 with damaged answers')
        front.begin(passes)
        hold(front, tally)
        front.stop()
    return tally.result()


def hold(front, tally):
    """One daemon through all of it, and through restarts of the bus and its services."""
    daemon = Daemon()
    longest = 0

    def answers(what):
        """A new log with whole entries, and in it the answer to a notification."""
        nonlocal longest
        begun = time.monotonic()
        for log in logs():
            log.unlink()
        wait_for(logs, f'{what}: a new log')
        daemon.post('VKSSRPingGoingOut')
        wait_for(lambda: any('[Skyvault Event] type=ping;' in log.read_text() for log in logs()), what)
        longest = max(longest, time.monotonic() - begun)
        for log in logs():
            tally.check(not broken_lines(log.read_text()), f'{what}: {broken_lines(log.read_text())[:2]}')

    def descriptors():
        time.sleep(1)
        return sorted(os.readlink(link) for link in pathlib.Path(f'/proc/{daemon.process.pid}/fd').iterdir())

    answers('a whole bus')
    first = descriptors()
    rules = {'no answers': (halt(1), False), 'answers after 30 s': (from_hello_on(late), False),
             'cut': (from_hello_on(lambda message, from_client: None), False),
             'accepts only': (passes, True), 'a whole bus again': (passes, False)}
    for what, (rule, silent) in rules.items():
        front.begin(rule, silent)
        for _ in range(4):
            answers(what)
    for number in range(20):
        progress(number + 1, 20, 'restarts')
        front.stop()
        answers('no bus')
        snapshots = subprocess.Popen([program('zorva'), '-q'], stdout=subprocess.DEVNULL)
        front.start()
        answers('a new bus')
        tally.check(snapshots.wait(60) == 0, 'a snapshot during a restart')
    time.sleep(6)  # a bus that dropped its callers is left alone for five seconds
    answers('at last')
    last = descriptors()
    tally.check(len(last) <= len(first), f'descriptors: {first}, at last {last}')
    tally.check(daemon.end() == 0, 'the daemon did not end well')
    clear()
    tally.tried.append(f'a daemon through {len(rules)} kinds of bus and 20 restarts: a new log and the '
                       f'answer in it after up to {longest:.0f} s, {len(first)} to {len(last)} descriptors')
