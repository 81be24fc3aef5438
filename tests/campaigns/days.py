#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the account of zorva-report with the truth, on generated days of laptops and phones.

    tests/campaigns/days.py BIN [--seeds N] [--first SEED] [--kinds KIND,...] [--keep DIR] [--fake WAY]

Each seed makes a scenario with a power model, of one kind of day after the other. zorva-sim (of the folder
BIN) writes its log and the truth; `zorva-report --json` reads only the log. A seed makes the same day on every
machine. Percentages are of a full battery, and cover only the time on battery.

A part of the account is
    right      within 10 % of the truth, or within 0.5 % of a full battery
    uncertain  neither, but the report marks it as uncertain
    wrong      neither, and not marked
A part that the truth has (more than 0.5 %) and the report does not name is "untold": it has to be in what the
report calls unattributed. Parts that the report cannot tell apart ("together") are compared by their sum.

The day's first place is right if the truth's largest part is the report's largest attributed one; "in a group"
if the report's largest are parts together and the truth's largest is among them. A sum of the parts that is not
the account's total, or a total that is not the truth's (to 10 % or 2 % of a full battery), is wrong, too.

Prints each day, and a table by kind. The status is 0 if nothing is wrong, no report failed, and 95 of 100 first
places are right or in a group; otherwise 1.

