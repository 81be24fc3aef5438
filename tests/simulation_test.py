# SPDX-License-Identifier: Apache-2.0
"""zorva-sim on the scenarios of the tree: the same bytes every time, and those that are expected."""
import pathlib
import tempfile
import unittest

import programs
from programs import ROOT, program, run


class SimulationTest(unittest.TestCase):
    def test_scenarios_give_their_expected_logs_every_time(self):
        scenarios = sorted((ROOT / 'scenarios').glob('*.yaml'))
        self.assertTrue(scenarios)
        for scenario in scenarios:
            with self.subTest(scenario.name):
                expected = scenario.with_suffix('.truth')
                with tempfile.TemporaryDirectory() as folder:
                    truths = [pathlib.Path(folder) / name for name in ('first', 'second')]
                    first, second = (run(program('zorva-sim'), scenario,
                                         *(['--truth', truth] if expected.exists() else []))
                                     for truth in truths)
                    if expected.exists():
                        self.assertEqual([truth.read_text() for truth in truths], [expected.read_text()] * 2)
                self.assertEqual(first.returncode, 0, first.stderr)
                self.assertEqual((first.stdout, first.stderr), (second.stdout, second.stderr))
                self.assertEqual(first.stdout, scenario.with_suffix('.log').read_text())
                self.assertEqual(first.stderr, scenario.with_suffix('.syslog').read_text())

    def test_the_page_shows_the_truth_and_what_the_report_makes_of_the_log(self):
        page = (ROOT / 'docs/scenarios.md').read_text()
        self.assertIn((ROOT / 'scenarios/laptop.truth').read_text(), page)
        report = run(program('zorva-report'), ROOT / 'scenarios/laptop.log').stdout.splitlines()
        shown = [line for line in page.splitlines() if line.startswith('  ') and line.endswith(('%.', ' per hour.'))]
        self.assertEqual([line for line in shown if line not in report], [])
        self.assertEqual(len(shown), 3)

    def test_options_after_the_dashes_and_a_separate_root(self):
        scenario = ROOT / 'scenarios' / 'first-hour.yaml'
        with tempfile.TemporaryDirectory() as root:
            shown = run(program('zorva-sim'), scenario, '--root', root, '--', '-d')
            self.assertEqual((shown.returncode, shown.stdout), (0, ''))
            logs = list((pathlib.Path(root) / 'Library/Logs/Faultbox').glob('*.zorva'))
            self.assertTrue(logs)
            self.assertTrue(all(log.read_text().startswith('Zorva Version: 5\n') for log in logs))
        shown = run(program('zorva-sim'), scenario, '--', '-B')
        self.assertTrue(shown.stdout)
        self.assertTrue(all('[Battery]' in line for line in shown.stdout.splitlines()))

    def test_each_line_of_a_system_log_message_is_marked(self):
        lived = run(program('zorva-sim'), '/dev/stdin', input='end: 00:01:00\ndevice:\n'
                    '  faults: [{point: bluetooth.defaultLocalDevice, result: 5}]\n')
        self.assertEqual(lived.stderr.split('\n')[:2], ['syslog: Error: Bluetooth power ERROR: '
                                     'BTLocalDeviceGetDefault: failed! 5', 'syslog: '])

    def test_numbers_without_a_name_and_the_answers_of_the_last_step(self):
        lived = run(program('zorva-sim'), '/dev/stdin', input='steps:\n  - at: 1m\n'
                    '    telephony: {radio_transmit: {dch: true}}\n'
                    '    application_change: {id: mail, process: 9, state: 77, reasons: [audio, 99]}\n')
        self.assertEqual([line[18:] for line in lived.stdout.splitlines()[-2:]],
                         ['[Application] id=mail; pid=9; mode=state-77; reason=audio reason-99;',
                          '[Baseband State Durations] Sleep=3540000 ms; Idle=45000 ms; Active=15000 ms;'],
                         lived.stderr)

    def test_invalid_input_is_rejected_before_anything_runs(self):
        with tempfile.NamedTemporaryFile('w', suffix='.yaml') as scenario:
            scenario.write('device:\n  batery: {level: 80}\n')
            scenario.flush()
            refused = run(program('zorva-sim'), scenario.name)
        self.assertEqual((refused.returncode, refused.stdout), (2, ''))
        self.assertIn(f'{scenario.name}:2:3: ', refused.stderr)
        good = ROOT / 'scenarios' / 'first-hour.yaml'
        for arguments, error in (
                ([], 'no scenario is given'), ([good, good], 'more than one scenario'),
                ([good, '-B'], 'unknown option -B'), ([good, '--root'], '--root needs'),
                ([good, '--root='], '--root needs'),
                ([good, '--truth', '/dev/null'], '--truth needs a scenario with a "power_model"'),
                ([ROOT / 'scenarios/laptop.yaml', '--truth', '/no/file'], '/no/file: cannot be written: No such'),
                ([good, '--root', good], "the handset's files have no place: "),
                ([ROOT / 'no.yaml'], f'{ROOT}/no.yaml: cannot be read: No such'),
                ([ROOT], f'{ROOT}: cannot be read: Is a directory')):
            refused = run(program('zorva-sim'), *arguments)
            self.assertEqual((refused.returncode, refused.stdout), (2, ''), arguments)
            self.assertTrue(refused.stderr.startswith(f'zorva-sim: {error}'), refused.stderr)


programs.main()
