# SPDX-License-Identifier: Apache-2.0
"""Hostile local users: planted files, posts of other users, malformed names."""
import ctypes
import datetime
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import sys
import time
import unicodedata

from campaign import EVENTS, Daemon, Tally, broken_lines, clear, events_in, logs, week_year
from programs import LOG_DIRECTORY, MOBILE, PREFERENCES, entries, program, run, wait_for

NEIGHBOUR = 12345
PING = 'VKSSRPingGoingOut'
SECRET = 'root:only-root-may-read-this\n'
NAMES = [b'%n%n%s%s%x%d', b'\x1b[2J\x1b]0;x\x07', b'a\nb', b'\n01/01/26 00:00', b'a;b=c; d=%', b'x(1)=9; y',
         b') R 1 1 1 1 1', b'((()', b'\xff\xfe\x80', '\u202eexe.\u2028'.encode(), b' ', b'\t\r\\n', b'\xe2\x80',
         ('\u00e4' * 7).encode(), b'\x7f\xc2\x85', b'[Zorva] x']
MARKS = '\u200e\u200f\u061c\u202a\u202b\u202c\u202d\u202e\u2066\u2067\u2068\u2069'


def shown(name):
    """The form that a text from outside has in an entry."""
    return ''.join('\ufffd' if '\udc80' <= c <= '\udcff' else
                   ''.join(f'\\x{byte:02x}' for byte in c.encode())
                   if unicodedata.category(c) in ('Cc', 'Zl', 'Zp') or c in MARKS else c
                   for c in name.decode('utf-8', 'surrogateescape'))


def plants(victim):
    """What another user may put where a file will be created, and how."""
    return {'a link': lambda path: path.symlink_to(victim),
            'a link to nothing': lambda path: path.symlink_to(victim.with_name('made')),
            'a hard link': lambda path: path.hardlink_to(victim),
            'a pipe': os.mkfifo,
            'a socket': lambda path: socket.socket(socket.AF_UNIX).bind(str(path)),
            'a directory': pathlib.Path.mkdir,
            'a file': lambda path: path.write_text('mine') and os.chown(path, NEIGHBOUR, NEIGHBOUR),
            'a device': lambda path: path.symlink_to('/dev/zero')}


def make_victim(directory):
    """A file of root's that must not change, and beside which no file may be created."""
    victim = directory / 'victim'
    victim.write_text(SECRET)
    victim.chmod(0o600)

    def unharmed():
        status = victim.stat()
        return (victim.read_text() == SECRET and (status.st_uid, status.st_mode & 0o777) == (0, 0o600)
                and not victim.with_name('made').exists())
    return victim, unharmed


def next_names(attempts):
    """The names that a log file may get in the next seconds."""
    for second in range(4):
        moment = datetime.datetime.now() + datetime.timedelta(seconds=second)
        stamp = f'{week_year(moment)}{moment:-%m-%d-%H%M%S}'
        for attempt in attempts:
            yield LOG_DIRECTORY / f'Zorva_{stamp}{f"-{attempt}" if attempt else ""}_{os.uname().nodename}.zorva'


def remove(path):
    shutil.rmtree(path) if path.is_dir() and not path.is_symlink() else path.unlink(missing_ok=True)


def log_names(tally):
    victim, unharmed = make_victim(LOG_DIRECTORY.parent)
    os.chown(LOG_DIRECTORY, NEIGHBOUR, NEIGHBOUR)
    LOG_DIRECTORY.chmod(0o777)
    daemon = Daemon()
    [log] = wait_for(logs, 'a log')

    def begun(before):
        """The log that is begun beside the files before, once an answer is in it."""
        [new] = wait_for(lambda: [path for path in set(logs()) - set(before) if path.is_file()], 'a new log')
        daemon.post(PING)
        wait_for(lambda: EVENTS[PING] in new.read_text(), 'an answer in it')
        tally.check((new.stat().st_uid, new.stat().st_nlink) == (MOBILE, 1) and not new.is_symlink(), f'{new}')
        tally.check(unharmed(), f'{what}: the victim is harmed')
        return new

    kinds = plants(victim)
    for what, plant in kinds.items():
        for attempts in range(9), range(10):  # one name is left, or none
            time.sleep(1.1)  # the name that the log leaves is in the past
            planted = list(next_names(attempts))
            for path in planted:
                plant(path)
            log.rename(LOG_DIRECTORY / 'moved')
            if len(attempts) == 10:
                time.sleep(0.3)
                tally.check(not [path for path in logs() if path not in planted], f'{what}: a log at {logs()}')
                for path in planted:
                    remove(path)
                planted = []
            log = begun(planted)
            for path in [*planted, LOG_DIRECTORY / 'moved']:
                remove(path)
        # At the log's own path: later entries must not be lost in a file without a name.
        if what != 'a directory':
            plant(LOG_DIRECTORY / 'moved')
            (LOG_DIRECTORY / 'moved').rename(log)
            replaced, log = log, begun([log])
            remove(replaced)
    tally.check(daemon.end() == 0, 'the daemon did not end well')
    os.chown(LOG_DIRECTORY, 0, 0)
    victim.unlink()
    clear()
    tally.tried.append(f'{len(kinds)} kinds of files at the log\'s next names and in its place')