--fake replaces zorva-report by an account made from the truth, to check this comparison. Three pass: "perfect";
"together", which does not tell the two largest parts apart; "uncertain", in which the second is 30 % too small and
marked. Four fail: "wrong", which does not mark it; "second", which exchanges the two largest figures and marks
both; "empty", which attributes nothing; "sum", in which a part is missing from the sum.
"""
import argparse
import collections
import concurrent.futures
import json
import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile

MINUTE, HOUR = 60, 3600
RELATIVE, ABSOLUTE = 0.10, 0.5  # what is right, of the truth and in percent of a full battery
TOTAL_ABSOLUTE = 2.0  # the levels in a log are whole percents, at both ends
FIRST_PLACES = 0.95
CAUSES = ('asleep', 'awake', 'display', 'wifi', 'modem', 'audio')

# Minutes awake and asleep in turn, hours of the day; the rest is what make() does with each.
Kind = collections.namedtuple('Kind', 'phone awake asleep hours')
KINDS = {
    'office': Kind(False, (20, 110), (5, 90), (8, 15)),
    'counters': Kind(False, (20, 110), (5, 90), (8, 15)),   # energy counters, and work by units
    'indexer': Kind(False, (30, 120), (5, 60), (6, 14)),    # a process out of hand for hours
    'video': Kind(False, (40, 150), (10, 90), (6, 12)),     # bright, loud, over Wi-Fi
    'shallow': Kind(False, (10, 35), (120, 500), (24, 48)),  # sleeps that use much
    'naps': Kind(False, (5, 40), (1, 6), (6, 10)),
    'idle': Kind(False, (300, 500), (5, 20), (8, 14)),      # awake, the display mostly off
    'charger': Kind(False, (30, 120), (10, 90), (8, 15)),
    'phone': Kind(True, (2, 35), (5, 90), (14, 28)),
    'woken': Kind(True, (0.5, 1.3), (2.5, 8), (14, 24)),
    'modem': Kind(True, (5, 50), (5, 60), (10, 20)),        # mobile data, calls, a weak signal
    'music': Kind(True, (20, 90), (10, 60), (8, 16)),
}
WATTS = {  # lowest and highest; the display's at its greatest brightness; traffic in J per million bytes
    False: {'asleep': (0.15, 0.6), 'awake': (1.5, 4.5), 'display': (2, 6.5), 'cpu': (3, 8), 'wifi_traffic': (0.2, 0.6),
            'audio': (0.2, 0.8)},
    True: {'asleep': (0.015, 0.05), 'awake': (0.2, 0.8), 'display': (0.8, 1.8), 'cpu': (0.9, 2.2),
           'wifi_traffic': (0.15, 0.4), 'modem_traffic': (0.8, 2.5), 'call': (0.6, 1.3), 'audio': (0.08, 0.25)},
}
ENERGY = {False: (30, 95), True: (8, 20)}  # Wh
VOLTAGE = {False: 11.55, True: 3.85}
NAMES = ['browser', 'mail', 'editor', 'chat', 'notes', 'calendar', 'photos', 'maps', 'file-sync', 'terminal', 'reader',
         'news']
GUESTS = ['compiler', 'backup', 'updater', 'scanner']  # start and end
NO_TELEPHONY = {'rat': None, 'sim': None, 'operator': None, 'registration': {'status': None, 'home': None},
                'data': {'attached': False, 'active': False, 'indicator': None},
                'signal': {'raw': None, 'percent': None, 'bars': None}, 'firmware': None, 'state_durations': None}


class Day:
    """A scenario: its device, its steps, the times at which a charger comes and goes."""

    def __init__(self, kind, seed):
        self.kind = KINDS[kind]
        self.name = kind
        self.random = random.Random(f'{kind} {seed}')
        self.steps = []
        self.charger = None
        self.units = {}  # to the names of their processes
        self.make()

    def make(self):
        r = self.random
        phone = self.kind.phone
        self.top = r.choice([100, 255, 1000] if not phone else [255])
        self.model = {name: r.uniform(*limits) for name, limits in WATTS[phone].items()}
        if self.name == 'shallow':
            self.model['asleep'] = r.uniform(0.9, 2.2)
        if self.name in ('indexer', 'video', 'music'):  # so that being awake is not what uses most
            self.model['awake'] *= 0.6
        if self.name == 'music':
            self.model['audio'] *= 2.5
        if self.name == 'modem':
            self.model['modem_traffic'] *= 2.5
        self.model['display'] /= self.top
        self.interface = 'pdp_ip0' if self.name == 'modem' else 'en0' if phone else 'wlan0'
        self.loads = {}  # by process id, what it uses when nothing special happens
        processes = [{'id': 1, 'name': 'init', 'cpu_time': 4}]
        for number, name in enumerate(['desktop' if not phone else 'home', *r.sample(NAMES, r.randint(3, 6))]):
            pid = 400 + 37 * number
            self.loads[pid] = round(r.choice([0, r.uniform(0.01, 0.05), r.uniform(0.03, 0.12)]), 3)
            processes.append({'id': pid, 'name': name, 'path': f'/usr/bin/{name}', 'load': self.loads[pid],
                              'cpu_time': round(r.uniform(1, 90), 1)})
        counted = not phone and (self.name == 'counters' or r.random() < 0.3)
        work = not phone and (self.name == 'counters' or r.random() < 0.4)
        if work:
            for process in processes[1:]:
                process['unit'] = f'app-{process["name"]}@{process["id"]}'
                self.units[process['unit']] = process['name']
        self.device = {
            'battery': {'level': round(r.uniform(88, 100), 1), 'voltage': round(VOLTAGE[phone] * 1000)},
            'backlight': {'brightness': 0, 'min': 0, 'max': self.top}, 'processes': processes,
            'interfaces': [{'name': 'lo', 'loopback': True}, {'name': self.interface}],
        }
        if counted:
            self.model['counters'] = {'package-0': ['process']}
            if r.random() < 0.5:
                self.model['counters']['psys'] = ['awake', 'display', 'process', 'wifi', 'audio']
            self.device['energy'] = dict.fromkeys(self.model['counters'], 0)
        if work:
            self.device['work'] = {process['unit']: process['cpu_time'] for process in processes[1:]}
        if not phone:
            self.device['telephony'] = NO_TELEPHONY
            self.device['suspend'] = {'mode': 's2idle', 'hardware': 0, 'sources': {'LNXLID0': {'events': 3}}}
        self.fill()
        self.steps.sort(key=lambda step: step[0])

    def at(self, time, **keys):
        self.steps.append((int(time), keys))

    def minutes(self, low, high):
        return self.random.uniform(low, high) * MINUTE

    def fill(self):
        """Awake and asleep in turn, beginning and ending awake."""
        kind, r = self.kind, self.random
        hours = r.uniform(*kind.hours) * HOUR
        if self.name == 'indexer':
            self.hog = r.choice([pid for pid in self.loads if pid > 400])
            begin = r.uniform(0.1, 0.4) * hours
            self.hogging = (begin, begin + r.uniform(0.3, 0.6) * hours)
            self.at(self.hogging[0], processes={'load': {self.hog: round(r.uniform(0.8, 2.5), 2)}})
            self.at(self.hogging[1], processes={'load': {self.hog: self.loads[self.hog]}})
        sessions = []
        time = 0
        while time < hours:
            used = self.name == 'woken' and r.random() < 0.06  # a person uses it, for longer
            length = self.minutes(5, 25) if used else self.minutes(*kind.awake)
            short = self.name == 'woken' and not used
            sessions.append((int(time), int(time + length), short))
            time += length + self.minutes(*kind.asleep)
        for number, (begin, end, short) in enumerate(sessions):
            if begin:
                self.wake(sessions[number - 1][1], begin)
            self.notified(begin) if short else self.session(begin, end)
            if number + 1 < len(sessions):
                self.at(end, backlight={'brightness': 0})
                self.at(end + 2, sleep=True)
        self.end = sessions[-1][1]
        if self.name == 'charger':
            begin, end, _ = max(sessions[1:-1] or sessions, key=lambda one: one[1] - one[0])
            self.charger = (begin + 61, end - 61)
            self.at(self.charger[0], charger=round(self.random.uniform(30, 65), 1))
            self.at(self.charger[1], charger=None)

    def wake(self, slept, time):
        r = self.random
        if self.kind.phone:
            self.at(time, wake={'reason': r.choice(['button', 'exton2(bb)', 'rtc'])})
            return
        share = r.uniform(0.01, 0.08) if self.name == 'shallow' else r.uniform(0.85, 0.99)
        self.at(time, suspend={'hardware': int((time - slept) * share), 'sources': {'LNXLID0': {'events': 1}}},
                wake={'reason': 'lid'})

    def notified(self, time):
        """A message wakes the phone for a moment."""
        r = self.random
        self.at(time, push={'message': {'topic': f'com.example.{r.choice(["chat", "chat", "chat", "mail"])}'}},
                traffic={self.interface: {'received': r.randint(4000, 90000), 'sent': r.randint(1000, 9000)}},
                processes={'add_cpu_time': {r.choice(list(self.loads)): round(r.uniform(0.3, 4), 2)}})

    def session(self, begin, end):
        self.display(begin, end)
        self.work(begin, end)
        self.traffic(begin, end)
        if self.random.random() < {'music': 0.9, 'video': 0.8}.get(self.name, 0.2):
            self.audio(begin, end)
        if self.kind.phone and self.random.random() < {'modem': 0.6}.get(self.name, 0.12):
            self.call(begin, end)

    def display(self, begin, end):
        r = self.random
        dark = {'idle': 0.7, 'music': 0.75}.get(self.name, 0.08)
        time = begin
        while time < end - 5:
            if r.random() < dark:
                brightness = 0
            elif self.name == 'video':
                brightness = round(self.top * r.uniform(0.55, 1))
            else:
                brightness = round(self.top * r.uniform(0.15, 0.9))
            self.at(time, backlight={'brightness': brightness})
            time += self.minutes(8, 70)

    def work(self, begin, end):
        """Loads that begin and end; nothing of them outlasts the session but the hog's."""
        r = self.random
        busiest = r.uniform(0.3, 1.5)
        for pid, usual in self.loads.items():
            if self.name == 'indexer' and pid == self.hog:
                continue
            time = begin + self.minutes(0, 30)
            while time < end - 3 * MINUTE:
                stop = min(end - 10, time + self.minutes(2, 25))
                load = r.choice([0, r.uniform(0.05, 0.3), r.uniform(0.1, busiest)])
                self.at(time, processes={'load': {pid: round(load, 3)}})
                self.at(stop, processes={'load': {pid: usual}})
                time = stop + self.minutes(5, 90)
        if r.random() < 0.3 and end - begin > 10 * MINUTE:
            start = begin + r.uniform(0.1, 0.5) * (end - begin)
            guest, pid = r.choice(GUESTS), 3000 + int(begin)
            started = {'id': pid, 'name': guest, 'path': f'/usr/bin/{guest}', 'load': round(r.uniform(0.2, 1.5), 2)}
            if self.units:
                started['unit'] = f'{guest}.service'
                self.units[started['unit']] = guest
            self.at(start, processes={'start': started},
                    assertions={'take': {'process': pid, 'name': f'{guest} at work'}})
            stop = min(end - 10, start + self.minutes(2, 30))
            self.at(stop, processes={'end': pid}, assertions={'release': {'process': pid, 'name': f'{guest} at work'}})

    def traffic(self, begin, end):
        r = self.random
        most = {'video': 260e6, 'modem': 120e6, 'idle': 5e6}.get(self.name, 12e6 if self.kind.phone else 50e6)
        time = begin + self.minutes(1, 8)
        while time < end:
            received = int(r.uniform(0.05, 1) ** 2 * most)
            sent = int(received * r.uniform(0.02, 0.3))
            self.at(time, traffic={self.interface: {'received': received, 'sent': sent}})
            if self.name == 'modem':
                raw = r.randint(-117, -98)
                self.at(time, telephony={'signal': {'raw': raw, 'percent': 118 + raw, 'bars': int(raw > -105)}})
            time += self.minutes(3, 12)

    def audio(self, begin, end):
        r = self.random
        start = begin + r.uniform(0, 0.3) * (end - begin)
        pid = r.choice(list(self.loads))
        self.at(start, audio={'playing': True}, assertions={'take': {'process': pid, 'name': 'Playing'}})
        self.at(min(end - 5, start + self.minutes(10, 120)), audio={'playing': False},
                assertions={'release': {'process': pid, 'name': 'Playing'}})

    def call(self, begin, end):
        start = begin + self.random.uniform(0.05, 0.5) * (end - begin)
        self.at(start, telephony={'calls': {1: 'Active'}})
        self.at(min(end - 5, start + self.minutes(1, 25)), telephony={'calls': {1: None}})

    def power(self, energy, scale=1):
        """Gives the battery its size, in Wh; scale changes all of the model's figures."""
        voltage = VOLTAGE[self.kind.phone]
        figures = {name: value if name == 'counters' else round(value * scale, 6) for name, value in self.model.items()}
        self.device['power_model'] = {'energy': round(energy, 3), 'voltage': voltage, **figures}
        self.device['battery']['max_capacity'] = round(1000 * energy / voltage)

    def scenario(self, until=None):
        until = until or self.end + MINUTE
        steps = [{'at': time, **keys} for time, keys in self.steps if time < until]
        text = json.dumps({'device': self.device, 'steps': steps, 'end': until})
        return re.sub(r'"(\d+)":', r'\1:', text)  # JSON is YAML, but for keys that are numbers


