"""A week of a simulated handset: what it needs beside one day."""
import os
import pathlib
import re
import resource
import shutil
import statistics
import subprocess
import tempfile

from campaign import EVENTS, Tally, events_in
from programs import ROOT, program, run

EVENTS_A_DAY = 720
# What the scenario of a day leaves behind is put back for the next one.
NIGHT = '''
  - at: 17:40:00
    processes: {end: 121}
    accessories: {disconnect: 0x22}
  - at: 17:50:00
    accessories: {connect: {connection_id: 0x21, name: Bedside Dock}}
    assertions: {take: {process: 45, name: Dock audio}}
'''


def days(count):
    """The steps of so many days, by their seconds, and between them events that many loggers answer."""
    head, day = re.split(r'^steps:\n', (ROOT / 'scenarios/day.yaml').read_text(), 1, re.M)
    day = re.sub(r'^end:.*', NIGHT, day, 0, re.M)
    names = list(EVENTS)
    steps = [(number * 86400 // EVENTS_A_DAY,
              f'    notify: {names[number % len(names)]}\n    battery: {{level: {70 + number % 2}}}\n')
             for number in range(count * EVENTS_A_DAY)]
    for step in re.split(r'^  - at: ', day, 0, re.M)[1:]:
        at, rest = step.split('\n', 1)
        hours, minutes, seconds = map(int, at.split(':'))
        steps += [(number * 86400 + hours * 3600 + minutes * 60 + seconds, rest) for number in range(count)]
    return head, sorted(steps, key=lambda step: step[0])


def week(count=7):
    tally = Tally()
    head, steps = days(count)

    def live(until, descriptors=1024):
        """Of the scenario of all days, those until then: reading it needs the same memory every time."""
        ended = sorted([*steps, (until * 86400, '    notify: com.vennor.zorva.exit\n')], key=lambda step: step[0])
        scenario.seek(0)
        scenario.truncate()
        scenario.write(head + 'steps:\n' + ''.join(f'  - at: {at}\n{what}' for at, what in ended))
        scenario.flush()
        with tempfile.TemporaryDirectory() as root:
            process = subprocess.Popen(
                [program('zorva-sim'), scenario.name, '--root', root, '--', '-d'], stderr=subprocess.PIPE,
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (descriptors,) * 2))
            with process.stderr:
                told = process.stderr.read().decode()
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
            text = ''.join(log.read_text() for log in pathlib.Path(root).glob('Library/Logs/Faultbox/*'))
        return process.returncode, text, told, usage.ru_maxrss, usage.ru_utime + usage.ru_stime

    with tempfile.NamedTemporaryFile('w', suffix='.yaml') as scenario:
        day, whole = live(1), live(count)
        for number, lived in (1, day), (count, whole):
            tally.check(lived[0] == 0, f'{number} days: status {lived[0]}: {lived[2][:200]}')
            answers = len(events_in(lived[1]))
            tally.check(answers >= number * EVENTS_A_DAY, f'{number} days: {answers} answers')
        tally.check(whole[1].startswith(day[1]) and len(whole[1]) > 5 * len(day[1]), 'the days differ')
        tally.check(whole[3] < day[3] * 1.1, f'memory: {day[3]} KiB for a day, {whole[3]} for {count}')
        least = next(limit for limit in range(4, 64) if live(1, limit)[:3] == day[:3])
        tally.check(live(count, least)[:3] == whole[:3], f'{least} descriptors do for a day and not for {count}')
        tally.tried.append(f'{count} days, {len(steps)} steps, {len(whole[1]) >> 10} KiB of log: a peak of {whole[3]} '
                           f'KiB, of one day {day[3]} KiB; {least} descriptors for both; {whole[4]:.1f} s of CPU time')
        tally.tried.append(heap(tally, scenario.name))
    return tally.result()


def heap(tally, scenario):
    """What is allocated once the scenario is read, which takes most, until the end of the last day."""
    if shutil.which('valgrind') is None:
        return 'not tried: what is allocated (there is no valgrind)'
    with tempfile.NamedTemporaryFile('r') as measured:
        run('valgrind', '--tool=massif', '--max-snapshots=200', f'--massif-out-file={measured.name}',
            program('zorva-sim'), scenario, timeout=600)
        series = [int(bytes) for bytes in re.findall(r'^mem_heap_B=(\d+)', measured.read(), re.M)]
    lived = series[series.index(max(series)) + 1:]
    first, last = (statistics.median(part) / 1024 for part in (lived[:10], lived[-10:]))
    tally.check(len(lived) > 30 and last <= first, f'allocated: {first:.0f} KiB, in the end {last:.0f}')
    return f'allocated {first:.0f} KiB after the reading, {last:.0f} in the end, as the steps are used up'
