# SPDX-License-Identifier: Apache-2.0
"""What the campaigns share: a daemon, the form of its log, a tally."""
import os
import pathlib
import re
import socket
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
import programs  # noqa: E402
from programs import LOG_DIRECTORY, program, wait_for  # noqa: E402

# A notification and the entry that answers it. Their order in the log shows which one is missing.
EVENTS = {
    'NMXDidOpenConnectionStream': '[NMX Event] type=opened_stream;',
    'NMXDidEncounterStreamEnd': '[NMX Event] type=stream_ended;',
    'NMXDidSendFilterMessage': '[NMX Event] type=sent_filter_message;',
    'NMXDidSendKeepAliveMessage': '[NMX Event] type=sent_keep_alive_message;',
    'VKSSRPingGoingOut': '[Skyvault Event] type=ping;',
    'VKSSRSyncNotificationReceived': '[Skyvault Event] type=sync_notification;',
    'com.vennor.syncward.ping-going-out': '[Syncward Event] type=ping;',
}
STAMP = re.compile(r'\d\d/\d\d/\d\d \d\d:\d\d:\d\d ')


class Daemon:
    def __init__(self):
        before = sockets()
        self.process = subprocess.Popen([program('zorva'), '-d'], stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        [self.path] = wait_for(lambda: sockets() - before or self.ended(), 'a socket')
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.connect(self.path)

    def ended(self):
        if self.process.poll() is not None:
            raise AssertionError(f'the daemon ended with {self.process.returncode}')

    def post(self, name):
        self.socket.send(b'ZVN1' + name.encode())

    def end(self):
        self.post('com.vennor.zorva.exit')
        return self.process.wait(timeout=60)

    def kill(self):
        self.process.kill()
        self.process.wait()
        os.unlink(self.path)


def sockets():
    return {str(path) for path in pathlib.Path('/run/zorva').glob('[!.]*') if path.is_socket()}


def logs():
    return sorted(LOG_DIRECTORY.glob('*.zorva'))


def clear():
    for path in LOG_DIRECTORY.iterdir():
        path.unlink()


def events_in(text):
    """The answers to notifications, in order."""
    return [line[18:] for line in text.splitlines() if line[18:] in EVENTS.values()]


def broken_lines(text):
    """Lines that are neither empty, nor the head of a file, nor a whole entry."""
    return [line for line in text.splitlines()
            if line and line != 'Zorva Version: 5' and not STAMP.match(line)
            or STAMP.match(line) and not line.endswith(';') and '[Zorva]' not in line
            and '[Syslog]' not in line]


def progress(done, of, what):
    if sys.stderr.isatty() and (done % 10 == 0 or done == of):
        print(f'\r  {what}: {done} of {of}', end='' if done < of else '\n', file=sys.stderr)


class Tally:
    """What was tried, and what was lost."""

    def __init__(self):
        self.tried = []
        self.lost = []

    def check(self, holds, what):
        if not holds:
            self.lost.append(what)
        return holds

    def result(self):
        return '; '.join(self.tried), self.lost