def simulate(sim, folder, scenario):
    """Writes the log. Returns the truth: percent of the battery by cause, processes by name; the total also in Wh."""
    path = folder / 'day.yaml'
    path.write_text(scenario)
    done = subprocess.run([sim, path, '--truth', folder / 'day.truth'], capture_output=True, text=True, timeout=300)
    if done.returncode != 0:
        raise RuntimeError(f'{sim}: status {done.returncode}: {done.stderr.strip()[:500]}')
    (folder / 'day.log').write_text(done.stdout)
    truth = collections.Counter()
    for line in (folder / 'day.truth').read_text().splitlines()[1:]:
        _, _, wh, percent, cause = line.split(maxsplit=4)
        words = cause.split(maxsplit=2)
        if words[0] == 'process':
            cause = f'process {words[2]}'
        truth[cause] += float(percent)
        if cause == 'total':
            truth['Wh'] = float(wh)
    return truth


def parts_of(truth):
    return {cause: percent for cause, percent in truth.items() if cause in CAUSES or cause.startswith('process ')}


def generate(kind, seed, sim, folder):
    """Writes the scenario, its log and truth to the folder. Returns the day and the truth on battery."""
    day = Day(kind, seed)
    r = day.random
    day.power(10000)
    used = simulate(sim, folder, day.scenario())['Wh']
    low, high = ENERGY[day.kind.phone]
    energy = max(low, used / (day.device['battery']['level'] / 100 * r.uniform(0.55, 0.93)))
    day.power(min(energy, high), min(1, high / energy))
    truths = []
    if day.charger:  # what was used up to its end, less what was used until it came
        truths = [(time, simulate(sim, folder, day.scenario(time))) for time in day.charger]
    truth = simulate(sim, folder, day.scenario())
    if truth['off']:
        raise RuntimeError('the generated day empties its battery')
    parts = collections.Counter(parts_of(truth))
    for sign, (_, cut) in zip((1, -1), truths):
        for cause, percent in parts_of(cut).items():
            parts[cause] += sign * percent
    if abs(sum(parts.values()) - (truth['total'] - truth['total on the charger'])) > 0.02:
        raise RuntimeError('the parts on battery are not the total on battery')
    (folder / 'day.truth.json').write_text(json.dumps(parts, indent=1))
    return day, dict(parts)


