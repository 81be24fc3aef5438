# SPDX-License-Identifier: Apache-2.0
"""Clocks that are set, zones that change, years that are far away. On the simulated handset; and the real
daemon on a kernel of its own (User Mode Linux, Debian's package user-mode-linux), so that setting its clock
affects nothing else. $UML is the path of that kernel."""
import ctypes
import datetime
import json
import os
import pathlib
import random
import re
import shutil
import sys
import tempfile
import time
import zoneinfo

from campaign import EVENTS, Daemon, Tally, broken_lines, logs, week_year
from programs import LOG_DIRECTORY, ROOT, entries, program, run, wait_for

UTC = datetime.timezone.utc
PING = 'VKSSRPingGoingOut'
SIGNIFICANT = 120.5  # seconds
ZONES = ['Europe/Berlin', 'America/St_Johns', 'Asia/Kathmandu', 'Pacific/Kiritimati', 'Pacific/Niue',
         'Africa/Casablanca', 'Australia/Lord_Howe', 'UTC']
MOMENTS = ['2026-12-31 23:59:58', '2027-01-02 23:59:58', '2037-12-31 23:59:58', '2038-01-19 03:14:06',
           '2106-02-07 06:28:14', '2028-02-29 23:59:58', '2026-03-29 00:59:58', '2026-10-25 00:59:58',
           '1980-01-01 00:00:00', '2199-12-31 23:59:58']


def stamp(seconds, zone):
    """The start of an entry."""
    moment = datetime.datetime.fromtimestamp(seconds, zoneinfo.ZoneInfo(zone))
    return f'{moment:%m/%d/}{week_year(moment) % 100:02d}{moment: %H:%M:%S}'


def epoch(text):
    return int(datetime.datetime.fromisoformat(text).replace(tzinfo=UTC).timestamp())


def stamps_and_silence(tally, minutes=6000):
    """Every minute a ping and an unchanged battery, and every tenth minute another clock or zone."""
    numbers = random.Random(1)
    now, zone = epoch('2026-11-16 14:00:00'), 'UTC'
    steps, expected, due, last = [], [], [], now
    for minute in range(1, minutes):
        now += 60
        if minute % 10 == 0:
            zone = numbers.choice(ZONES)
            now = numbers.choice([now, epoch(numbers.choice(MOMENTS)), now - 86400, now + 86400,
                                  numbers.randrange(epoch('1971-01-01'), epoch('2199-01-01'))])
            now = min(max(now, epoch('1971-01-01')), epoch('2199-12-31'))
            moment = datetime.datetime.fromtimestamp(now, UTC).strftime('%Y-%m-%d %H:%M:%S')
            steps.append(f'  - at: {minute}m\n    locale: {{time_zone: {zone}}}\n    clock: {{set: {moment}}}\n')
        steps.append(f'  - at: {minute}m\n    notify: {PING}\n    battery: {{message: 0xE0024100}}\n')
        expected.append(f'{stamp(now, zone)} {EVENTS[PING]}')
        if now - last > SIGNIFICANT:
            due.append(minute)
            last = now
    done = run(program('zorva-sim'), '/dev/stdin', input='device: {preferences: '
               f'{{ZVSecondsBeforeSignificantTimeTriggered: {SIGNIFICANT}}}}}\nsteps:\n' + ''.join(steps) + f'end: {minutes}m\n')
    lines = done.stdout.splitlines()
    found = [line for line in lines if EVENTS[PING] in line]
    tally.check(found == expected and not broken_lines(done.stdout), f'stamps: {[pair for pair in zip(found, expected) if pair[0] != pair[1]][:3]} '
                f'{len(found)} {done.stderr[:200]}')
    # If nothing changed for long, the clock alone triggers the entries: at once if it was set forward, and
    # only when it has caught up if it was set back.
    minute, reported = 0, []
    for line in lines:
        minute += EVENTS[PING] in line
        if '[ProcessMonitor]' in line and minute:
            reported.append(minute)
    tally.check(reported == due, f'news of no news: {sorted(set(reported) ^ set(due))[:5]}')
    tally.tried.append(f'{minutes} virtual minutes, {minutes // 10} changes of clock and zone, {len(found)} stamps, '
                       f'{len(reported)} times news of no news')


