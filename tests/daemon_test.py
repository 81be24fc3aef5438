# SPDX-License-Identifier: Apache-2.0
"""zorva -d on a device of its own: its files, the watch, notifications, the end."""
import os
import re
import signal
import socket
import subprocess
import sys
import time
import unittest

import programs
from programs import LOG_DIRECTORY, MOBILE, PREFERENCES, program, run, wait_for

# A battery whose driver sends an event for each level that this is given.
KERNEL = '''
import gi, sys
gi.require_version('UMockdev', '1.0')
from gi.repository import UMockdev
kernel = UMockdev.Testbed.new()
battery = kernel.add_device('power_supply', 'BAT0', None, ['type', 'Battery', 'capacity', '50'], [])
print(kernel.get_root_dir(), flush=True)
kernel.set_property(battery, 'POWER_SUPPLY_STATUS', 'Discharging')
for level in sys.stdin:
    kernel.set_property(battery, 'POWER_SUPPLY_CAPACITY', level.strip())
    kernel.uevent(battery, 'change')
'''


class DaemonTest(unittest.TestCase):
    def setUp(self):
        self.daemons = []

    def tearDown(self):
        for daemon in self.daemons:
            daemon.kill()
            daemon.communicate()
        for path in LOG_DIRECTORY.iterdir():
            path.unlink()

    def start(self, **settings):
        """Starts a daemon and waits until it has written its snapshot and listens."""
        logs, sockets = self.logs(), self.sockets()
        settings = {'stdout': subprocess.PIPE, 'stderr': subprocess.PIPE, **settings}
        daemon = subprocess.Popen([program('zorva'), '-d'], **settings)
        self.daemons.append(daemon)
        wait_for(lambda: any(self.complete(log) for log in self.logs() - logs), 'a snapshot')
        wait_for(lambda: self.sockets() - sockets, 'a socket')
        # The loop handles the file's deletion, so it runs, and the exit notification is received.
        for log in self.logs() - logs:
            log.rename(log.with_suffix('.first'))
        wait_for(lambda: any(self.complete(log) for log in self.logs() - logs), 'a second file')
        return daemon

    @staticmethod
    def logs():
        return {path for path in LOG_DIRECTORY.iterdir() if path.suffix == '.zorva'}

    @staticmethod
    def sockets():
        return set(run('find', '/run', '-type', 's', '-not', '-name', '.*').stdout.split())

    @staticmethod
    def complete(log):
        return '[Locale]' in log.read_text()

    def post(self, name):
        self.assertEqual(run(program('zorva-notify'), name).returncode, 0)

    def wait_for_end(self, daemon):
        daemon.communicate(timeout=30)
        return daemon.returncode

    def end(self, daemon):
        self.post('com.vennor.zorva.exit')
        return self.wait_for_end(daemon)

    def test_writes_its_file_and_begins_anew_when_it_is_moved_away(self):
        daemon = self.start()
        [log] = self.logs()
        host = os.uname().nodename
        self.assertRegex(log.name, rf'^Zorva_\d{{4}}-\d\d-\d\d-\d{{6}}(-1)?_{re.escape(host)}\.zorva$')
        self.assertEqual((log.stat().st_uid, log.stat().st_gid), (MOBILE, MOBILE))
        lines = log.read_text().splitlines()
        self.assertEqual(lines[0], 'Zorva Version: 5')
        categories = [re.match(r'\d\d/\d\d/\d\d \d\d:\d\d:\d\d \[([^]]+)\] ', line)[1]
                      for line in lines[1:] if line]
        # Whether these occur depends on the machine: alarms, accessories, the desktop, the battery, energy
        # counters, the journal, control groups.
        of_this_machine = {'Accessory', 'Application', 'Battery', 'Energy', 'Schedule', 'Syslog', 'Work', 'Zorva'}
        # This is the second file: the location technologies are those of the first, so they have no entry.
        self.assertEqual([category for category in categories if category not in of_this_machine],
                         ['Config', 'Network', 'ProcessMonitor', 'Audio', 'WiFi', 'Telephony', 'Keepline',
                          'Thermal', 'Reachability', 'Registration', 'Locale'])
        self.assertEqual((PREFERENCES.stat().st_uid, PREFERENCES.stat().st_gid), (MOBILE, MOBILE))

        (LOG_DIRECTORY / 'crash.log').write_text('not ours')
        moved = LOG_DIRECTORY / 'moved'
        log.rename(moved)
        wait_for(lambda: any(self.complete(new) for new in self.logs()), 'a new file')
        [second] = self.logs()
        self.assertEqual(second.read_text().splitlines()[0], 'Zorva Version: 5')
        self.assertEqual(moved.read_text().splitlines(), lines)

        self.assertEqual(self.end(daemon), 0)
        self.assertEqual(self.logs(), {second})
        self.assertEqual(self.sockets(), set(), 'left over')

    def test_reports_readiness_after_the_first_snapshot(self):
        manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(manager.close)
        manager.settimeout(30)
        manager.bind('\0zorva-test-manager')
        daemon = subprocess.Popen([program('zorva'), '-d'],
                                  env={**os.environ, 'NOTIFY_SOCKET': '@zorva-test-manager'})
        self.daemons.append(daemon)
        self.assertEqual(manager.recv(100), b'READY=1')
        [log] = self.logs()
        self.assertTrue(self.complete(log))
        self.assertEqual(self.end(daemon), 0)

    def test_every_daemon_receives_a_post(self):
        daemons = [self.start(), self.start()]
        dead = self.start()
        dead.send_signal(signal.SIGKILL)
        dead.communicate()
        self.post('com.vennor.zorva.exit')
        self.assertEqual([self.wait_for_end(daemon) for daemon in daemons], [0, 0])
        self.assertEqual(self.sockets(), set(), "the dead one's is cleared too")

    def test_posts_of_other_users_are_ignored(self):
        daemon = self.start()
        [socket] = self.sockets()
        os.chmod(socket, 0o666)  # only the check of the sender remains
        sent = run(sys.executable, '-c', f"""import socket
s = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
s.connect({socket!r})
s.send(b'ZVN1com.vennor.zorva.exit')""", user=MOBILE, group=MOBILE)
        self.assertEqual(sent.returncode, 0, sent.stderr)
        [log] = self.logs()
        log.rename(log.with_suffix('.second'))
        wait_for(self.logs, 'a new file: the daemon keeps running')
        self.assertEqual(self.end(daemon), 0)

    def test_invalid_arguments_are_rejected(self):
        for arguments in ([], ['x' * 5000], ['a/b'], ['name', '--state', '18446744073709551616']):
            refused = run(program('zorva-notify'), *arguments)
            self.assertEqual((refused.returncode, refused.stdout), (2, ''), arguments)
            self.assertIn('zorva-notify: ', refused.stderr)

    def test_idle_it_makes_no_system_call(self):
        daemon = self.start(env={**os.environ, 'ASAN_OPTIONS': 'detect_leaks=0'})
        self.assertEqual(self.calls(daemon), [])
        self.assertEqual(self.end(daemon), 0)

    def test_nor_between_the_events_of_a_battery(self):
        kernel = subprocess.Popen(['umockdev-wrapper', sys.executable, '-c', KERNEL], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, text=True)
        self.addCleanup(kernel.communicate)
        daemon = self.start(env={**os.environ, 'ASAN_OPTIONS': 'detect_leaks=0:verify_asan_link_order=0',
                                 'LD_PRELOAD': 'libumockdev-preload.so.0',
                                 'UMOCKDEV_DIR': kernel.stdout.readline().strip()})
        for level in '49', '48':
            print(level, file=kernel.stdin, flush=True)
            wait_for(lambda: any(f'[Battery] level={level}.00%' in log.read_text() for log in self.logs()), level)
        before = None  # the entries that follow the level's
        while before != (now := [log.stat().st_size for log in self.logs()]):
            before = now
            time.sleep(1)
        self.assertEqual(self.calls(daemon), [])

    @staticmethod
    def calls(daemon):
        trace = run('timeout', '--signal=INT', '2', 'strace', '-f', '-p', daemon.pid)
        return [line for line in trace.stderr.splitlines()
                if not re.search(r'attached|detached|resumed|epoll_wait.*unfinished|'
                                 r'epoll_wait\(.*<detached', line)]


programs.enter_device()
programs.main()