def fake(truth, way):
    """An account as zorva-report would print it, made from the truth."""
    ranking = sorted(truth.items(), key=lambda part: -part[1])
    parts = []
    for cause, percent in ranking:
        what, _, name = cause.partition(' ')
        parts.append({'what': what, 'name': name, 'percent': percent, 'uncertain': False})
    total = sum(truth.values())
    if way in ('wrong', 'uncertain'):
        parts[1]['percent'] *= 0.7
        parts[1]['uncertain'] = way == 'uncertain'
    elif way == 'second':
        parts[0]['percent'], parts[1]['percent'] = parts[1]['percent'], parts[0]['percent']
        parts[0]['uncertain'] = parts[1]['uncertain'] = True
    elif way == 'together':
        both = parts[:2]
        parts[:2] = [{'what': 'together', 'name': ', '.join(part['name'] or part['what'] for part in both),
                      'percent': sum(part['percent'] for part in both), 'uncertain': True}]
    elif way == 'empty':
        parts = []
    if way == 'sum':
        parts = [part for part in parts if part['percent'] > 0.7][:-1]
    else:
        rest = total - sum(part['percent'] for part in parts)
        parts.append({'what': 'unattributed', 'percent': rest, 'uncertain': False})
    return {'account': {'seconds': 0, 'percent': total, 'parts': parts}}


