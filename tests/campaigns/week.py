# SPDX-License-Identifier: Apache-2.0
"""A week of a simulated handset: nothing may pile up."""
import pathlib
import re
import shutil
import statistics
import tempfile

from campaign import EVENTS, Tally, events_in
from programs import ROOT, program, run

EVENTS_A_DAY = 720
DESCRIPTORS = 8
# Undoes what the scenario of a day has changed, for the next one.
NIGHT = '''  - at: 17:40:00
    processes: {end: 121}
    accessories: {disconnect: 0x22}
  - at: 17:50:00
    accessories: {connect: {connection_id: 0x21, name: Bedside Dock}}
    assertions: {take: {process: 45, name: Dock audio}}
'''


def days(count):
    """The scenario of so many days, with events between its steps that many loggers handle."""
    head, day = re.split(r'^steps:\n', (ROOT / 'scenarios/day.yaml').read_text(), 1, re.M)
    day = re.sub(r'^end:.*', '\n' + NIGHT, day, 0, re.M)
    names = list(EVENTS)
    steps = [(number * 86400 // EVENTS_A_DAY,
              f'    notify: {names[number % len(names)]}\n    battery: {{level: {70 + number % 2}}}\n')
             for number in range(count * EVENTS_A_DAY)]
    for step in re.split(r'^  - at: ', day, 0, re.M)[1:]:
        at, rest = step.split('\n', 1)
        hours, minutes, seconds = map(int, at.split(':'))
        steps += [(number * 86400 + hours * 3600 + minutes * 60 + seconds, rest) for number in range(count)]
    steps.sort(key=lambda step: step[0])
    return head + 'steps:\n' + ''.join(f'  - at: {at}\n{what}' for at, what in steps) + f'end: {count}d\n'


def week(count=7):
    tally = Tally()
    with tempfile.TemporaryDirectory() as directory:
        scenario, measured = pathlib.Path(directory) / 'week.yaml', pathlib.Path(directory) / 'measured'
        scenario.write_text(days(count))
        lived = run(program('zorva-sim'), scenario)
        tally.check(lived.returncode == 0 and len(events_in(lived.stdout)) >= count * EVENTS_A_DAY,
                    f'status {lived.returncode}, {len(events_in(lived.stdout))} answers: {lived.stderr[:200]}')
        run('sh', '-c', f'ulimit -n {DESCRIPTORS}; exec "$@"', 'sh', program('zorva-sim'), scenario, '--root', directory,
            '--', '-d')
        text = ''.join(log.read_text() for log in pathlib.Path(directory).glob('Library/Logs/Faultbox/*'))
        tally.check(text == 'Zorva Version: 5\n' + lived.stdout, f'{DESCRIPTORS} descriptors do not do')
        tally.tried.append(f'{count} days, {len(text) >> 10} KiB of log, with {DESCRIPTORS} descriptors')
        if shutil.which('valgrind'):
            run('valgrind', '--tool=massif', '--max-snapshots=200', f'--massif-out-file={measured}',
                program('zorva-sim'), scenario, timeout=600)
            # Reading the scenario takes most memory. From then on its steps are used up.
            series = [int(size) >> 10 for size in re.findall(r'^mem_heap_B=(\d+)', measured.read_text(), re.M)]
            after = series[series.index(max(series)) + 1:]
            first, last = statistics.median(after[:10]), statistics.median(after[-10:])
            tally.check(len(after) > 30 and last <= first, f'allocated: {first} KiB, in the end {last}')
            tally.tried.append(f'allocated at first {first:.0f} KiB, in the end {last:.0f}')
        else:
            tally.tried.append('not tried: what is allocated (there is no valgrind)')
    return tally.result()