def real_clock(tally, jumps=100):
    """Inside a kernel of its own."""
    daemon = Daemon()
    [log] = wait_for(logs, 'a log')
    numbers = random.Random(2)
    zone = 'UTC'

    def pinged():
        count = log.read_text().count(EVENTS[PING])
        before = int(time.time())
        daemon.post(PING)
        wait_for(lambda: log.read_text().count(EVENTS[PING]) > count, 'an answer')
        found = [line[:17] for line in log.read_text().splitlines() if EVENTS[PING] in line][-1]
        expected = [stamp(second, zone) for second in range(before, int(time.time()) + 1)]
        tally.check(found in expected, f'{found} instead of {expected}')

    def switches():
        status = pathlib.Path(f'/proc/{daemon.process.pid}/status').read_text()
        return int(re.search(r'^voluntary_ctxt_switches:\s+(\d+)', status, re.M).group(1))

    def reported():
        return len(entries(log.read_text(), 'Locale'))

    def move_to(new):
        nonlocal zone
        os.symlink(f'/usr/share/zoneinfo/{new}', '/etc/new')
        before = reported()
        os.rename('/etc/new', '/etc/localtime')
        if new != zone:
            wait_for(lambda: reported() > before, f'news of the zone {new}')
        zone = new

    for number in range(jumps):
        text = MOMENTS[number] if number < len(MOMENTS) else ''
        to = epoch(text) if text else numbers.choice([
            time.time() - 86400, time.time() + 86400, time.time() - 0.5,
            numbers.randrange(epoch('1971-01-01'), epoch('2199-01-01'))])
        before = reported()
        time.clock_settime(time.CLOCK_REALTIME, to)
        wait_for(lambda: reported() > before, f'news of the clock at {to}')
        pinged()
        if text:
            time.sleep(3)  # over the edge
            pinged()
        if number % 10 == 0:
            before, size = switches(), log.stat().st_size
            time.sleep(2)
            tally.check((switches(), log.stat().st_size) == (before, size), 'an idle daemon is awake')
            move_to(numbers.choice(ZONES))
            pinged()
    # The same second occurs again while the file that was begun in it is replaced.
    move_to('UTC')
    known = [log]
    for _ in range(5):
        time.clock_settime(time.CLOCK_REALTIME, epoch('2030-12-30 12:00:00'))  # in the first week of 2031
        (LOG_DIRECTORY / 'edited').write_text('Zorva Version: 5\n')
        (LOG_DIRECTORY / 'edited').rename(known[-1])
        known += wait_for(lambda: [path for path in logs() if path not in known], 'a new log')
    found = [path.name.rsplit('_', 1)[0] for path in known[1:]]
    tally.check(found == [f'Zorva_2031-12-30-120000{attempt}' for attempt in ('', -1, -2, -3, -4)], f'{found}')
    tally.check(daemon.end() == 0, 'the daemon did not end well')
    texts = [path.read_text() for path in LOG_DIRECTORY.iterdir()]
    tally.check(all(text.count('Zorva Version: 5\n') == 1 for text in texts), 'two logs in one file')
    tally.check(not any(map(broken_lines, texts)), 'broken lines')
    tally.tried.append(f'the real daemon through {jumps} clocks set between 1971 and 2199')


def inside():
    """The first process of the kernel; its files are the host's, read-only."""
    etc = {name: (pathlib.Path('/etc') / name).read_bytes()
           for name in ('passwd', 'group', 'nsswitch.conf', 'os-release')}
    for kind, place in [('proc', '/proc'), ('sysfs', '/sys')] + [
            ('tmpfs', place) for place in ('/Library', '/run', '/var', '/tmp', '/etc')]:
        ctypes.CDLL(None, use_errno=True).mount(b'none', place.encode(), kind.encode(), 0, None)
    for name, content in etc.items():
        (pathlib.Path('/etc') / name).write_bytes(content)
    LOG_DIRECTORY.mkdir(parents=True)
    tally = Tally()
    try:
        real_clock(tally)
    except Exception as error:  # the first process must not end
        tally.lost.append(f'{type(error).__name__}: {error}')
    print('\nRESULT', json.dumps([tally.tried, tally.lost]), flush=True)
    os.sync()
    ctypes.CDLL(None).reboot(0x4321fedc)  # RB_POWER_OFF


def clock():
    tally = Tally()
    stamps_and_silence(tally)
    kernel = shutil.which(os.environ.get('UML', 'linux.uml'))
    if kernel is None:
        tally.tried.append('not tried: the real daemon (there is no linux.uml)')
        return tally.result()
    with tempfile.TemporaryDirectory() as directory:
        done = run(kernel, f'uml_dir={directory}', 'mem=256M', 'root=/dev/root', 'rootfstype=hostfs', 'rootflags=/', 'ro', 'con=null',
                   'con0=null,fd:1', 'quiet', 'ZORVA_TEST_DEVICE=1', 'PATH=/usr/sbin:/usr/bin:/sbin:/bin',
                   f'init={sys.executable}', '--', ROOT / 'tests/campaigns/daemon.py',
                   pathlib.Path(sys.argv[1]).resolve(), 'inside', timeout=600, errors='replace')
    found = re.search(r'^RESULT (.*?)\r?$', done.stdout, re.M)
    tried, lost = json.loads(found.group(1)) if found else ([], [f'no result: {done.stdout[-500:]}'])
    tally.tried += tried
    tally.lost += lost
    return tally.result()
