# SPDX-License-Identifier: Apache-2.0
"""zorva-redact on the scenarios' logs: nothing about a person is left, all else is."""
import pathlib
import re
import tempfile
import unittest

from programs import ROOT, main, program, run

LOGS = [ROOT / 'scenarios' / f'{name}.log' for name in ('day', 'night', 'first-hour')]
# Patterns of what is about a person. The words of the log itself ("home", "RegisteredHome") are not.
SENSITIVE = [r'=Home;', 'Office Guest', 'H\u00f4tel', 'Sim Network', 'Sim Mobile', r'\b(2083?1|3071|511)\b',
             'Homescreen', 'mediad', 'pushd', 'commcenter', 'mdnsd', 'racer', 'navigation', 'libexec',
             r'com\.example', 'Alarm', r'\bGame\b', 'Display on', 'Playing', r'\d+\.\d+\.\d+\.\d+', r'\b45 00 00\b',
             'CMTI', 'Minutes of Monday', 'Lunch', 'nightly', r'\b118\b', 'Acme', 'Dock', '0042', r'=Work;', 'Exchange',
             'radio off', 'A2DP', 'power present', '3d5f1b60c8e2497a', 'en0', 'pdp_ip0', 'de_DE', 'CET', 'debug=0x8', r'\+0000',
             r'(seq|ack)=\d']
# The names of programs among them.
PROGRAMS = ['mediad', 'pushd', 'commcenter', 'mdnsd', 'racer', 'navigation', r'com\.example']
TIME = re.compile(r'\d{4}-\d\d-\d\d \d\d:\d\d:\d\d \+0000')
TOKEN = re.compile(r'\b[a-z_]+-\d+\b')


def redact(*arguments, **options):
    return run(program('zorva-redact'), *arguments, **options)


class RedactTest(unittest.TestCase):
    def test_names_addresses_and_contents_are_gone_and_nothing_else(self):
        original = ''.join(log.read_text() for log in LOGS)
        for pattern in SENSITIVE:
            self.assertRegex(original, re.compile(pattern, re.I), 'not in the scenarios any more')
        shown = redact(*LOGS)
        self.assertEqual((shown.returncode, shown.stderr), (0, ''))
        for pattern in SENSITIVE:
            left = [line for line in shown.stdout.splitlines()
                    if re.search(pattern, line) and not re.search(r'0\.0\.0\.0', line)]
            self.assertEqual(left, [], pattern)
        old, new = original.splitlines(), shown.stdout.splitlines()
        self.assertEqual(len(new), len(old))
        same = 0
        for before, after in zip(old, new):
            if re.match(r'\d\d/\d\d/', before):
                self.assertEqual(after[:18], before[:18])
            if TOKEN.search(after):
                # Every token stands for something: with gaps in place of its tokens, the line matches the
                # line before.
                # A time is local, as all logs are in zones with names.
                gaps = '.+'.join(re.escape(part) for part in TOKEN.split(after))
                if TIME.search(before):
                    gaps = re.sub(r'time=[^;]*', 'time=[^;]*', gaps)
                self.assertRegex(before, f'^{gaps}$')
            else:
                self.assertEqual(after, before)
                same += 1
        self.assertGreater(same, len(old) / 3)

    def test_programs_stay_on_demand(self):
        original = ''.join(log.read_text() for log in LOGS)
        shown = redact('--keep-programs', *LOGS).stdout
        for pattern in PROGRAMS:
            self.assertEqual(*(len(re.findall(rf'(?<![\w/]){pattern}\w*(?=[(;\[])', text)) for text in (original, shown)))
        for pattern in set(SENSITIVE) - {*PROGRAMS, 'Homescreen'}:
            left = [line for line in shown.splitlines() if re.search(pattern, re.sub(r'0\.0\.0\.0', '', line))]
            self.assertEqual(left, [], pattern)

    def test_own_messages_stay(self):
        """Every message that the code can write: a new one must be listed in report/redact/OwnMessages.cpp."""
        messages = set()
        for source in ROOT.glob('[a-z]*/ZV*.cpp'):
            for found in re.findall(r'(?:logError\(|logEntryWithBody\(\s*"Zorva",\s*(?:formatText\()?)\s*'
                                    r'((?:"(?:[^"\\]|\\.)*"\s*)+)', source.read_text()):
                message = re.sub(r'"\s*"', '', found.strip())[1:-1].strip().removesuffix('\\n')
                messages.add(re.sub(r'%[0-9]*[dfx]', lambda it: {'d': '-5', 'f': '0.5', 'x': '0000002c'}[it[0][-1]],
                                    message))
        messages.discard('')  # where the message is put in
        self.assertGreater(len(messages), 25)
        log = ''.join(f'11/16/26 10:00:00 [Zorva] {message}\n' for message in sorted(messages))
        self.assertEqual(redact(input=log).stdout.splitlines(), log.splitlines())

    def test_equal_values_and_only_those_have_equal_tokens(self):
        pairs = set()
        for log in LOGS:
            for before, after in zip(log.read_text().splitlines(), redact(log).stdout.splitlines()):
                for key in 'ap', 'process', 'operator', 'source':
                    found = [re.search(rf'[ \]]{key}=(.*?);', line) for line in (before, after)]
                    if all(found) and not found[0][1].startswith('<'):
                        pairs.add((log, found[0][1], found[1][1]))
        self.assertGreater(len(pairs), 15)
        self.assertEqual(len({(log, value) for log, value, _ in pairs}), len(pairs))
        self.assertEqual(len({(log, token) for log, _, token in pairs}), len(pairs))

    def test_the_output_is_complete_or_absent(self):
        with tempfile.TemporaryDirectory() as name:
            output = pathlib.Path(name) / 'shared.log'
            output.write_text('mine')
            refused = redact(LOGS[0], '-o', output)
            self.assertEqual((refused.returncode, output.read_text()), (1, 'mine'), refused.stderr)
            self.assertEqual(redact(LOGS[0], '-o', output, '--force').returncode, 0)
            self.assertEqual(output.read_text(), redact(LOGS[0]).stdout)
            missing = redact(LOGS[0], output.with_name('none'), '-o', output.with_name('new'))
            self.assertEqual((missing.returncode, len(list(output.parent.iterdir()))), (1, 1), missing.stderr)
        self.assertEqual(redact('--output').returncode, 2)


main()