def report(program, log):
    done = subprocess.run([program, '--json', log], capture_output=True, text=True, timeout=300)
    if done.returncode != 0:
        raise RuntimeError(f'zorva-report: status {done.returncode}: {done.stderr.strip()[:300]}')
    first = json.loads(done.stdout.split('\n', 1)[0])
    if 'report' not in first:
        raise RuntimeError('the first line of zorva-report --json is no "report"')
    return first['report']


def causes_of(part, truth, units):
    """The truth's causes that a part of the account is about."""
    if part['what'] == 'process':
        return [f'process {units.get(part["name"], part["name"])}']
    if part['what'] != 'together':
        return ['modem' if part['what'] == 'call' else part['what']]
    causes = []
    for name in part['name'].split(', '):
        if name == 'processes':  # all of them
            causes += [cause for cause in truth if cause.startswith('process ')]
            continue
        name = units.get(name, name)
        cause = 'modem' if name == 'call' else name if name in CAUSES else f'process {name}'
        if cause not in causes:
            causes.append(cause)
    return causes


def near(figure, truth, absolute=ABSOLUTE):
    return abs(figure - truth) <= max(RELATIVE * truth, absolute) + 1e-9


def united(groups):
    """Groups that share a cause become one: the truth has calls and traffic of the modem as one."""
    result = {}
    for causes, (percent, uncertain) in groups.items():
        for others in [others for others in result if set(others) & set(causes)]:
            more, unsure = result.pop(others)
            causes = tuple(sorted({*causes, *others}))
            percent, uncertain = percent + more, uncertain or unsure
        result[causes] = percent, uncertain
    return result


class Result:
    """One day: how many parts are what, the first place, what is wrong."""

    def __init__(self, truth, account, units):
        self.counts = collections.Counter()
        self.complaints = []
        self.first = 'missed'
        groups = {}  # by the causes: percent, uncertain
        total = account['percent']
        sum_of_parts = 0
        for part in account['parts']:
            sum_of_parts += part['percent']
            if part['what'] == 'unattributed':
                if part['percent'] < -ABSOLUTE:
                    self.wrong(f'unattributed is {part["percent"]:.2f} %')
                continue
            causes = tuple(sorted(causes_of(part, truth, units)))
            percent, uncertain = groups.get(causes, (0, False))
            groups[causes] = (percent + part['percent'], uncertain or part.get('uncertain', False))
        groups = united(groups)
        for causes, (percent, uncertain) in groups.items():
            true = sum(truth.get(cause, 0) for cause in causes)
            if near(percent, true):
                self.counts['right'] += 1
            elif uncertain:
                self.counts['uncertain'] += 1
            else:
                self.wrong(f'{" + ".join(causes)} is {percent:.2f} %, in truth {true:.2f} %')
        named = [cause for causes in groups for cause in causes]
        untold = [cause for cause, percent in truth.items() if percent > ABSOLUTE and cause not in named]
        self.counts['untold'] += len(untold)
        if abs(sum_of_parts - total) > 0.1 + 0.05 * len(account['parts']):  # figures may be rounded to a tenth
            self.wrong(f'the parts add up to {sum_of_parts:.2f} %, the total is {total:.2f} %')
        if not near(total, sum(truth.values()), TOTAL_ABSOLUTE):
            self.wrong(f'the total is {total:.2f} %, in truth {sum(truth.values()):.2f} %')
        self.place(truth, groups)

    def wrong(self, complaint):
        self.counts['wrong'] += 1
        self.complaints.append(complaint)

    def place(self, truth, groups):
        true_first = self.true_first = max(truth, key=truth.get)
        second = max((percent for cause, percent in truth.items() if cause != true_first), default=0)
        largest = max(groups, key=lambda causes: groups[causes][0], default=())
        if true_first in largest:
            self.first = 'right' if len(largest) == 1 else 'in a group'
        else:
            self.complaints.append(f'first is {" + ".join(largest) or "nothing"}, in truth {true_first} with '
                                   f'{truth[true_first]:.2f} % (the second has {second:.2f} %)')


