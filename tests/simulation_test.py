# SPDX-License-Identifier: Apache-2.0
"""zorva-sim on the scenarios of the tree: the same bytes every time, and the expected ones."""
import pathlib
import tempfile
import unittest

import programs
from programs import ROOT, program, run


class SimulationTest(unittest.TestCase):
    maxDiff = None  # a scenario's difference is shown whole

    def test_scenarios_give_their_expected_logs_every_time(self):
        scenarios = sorted([*ROOT.glob('scenarios/*.yaml'), *ROOT.glob('tests/scenarios/*.yaml')])
        self.assertGreater(len(scenarios), 5)
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
        shown = [line for line in page.splitlines() if line.startswith('  ') and line.endswith(('%.', ' W).'))]
        self.assertEqual([line for line in shown if line not in report], [])
        self.assertEqual(len(shown), 3)
        psys = [line for line in (ROOT / 'scenarios/laptop.log').read_text().split() if line.startswith('psys=')]
        self.assertIn(f"{psys[-1].removeprefix('psys=')} J", page)

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
                ([good, '--root', good], "there is no directory for the handset's files: "),
                ([ROOT / 'no.yaml'], f'{ROOT}/no.yaml: cannot be read: No such'),
                ([ROOT], f'{ROOT}: cannot be read: Is a directory')):
            refused = run(program('zorva-sim'), *arguments)
            self.assertEqual((refused.returncode, refused.stdout), (2, ''), arguments)
            self.assertTrue(refused.stderr.startswith(f'zorva-sim: {error}'), refused.stderr)


programs.main()
