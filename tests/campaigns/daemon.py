#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""What the real daemon has to survive, on a device of its own (needs root; touches nothing outside):

    tests/campaigns/daemon.py BIN [CAMPAIGN...]     all but soak, with the programs of the folder BIN

    kill      killed at 1,000 random moments: whole lines, whole preferences, a clean next start
    move      the log moved away 1,000 times under load: every entry in one file, in order, whole
    keep      packaging/zorva-keep 300 times under load: every entry in one file, in order, whole
    bus       a message bus that hangs, breaks off, answers late; services that vanish
    soak      SOAK_SECONDS (3600) under load: memory and descriptors stay what they were

Prints what each tried and what was lost; status 1 when anything was. Needs the system's own Python, run as
/usr/bin/python3 when another one comes first, with its modules (python3-dbus, python3-dbusmock).
"""
import contextlib
import gzip
import itertools
import os
import pathlib
import plistlib
import random
import re
import subprocess
import sys
import time

if {'-h', '--help'} & set(sys.argv):
    print(__doc__)
    sys.exit()
try:
    import dbus  # noqa: F401 (which the campaigns with a bus need)
except ImportError:
    sys.exit(f'{sys.executable} has no module dbus: run this with /usr/bin/python3, and install python3-dbus')

from buses import bus
from campaign import EVENTS, Daemon, broken_lines, clear, events_in, logs, progress, programs
from programs import LOG_DIRECTORY, PREFERENCES, wait_for


def kill(times=1000):
    """Sends events until the daemon is killed; the seed makes a run repeatable."""
    moments = random.Random(1)
    cut = answered = 0
    lost = []
    for number in range(times):
        progress(number + 1, times, 'kill')
        daemon = Daemon()
        deadline = time.monotonic() + moments.uniform(0, 0.05)
        sent = []
        for name in itertools.cycle(EVENTS):
            if time.monotonic() >= deadline:
                break
            daemon.post(name)
            sent.append(EVENTS[name])
        daemon.kill()
        for log in logs():
            text = log.read_text()
            whole = text[:text.rfind('\n') + 1]
            cut += whole != text
            if broken_lines(whole):
                lost.append(f'run {number}: {broken_lines(whole)[:2]}')
            found = events_in(whole)
            answered += len(found)
            if found != sent[:len(found)]:
                lost.append(f'run {number}: entries out of order')
        if PREFERENCES.exists():
            plistlib.loads(PREFERENCES.read_bytes())
        extra = [path.name for path in PREFERENCES.parent.iterdir() if path != PREFERENCES]
        if len(extra) > 1:
            lost.append(f'run {number}: left over {extra}')
        clear()
        if number % 3 == 0:
            PREFERENCES.unlink(missing_ok=True)  # so that the next one writes it again
    daemon = Daemon()
    if daemon.end() != 0:
        lost.append('the last start did not end well')
    clear()
    return f'{times} kills, {answered} entries of events, {cut} last lines cut', lost


def move(times=1000):
    daemon = Daemon()
    names = list(EVENTS)
    sent = []
    moved = []
    lost = []
    for number in range(times):
        progress(number + 1, times, 'move')
        [log] = wait_for(logs, 'a log')
        for step in range(20):
            name = names[len(sent) % len(names)]
            daemon.post(name)
            sent.append(EVENTS[name])
            if step == 10:
                moved.append(LOG_DIRECTORY / f'moved-{number}')
                log.rename(moved[-1])
    wait_for(logs, 'a log')
    status = daemon.end()
    texts = [path.read_text() for path in moved + logs()]
    found = [event for text in texts for event in events_in(text)]
    if status != 0:
        lost.append(f'status {status}')
    if found != sent:
        at = next((i for i, (a, b) in enumerate(zip(found, sent)) if a != b), min(len(found), len(sent)))
        lost.append(f'{len(sent)} posted, {len(found)} found, the first difference at {at}')
    lost += [f'in {path.name}: {broken_lines(text)[:2]}' for path, text in zip(moved + logs(), texts)
             if broken_lines(text)]
    lost += [f'{path.name} begins with {text[:20]!r}' for path, text in zip(moved + logs(), texts)
             if text.count('Zorva Version: 5\n') != 1 or not text.startswith('Zorva Version: 5\n')]
    clear()
    return f'{times} moves, {len(sent)} events posted, {len(texts)} files', lost


def keep(times=300):
    """Once a run is a day: here a log is compressed as soon as twenty events have come after its move."""
    daemon = Daemon()
    names = list(EVENTS)
    sent = []
    texts = []
    lost = []
    tool = pathlib.Path(__file__).parents[2] / 'packaging/zorva-keep'
    environment = {**os.environ, 'ZORVA_LOGS': str(LOG_DIRECTORY), 'ZORVA_CLOSED': ''}

    def collect():
        for path in sorted(LOG_DIRECTORY.glob('Zorva_*.zorva.closed.gz'), key=lambda one: one.stat().st_mtime_ns):
            texts.append(gzip.decompress(path.read_bytes()).decode())
            path.unlink()

    for number in range(times):
        progress(number + 1, times, 'keep')
        wait_for(logs, 'a log')
        for step in range(20):
            name = names[len(sent) % len(names)]
            daemon.post(name)
            sent.append(EVENTS[name])
            if step == 10:
                subprocess.run([tool, '30'], check=True, env=environment)
                collect()
    wait_for(logs, 'a log')
    status = daemon.end()
    for _ in range(2):
        subprocess.run([tool, '30'], check=True, env=environment)
        collect()
    left = [path.name for path in LOG_DIRECTORY.iterdir()]
    found = [event for text in texts for event in events_in(text)]
    if status != 0 or left:
        lost.append(f'status {status}, left over {left}')
    if found != sent:
        at = next((i for i, (a, b) in enumerate(zip(found, sent)) if a != b), min(len(found), len(sent)))
        lost.append(f'{len(sent)} posted, {len(found)} found, the first difference at {at}')
    lost += [f'{broken_lines(text)[:2]}' for text in texts if broken_lines(text)]
    clear()
    return f'{times} runs, {len(sent)} events posted, {len(texts)} compressed logs', lost


def soak():
    """Notifications, processes that come and go, and a new log every five minutes."""
    seconds = int(os.environ.get('SOAK_SECONDS', 3600))
    daemon = Daemon()
    proc = pathlib.Path(f'/proc/{daemon.process.pid}')

    def used():
        return (int(re.search(r'VmRSS:\s+(\d+)', (proc / 'status').read_text()).group(1)),
                sorted(os.readlink(link) for link in (proc / 'fd').iterdir()))

    def settled():  # a descriptor may be open for a moment, and closed before it is read
        measured = []
        while len(measured) < 20:
            with contextlib.suppress(FileNotFoundError):
                measured.append(used())
        return min(measured, key=lambda one: len(one[1]))

    begun = time.monotonic()
    first = None
    posted = moves = 0
    while time.monotonic() - begun < seconds:
        for name in EVENTS:
            daemon.post(name)
            posted += 1
        subprocess.run(['true'], check=True)
        time.sleep(0.2)
        elapsed = time.monotonic() - begun
        if elapsed > (moves + 1) * min(300, seconds / 10):
            [log] = wait_for(logs, 'a log')
            log.unlink()
            moves += 1
            wait_for(logs, 'a new log')
            first = first or settled()  # after the first new log everything has been in use
        progress(int(elapsed), seconds, 'soak')
    last = settled()
    lost = [] if daemon.end() == 0 else ['it did not end well']
    if len(last[1]) > len(first[1]):
        lost.append(f'descriptors: {first[1]}, in the end {last[1]}')
    if last[0] > first[0] * 1.05:
        lost.append(f'memory grew from {first[0]} to {last[0]} KiB')
    clear()
    return (f'{seconds} s, {posted} notifications, {moves} new logs, resident {first[0]} to {last[0]} KiB, '
            f'descriptors {len(first[1])} to {len(last[1])}'), lost


def main():
    campaigns = {each.__name__: each for each in (kill, move, keep, bus, soak)}
    failed = False
    for name in sys.argv[2:] or [name for name in campaigns if name != 'soak']:
        tried, lost = campaigns[name]()
        print(f'{name}: {tried}')
        for what in lost[:10]:
            print(f'  LOST {what}')
        print(f'  {len(lost)} losses', flush=True)
        failed |= bool(lost)
    sys.exit(1 if failed else 0)


programs.enter_device()
main()