def judge(kind, seed, arguments):
    with tempfile.TemporaryDirectory(prefix='zorva-days-') as temporary:
        folder = pathlib.Path(temporary)
        if arguments.keep:
            folder = arguments.keep / f'{kind}-{seed}'
            folder.mkdir(parents=True, exist_ok=True)
        day, truth = generate(kind, seed, arguments.bin / 'zorva-sim', folder)  # a failure here ends the campaign
        try:
            said = (fake(truth, arguments.fake) if arguments.fake
                    else report(arguments.bin / 'zorva-report', folder / 'day.log'))
            return Result(truth, said['account'], day.units)
        except (RuntimeError, KeyError, TypeError, ValueError, subprocess.TimeoutExpired) as error:
            return f'{type(error).__name__}: {error}'


COLUMNS = ['days', 'parts', 'right', 'uncertain', 'wrong', 'untold', 'first right', 'in a group', 'missed',
           'no account']


def table(tallies):
    lines = [['kind of day', *COLUMNS]]
    total = collections.Counter()
    for tally in tallies.values():
        total += tally
    for kind, tally in [*tallies.items(), ('all', total)]:
        lines.append([kind, *(str(tally[column]) for column in COLUMNS)])
    widths = [max(len(line[column]) for line in lines) for column in range(len(lines[0]))]
    lines.insert(1, [width * '-' for width in widths])
    for line in lines:
        print('| ' + ' | '.join(cell.ljust(width) for cell, width in zip(line, widths)) + ' |')
    return total


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    options.add_argument('bin', type=pathlib.Path, metavar='BIN')
    options.add_argument('--seeds', type=int, default=100)
    options.add_argument('--first', type=int, default=1, metavar='SEED')
    options.add_argument('--kinds', default=','.join(KINDS), help=f'of {", ".join(KINDS)}')
    options.add_argument('--keep', type=pathlib.Path, metavar='DIR', help='keep scenarios, logs and truths there')
    options.add_argument('--fake', choices=['perfect', 'together', 'uncertain', 'wrong', 'second', 'empty', 'sum'])
    arguments = options.parse_args()
    kinds = arguments.kinds.split(',')
    unknown = [kind for kind in kinds if kind not in KINDS]
    if unknown or arguments.seeds < 1:
        options.error(f'no such kind of day: {", ".join(unknown)}' if unknown else '--seeds is at least 1')
    days = [(kinds[seed % len(kinds)], seed) for seed in range(arguments.first, arguments.first + arguments.seeds)]
    tallies = {kind: collections.Counter() for kind in kinds}
    true_firsts = collections.Counter()
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = pool.map(lambda day: judge(*day, arguments), days)
        for number, ((kind, seed), result) in enumerate(zip(days, results)):
            if sys.stderr.isatty() or (number + 1) % 10 == 0:
                print(f'  {number + 1} of {len(days)} days', file=sys.stderr)
            tally = tallies[kind]
            tally['days'] += 1
            if isinstance(result, str):
                tally['no account'] += 1
                print(f'{seed:4} {kind:9} no account: {result}')
                continue
            tally += result.counts
            true_firsts[result.true_first.split()[0]] += 1
            tally['parts'] += sum(result.counts[column] for column in ('right', 'uncertain', 'wrong'))
            tally['first right' if result.first == 'right' else result.first] += 1
            print(f'{seed:4} {kind:9} ' + ', '.join(f'{result.counts[column]} {column}' for column in COLUMNS[2:6])
                  + f'; first {result.first}')
            for complaint in result.complaints:
                print(f'{"":15}{complaint}')
    print()
    total = table(tallies)
    firsts = total['first right'] + total['in a group']
    print('\nThe truth\'s first: ' + ', '.join(f'{count} {what}' for what, count in true_firsts.most_common()) + '.')
    print(f'First places: {firsts} of {total["days"]} ({total["in a group"]} of them in a group), the goal is '
          f'{FIRST_PLACES:.0%}. Parts wrong and not marked: {total["wrong"]}, the goal is 0.')
    return 0 if firsts >= FIRST_PLACES * total['days'] and not total['wrong'] and not total['no account'] else 1


if __name__ == '__main__':
    sys.exit(main())