def preferences(tally):
    directory = PREFERENCES.parent
    victim, unharmed = make_victim(PREFERENCES.parents[3])
    kinds = {**plants(victim),
             'a huge file': lambda path: path.touch() or os.truncate(path, 1 << 40),
             'a nest': lambda path: path.write_text('<plist>' + '<array>' * 100000),
             'other types': lambda path: path.write_text(
                 '<plist version="1.0"><dict><key>ZVRecordSyslog</key><data>AAAA</data>'
                 '<key>ZVSecondsBeforeSignificantTimeTriggered</key><string>%n</string></dict></plist>')}
    for place in PREFERENCES, directory:
        for what, plant in kinds.items():
            remove(directory)
            place.parent.mkdir(parents=True, exist_ok=True)
            plant(place)
            run('chown', '-Rh', f'{MOBILE}:{MOBILE}', PREFERENCES.parents[2])
            if what == 'a hard link':
                os.chown(victim, 0, 0)
            daemon = Daemon()
            [log] = wait_for(logs, 'a log')
            daemon.post(PING)
            wait_for(lambda: EVENTS[PING] in log.read_text(), f'an answer with {what}')
            tally.check(daemon.end() == 0 and unharmed(), f'{what} at {place}: the victim is harmed')
            found = run('grep', '-rlF', SECRET.strip(), PREFERENCES.parents[2]).stdout.split()
            tally.check(all(os.path.samefile(path, victim) for path in found), f'{what}: the secret is in {found}')
            clear()
    remove(directory)
    victim.unlink()
    tally.tried.append(f'{len(kinds)} kinds in place of the preferences and of their directory')


def posts(tally, count=2000):
    """Another user posts between posts of root: only those of root are received, in order."""
    daemon = Daemon()
    [log] = wait_for(logs, 'a log')
    code = ('import socket, sys; s = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM); s.connect(sys.argv[1])\n'
            f'for name in [b"com.vennor.zorva.exit", b"NMXDidSendFilterMessage"] * {count}: s.send(b"ZVN1" + name)')
    other = {'args': [sys.executable, '-c', code, daemon.path], 'user': NEIGHBOUR, 'group': NEIGHBOUR,
             'stderr': subprocess.PIPE}
    tally.check(b'PermissionError' in subprocess.run(**other).stderr, 'the socket is open to others')
    os.chmod(daemon.path, 0o666)  # only the check of the sender remains
    with subprocess.Popen(**other) as poster:
        for _ in range(count):
            daemon.post(PING)
    tally.check(poster.returncode == 0 and daemon.end() == 0, 'the other user could not post, or was heard')
    heard = events_in(log.read_text())
    tally.check(heard == [EVENTS[PING]] * count, f'{len(heard)} heard of {count}')
    clear()
    tally.tried.append(f'{2 * count} posts of another user among {count} of root')


def named_process(names, renames=False):
    process = os.fork()
    if process:
        return process
    prctl = ctypes.CDLL(None).prctl
    while True:
        for name in names:
            prctl(15, name, 0, 0, 0)  # PR_SET_NAME
            while not renames:
                signal.pause()


def names(tally, times=200):
    processes = {named_process([name]): name for name in NAMES}
    renamers = [named_process(NAMES, renames=True) for _ in range(3)]
    time.sleep(0.5)
    for _ in range(times):
        text = run(program('zorva'), '-q').stdout
        tally.check(not broken_lines(text), f'process names: {broken_lines(text)[:2]}')
        [monitored] = entries(text, 'ProcessMonitor')
        for process, name in processes.items():
            tally.check(f' {shown(name)}({process})=' in monitored, f'{name} is not shown as {shown(name)}')
        for process in renamers:
            tally.check(len(re.findall(rf'.\({process}\)=\d+;', monitored)) == 1, 'a renamed one is missing')
        tally.check(not re.search(r'[\0-\x1f\x7f]', text.replace('\n', '')), 'control characters')
    for process in [*processes, *renamers]:
        os.kill(process, signal.SIGKILL)
        os.waitpid(process, 0)
    for name in NAMES:
        text = name.decode('utf-8', 'replace')
        quoted = ''.join(f'\\U{ord(c):08x}' for c in text)
        done = run(program('zorva-sim'), '/dev/stdin', input=f'device: {{wifi: {{network: {{ssid: "{quoted}"}}}}}}\nend: 1m\n')
        tally.check(not broken_lines(done.stdout) and f' ap={shown(text.encode())};' in done.stdout,
                    f'network {name}: {done.stdout[:200]}{done.stderr}')
    tally.tried.append(f'{len(NAMES)} names of processes, with three that rename themselves, in {times} '
                       'snapshots; the same names of networks')


def neighbours():
    tally = Tally()
    for part in log_names, preferences, posts, names:
        part(tally)
    return tally.result()
