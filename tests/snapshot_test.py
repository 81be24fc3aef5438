# SPDX-License-Identifier: Apache-2.0
"""zorva on this machine: usage, and snapshots that agree with the system's own tools."""
import os
import pathlib
import pty
import re
import signal
import subprocess
import time
import unittest

import programs
from programs import entries, program, run


class SnapshotTest(unittest.TestCase):
    def test_usage(self):
        for option in '-h', '-x':
            shown = run(program('zorva'), option)
            self.assertEqual((shown.returncode, shown.stdout, shown.stderr), (0, '', programs.USAGE))

    def test_processes_are_those_of_the_machine(self):
        sleeper = subprocess.Popen(['sleep', '1000'])
        try:
            own = os.times().user + os.times().system
            output = run(program('zorva'), '-q').stdout
        finally:
            sleeper.kill()
            sleeper.wait()
        [body] = entries(output, 'ProcessMonitor')
        fields = [(name, int(pid), int(seconds)) for name, pid, seconds
                  in re.findall(r' (.*?)\((\d+)\)=(\d+);', body)]
        self.assertIn(('sleep', sleeper.pid, 0), fields)
        mine = [seconds for _, pid, seconds in fields if pid == os.getpid()]
        self.assertTrue(mine and int(own) - 1 <= mine[0] <= int(own) + 2, (mine, own))
        order = [(-seconds, pid) for _, pid, seconds in fields]
        self.assertEqual(order, sorted(order))
        running = {int(path.name) for path in pathlib.Path('/proc').iterdir() if path.name.isdigit()}
        listed = {pid for _, pid, _ in fields}
        self.assertTrue(len(fields) == 999 or len(running - listed) < 20, running - listed)

    def test_interfaces_and_locale_are_those_of_the_machine(self):
        before = {path.name: int((path / 'statistics/rx_bytes').read_text())
                  for path in pathlib.Path('/sys/class/net').iterdir() if (path / 'statistics').is_dir()}
        output = run(program('zorva'), '-q').stdout
        [network] = entries(output, 'Network')
        shown = {name: int(received) for name, received
                 in re.findall(r' (\S+)=(\d+)b/\d+b;', network)}
        self.assertEqual(set(shown), set(before) - {'lo'})
        for name, received in shown.items():
            self.assertLess((received - before[name]) % 2**32, 2**26, name)
        [locale] = entries(output, 'Locale')
        zone = time.strftime('%Z')
        self.assertRegex(locale, rf'^ id=\w+; country=(\w+|\(null\)); time_zone={re.escape(zone)}; '
                                 rf'dst={"yes" if time.localtime().tm_isdst else "no"};$')

    def test_on_a_terminal_nothing_stands_between_the_entries(self):
        terminal, output = pty.openpty()
        child = subprocess.Popen([program('zorva'), '-q'], stdout=output, stderr=output)
        os.close(output)
        shown = b''
        try:
            while piece := os.read(terminal, 65536):
                shown += piece
        except OSError:  # reading a terminal fails after its other side is closed
            pass
        os.close(terminal)
        self.assertEqual(child.wait(), 0)
        foreign = [line.startswith('zorva: ') for line in shown.decode().splitlines()]
        self.assertEqual(foreign, sorted(foreign), shown.decode())

    def test_it_ends_when_its_reader_closes_the_pipe(self):
        for options in ([], ['-q']):
            whole = run(program('zorva'), '-q').stderr
            child = subprocess.Popen([program('zorva'), *options], stdout=subprocess.PIPE,
                                     stderr=subprocess.PIPE, text=True)
            child.stdout.readline()
            child.stdout.close()
            complained = child.stderr.read()
            self.assertIn(child.wait(timeout=20), (0, -signal.SIGPIPE) if options else (-signal.SIGPIPE,))
            self.assertEqual(bool(complained), bool(whole), 'what waits for standard error')

    def test_a_run_loop_that_fails_ends_it_with_a_failure(self):
        ended = run('strace', '-f', '-qq', '-e', 'trace=epoll_wait,epoll_pwait2',
                    '-e', 'inject=epoll_wait,epoll_pwait2:error=EINVAL:when=1+', program('zorva'),
                    env={**os.environ, 'ASAN_OPTIONS': 'detect_leaks=0'})
        self.assertEqual(ended.returncode, 1)
        self.assertIn('the event loop has failed', ended.stderr)

    def test_one_entry_costs_one_write(self):
        trace = run('strace', '-e', 'trace=write,writev,pwrite64', '-e', 'write=none', '-s', '64',
                    program('zorva'), '-q', env={**os.environ, 'ASAN_OPTIONS': 'detect_leaks=0'})
        lines = [line for line in trace.stdout.splitlines() if line]  # blank ones go with the next
        writes = [line for line in trace.stderr.splitlines() if line.startswith('write(1,')]
        self.assertGreaterEqual(len(lines), 3)
        self.assertEqual(len(writes), len(lines))


programs.main()
