# SPDX-License-Identifier: Apache-2.0
"""zorva-report: what it prints, that its JSON is the log, and that it follows one that grows."""
import datetime
import gzip
import json
import lzma
import os
import pathlib
import pty
import shutil
import subprocess
import tempfile
import unittest

from programs import ROOT, main, program, run, wait_for

LOGS = {name: ROOT / 'scenarios' / f'{name}.log' for name in ('day', 'night', 'first-hour')}


def report(*arguments, **options):
    return run(program('zorva-report'), *arguments, **options)


def pieces(log, *arguments):
    shown = report('--json', log, *arguments)
    assert (shown.returncode, shown.stderr) == (0, ''), shown.stderr
    first, *rest = [json.loads(line) for line in shown.stdout.splitlines()]
    assert [key for key in first if key != 'device'] == ['schema', 'report'], first
    return rest


def rebuilt(records):
    return b''.join(bytes.fromhex(piece['bytes']) if 'bytes' in piece else piece['raw'].encode() for piece in records)


class ReportTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = pathlib.Path(directory.name)

    def test_the_scenarios_have_their_expected_reports(self):
        for expected in sorted((ROOT / 'tests/reports').glob('*.txt')):
            shown = report(f'scenarios/{expected.stem}.log', cwd=ROOT)
            self.assertEqual((shown.stderr, shown.stdout), ('', expected.read_text()), expected)

    def test_the_log_can_be_rebuilt_from_json_and_types_stay(self):
        damaged = self.directory / 'dam"aged\n.log'
        damaged.write_bytes(b'\0\xff\xc3\r\n\n11/16/26 10:00:00 [WiFi] status=on; ap=\xff\xe2\x82\xac\\"\x7f;\r\n'
                            b'cut\n11/16/26 10:00:00 [Later] a=1; b=x;\n11/16/26 10:00:00 [Zorva]{\n    a = 1;\n}\n'
                            b'11/16/26 10:00:01 [PacketDecoder] length=46; protocol=UDP; length=26;\n'
                            b'11/16/26 10:00:01 [Battery] level=nan%; voltage=-1 mV; added=7; current=<unknown>;'
                            b' charging_current=0 mA; battery_temp=0.00 C;\nend')
        types = {}
        for log in [damaged, *LOGS.values()]:
            records = pieces(log)
            self.assertEqual(rebuilt(records), log.read_bytes(), log)
            self.assertEqual({piece['file'] for piece in records}, {str(log)})
            for piece in records:
                objects = [value for value in piece.values() if isinstance(value, dict)]
                for path, value in [*piece.items()] + [pair for each in objects for pair in each.items()]:
                    if value is not None:
                        key = (piece.get('category'), path)
                        self.assertEqual(types.setdefault(key, type(value)), type(value), key)
        records = {piece['category']: piece for piece in pieces(damaged) if 'category' in piece}
        self.assertEqual(records['WiFi']['wifi'], {'status': 'on', 'ap': '\ufffd\u20ac\\"\x7f'})
        self.assertEqual(records['Later']['other'], [{'key': 'a', 'value': '1'}, {'key': 'b', 'value': 'x'}])
        self.assertEqual(records['Zorva']['text'], '{\n    a = 1;\n}')
        self.assertEqual(records['PacketDecoder']['packetdecoder'], {'length': 46, 'protocol': 'UDP', 'length_2': 26})
        self.assertEqual((records['Battery']['battery'], records['Battery']['other']),
                         ({'level': None, 'voltage': None, 'current': None, 'charging_current': None,
                           'battery_temp': None}, [{'key': 'added', 'value': '7'}]))
        held = next(piece for piece in pieces(LOGS['day']) if piece.get('category') == 'Assertion')
        line = next(number for number, text in enumerate(LOGS['day'].read_text().splitlines(), 1)
                    if '[Assertion]' in text)
        self.assertEqual((held['time'], held['assertion']['held_for'], held['line']),
                         ('2026-11-17T06:28:00', 25200, line))

    def test_holders_come_in_the_order_of_time_awake_and_words_are_explained(self):
        log = self.directory / 'log'

        def held(time, state, process, hours):
            return f'11/16/26 {time}:00 [Assertion] state={state}; process={process}; pid=1; name=N; held_for={hours}:00;\n'
        log.write_text(held('10:00', 'created', 'sleeper', '00:00') + '11/16/26 10:10:00 [Sleep] event=will_sleep;\n'
                       '11/16/26 20:10:00 [Wake] reason=rtc; info=<none>;\n11/16/26 20:10:00 [Suspend] asleep=10:00:00;'
                       ' hardware=09:00:00; result=slept;\n' + held('20:10', 'created', 'worker', '00:00')
                       + held('20:11', 'released', 'sleeper', '10:11') + '11/16/26 20:20:00 [Sleep] event=will_not_sleep;\n'
                       + held('20:21', 'created', 'short', '00:00') + '11/16/26 20:21:05 [Assertion] state=released;'
                       ' process=short; pid=1; name=N; held_for=00:00:05;\n' + held('20:50', 'released', 'worker', '00:40'))
        self.assertRegex(report(log).stdout, r'(?s)\n  deep: the share.*\n +40 min .* 1  worker .*\n +11 min .*10 h 11 min '
                                             r'.*  sleeper +N\n  And 1 more, awake for 5 s\.\n  refused: sleeps that were')

    def test_json_lines_of_many_devices_can_be_kept_together(self):
        lines = LOGS['day'].read_text().splitlines(keepends=True)
        whole = pieces(LOGS['day'], '--device', 'a"1')
        self.assertEqual({(piece['schema'], piece['device'], piece['log']) for piece in whole},
                         {(1, 'a"1', whole[0]['log'])})
        # Whatever happens to the file, a line has the same name.
        copy, redacted = self.directory / 'copy', self.directory / 'redacted'
        copy.write_bytes(gzip.compress(''.join(lines[:40])[:-5].encode()))
        redacted.write_text(run(program('zorva-redact'), LOGS['night'], LOGS['day']).stdout[
            len(run(program('zorva-redact'), LOGS['night']).stdout):])
        for log in copy, redacted:
            self.assertEqual([(piece['log'], piece['line']) for piece in pieces(log)],
                             [(piece['log'], piece['line']) for piece in whole[:len(pieces(log))]], log)
        self.assertEqual([piece['log'] for piece in pieces(LOGS['day'], '--since=12:00')][0], whole[0]['log'])
        self.assertNotIn('utc', pieces(redacted)[0])
        second = self.directory / 'second'
        second.write_text(''.join(lines).replace('06:28:00 [Network] Total', '06:28:00 [Network] Total1', 1)
                          .replace('(61)=', '(61)=1'))
        self.assertNotEqual(pieces(second)[0]['log'], whole[0]['log'])

        # UTC is there where the log tells it: the snapshot up to its Locale entry, and a change of the zone.
        change = next(number for number, line in enumerate(lines, 1) if 'time_zone=GMT' in line)
        self.assertEqual({(piece['line'] < change, piece['time'] + 'Z' != piece['utc'])
                          for piece in whole if piece['kind'] == 'entry'}, {(True, True), (False, False)})
        for zone, date, later, known in (
                ('PST', '11/16/26', '11/16/26', ''), ('+0545', '11/16/26', '11/16/26', '08:15:00 09:15:00'),
                ('CET', '03/28/26', '03/29/26', '13:00:00 -'), ('CET', '11/07/26', '11/08/26', '13:00:00 14:00:00'),
                ('EST', '11/07/26', '11/08/26', '19:00:00 -'), ('EEST', '10/29/26', '10/30/26', '11:00:00 -'),
                ('JST', '03/28/26', '03/29/26', '05:00:00 06:00:00'), ('AEDT', '04/04/26', '04/06/26', '03:00:00 -')):
            copy.write_text(f'{date} 13:59:00 [Zorva] a\n{date} 14:00:00 [Locale] time_zone={zone};\n'
                            f'{later} 15:00:00 [Zorva] b\n')
            before, *others = pieces(copy)
            self.assertNotIn('utc', before)
            if known:
                found = ' '.join(piece.get('utc', 'T-Z')[:-1].split('T')[1] for piece in others)
                self.assertEqual(found, known, zone)
            else:
                self.assertFalse(any('utc' in piece for piece in others))

    def test_logs_are_sorted_and_a_window_is_cut_out(self):
        shown = report(LOGS['day'], LOGS['night'], '--until', '2026-11-16')
        self.assertEqual((shown.returncode, shown.stderr), (0, ''))
        self.assertIn('Mon 16 Nov 2026 21:30:00 to Mon 16 Nov 2026 23:59:59', shown.stdout)
        self.assertEqual(shown.stdout.splitlines()[0], f'{LOGS["night"]}, {LOGS["day"]}')
        window = ['--since', '2026-11-17 01:05:40', '--until', '11/17/26 01:06:09']
        self.assertEqual([piece.get('category') for piece in pieces(LOGS['night'], *window)],
                         ['Wake', 'PacketDecoder', 'Baseband State Durations'])
        piped = report('--compare', LOGS['night'], '-', input=LOGS['night'].read_text())
        self.assertRegex(piped.stdout, r'(?s)to B, per hour\n  No notable change.*asleep +0.5\d % +0.5\d % +same\n')
        changed = report('--compare', LOGS['night'], LOGS['day']).stdout
        self.assertRegex(changed, r'\n  Charge used in all +[\d.]+ %  to +[\d.]+ % +\+\d+ %\n  Time asleep ')
        self.assertRegex(changed, r'\n  exton2\(bb\) +0.33 +0.11 +-66 %\n')

    def test_a_trace_follows_its_format_and_the_log(self):
        """The rules of Chrome's trace events; a thread's slices do not overlap: Perfetto drops those that do."""
        needed = {'M': {'args'}, 'C': {'args'}, 'X': {'tid', 'dur', 'args'}, 'i': {'tid', 's', 'args'}}
        for log in [*LOGS.values(), ROOT / 'scenarios/laptop.log', ROOT / 'tests/scenarios/clocks.log']:
            shown = report(log, '--trace', '-')
            self.assertEqual((shown.returncode, shown.stderr), (0, ''))
            events = json.loads(shown.stdout)['traceEvents']
            threads, ends = {}, {}
            for event in events:
                self.assertEqual(set(event), {'ph', 'name', 'ts', 'pid'} | (needed[event['ph']] | (
                    {'tid'} if event['name'].startswith('thread_') else set())), event)
                self.assertTrue(all(type(event.get(key, 0)) is int and event.get(key, 0) >= 0
                                    for key in ('ts', 'dur', 'pid', 'tid')), event)
                if event['name'] == 'thread_name':
                    self.assertIsNone(threads.get(event['tid']), event)
                    threads[event['tid']] = event['args']['name']
                elif event['ph'] == 'C':
                    self.assertTrue(all(isinstance(value, (int, float)) for value in event['args'].values()), event)
            for event in sorted((each for each in events if each['ph'] == 'X'), key=lambda each: each['ts']):
                self.assertGreaterEqual(event['ts'], ends.get(event['tid'], 0), event)
                ends[event['tid']] = event['ts'] + event['dur'] + (event['dur'] == 0)
            self.assertLessEqual({event['tid'] for event in events if event['ph'] in 'Xi'}, set(threads))

            def on(name):
                return [event for event in events if threads.get(event.get('tid')) == name and event['ph'] != 'M']
            records = [piece for piece in pieces(log) if piece['kind'] == 'entry']
            self.assertEqual([event['args']['time'] for event in on('Wakes')],
                             [piece['time'] for piece in records if piece['category'] == 'Wake'])
            self.assertEqual([event['args']['%'] for event in events if event['name'] == 'Battery level'],
                             [piece['battery']['level'] for piece in records if piece['category'] == 'Battery'])
            busiest = [event['args'] for event in events if event['pid'] == 2 and event['ph'] == 'X']
            self.assertTrue(all(0 < each['CPU seconds'] for each in busiest))
            if log == LOGS['night']:
                self.assertEqual([(event['args']['time'][11:], event['dur'] // 1000000) for event in on('Asleep')][:2],
                                 [('22:05:00', 2532), ('22:47:45', 5058)])
        window = report(LOGS['night'], '--trace=-', '--since=2026-11-16 22:10', '--until=2026-11-16 22:20').stdout
        self.assertEqual([event['dur'] for event in json.loads(window)['traceEvents'] if event['name'] == 'Asleep'],
                         [600000000])

    def test_metrics_are_read_by_prometheus(self):
        hostile = self.directory / 'hostile.log'
        use = ''.join(f' p{number}({number})=%d;' for number in range(30))
        hostile.write_text('11/16/26 10:00:00 [ProcessMonitor]' + use % (*[0] * 30,) + ' a"b\\(99)=0;\n'
                           '11/16/26 10:01:00 [ProcessMonitor]' + use % (*range(1, 31),) + ' a"b\\(99)=50;\n')
        texts = {log: report(log, '--metrics', '-').stdout for log in (hostile, *LOGS.values())}
        self.assertIn('\nzorva_process_cpu_seconds{process="a\\"b\\\\"} 50\n', texts[hostile])
        self.assertEqual(texts[hostile].count('\nzorva_process_cpu_seconds{'), 20)
        self.assertIn('\nzorva_cpu_seconds 515\n', texts[hostile])
        self.assertIn('\nzorva_state_seconds{state="asleep"} 30130\n', texts[LOGS['night']])
        output = self.directory / 'zorva.prom'
        for status, options in (0, []), (1, []), (0, ['--force']):
            self.assertEqual(report(LOGS['night'], '--metrics', output, *options).returncode, status)
        self.assertEqual(output.read_text(), texts[LOGS['night']])
        self.assertEqual(sorted(file.name for file in self.directory.iterdir()), ['hostile.log', 'zorva.prom'])
        if promtool := shutil.which('promtool'):
            for text in texts.values():
                checked = run(promtool, 'check', 'metrics', input=text)
                self.assertEqual((checked.returncode, checked.stdout + checked.stderr), (0, ''))
        try:
            from prometheus_client import openmetrics, parser  # pylint: disable=import-outside-toplevel
            import prometheus_client.openmetrics.parser
        except ImportError:
            self.skipTest('python3-prometheus-client is not installed')
        for text in texts.values():
            for read in parser.text_string_to_metric_families, openmetrics.parser.text_string_to_metric_families:
                families = {family.name: family for family in read(text)}
                self.assertTrue(all(family.type == 'gauge' and family.documentation and family.samples
                                    for family in families.values()))
                self.assertGreater(len(families), 8)

    def test_colours_are_for_terminals_and_mistakes_are_reported(self):
        for setting, coloured in ({'TERM': 'xterm'}, True), ({'TERM': 'xterm', 'NO_COLOR': '1'}, False):
            master, slave = pty.openpty()
            process = subprocess.Popen([program('zorva-report'), str(LOGS['night'])], stdout=slave,
                                       env={**os.environ, 'NO_COLOR': '', **setting})
            os.close(slave)
            shown = b''
            try:
                while part := os.read(master, 65536):
                    shown += part
            except OSError:
                pass  # its end
            os.close(master)
            self.assertEqual((process.wait(), b'\033[1mBattery' in shown, b'Battery' in shown), (0, coloured, True))
        for arguments in (['--nonsense'], ['--since'], ['--since', 'soon'], ['-', '-'], ['--last-night', '--until', '-8h'], ['--compare', LOGS['day']],
                          ['--compare', '--json', *LOGS.values()], ['--device', 'a', LOGS['day']], ['--since=2026-11-17', '--until=2026-11-16']):
            self.assertEqual(report(*arguments, input='').returncode, 2, arguments)
        missing = report(self.directory / 'none')
        self.assertEqual((missing.returncode, missing.stdout), (1, ''))
        self.assertIn('/none: cannot be read: No such file', missing.stderr)

    def test_compressed_logs_are_read_and_what_is_no_log_is_named(self):
        log, whole = self.directory / 'log', LOGS['night'].read_bytes()
        body = report(LOGS['night']).stdout.split('\n', 1)[1]

        def zstd(data):
            return run('zstd', '-qc', input=data, text=False).stdout
        for program_name, pack in ('gzip', gzip.compress), ('xz', lzma.compress), ('zstd', zstd):
            packed = pack(whole[:5000]) + pack(whole[5000:])
            log.write_bytes(packed)
            shown = report(log)
            self.assertEqual((shown.stderr, shown.stdout.split('\n', 1)[1]), ('', body), program_name)
            piped = report(input=packed, text=False)
            self.assertEqual((piped.stderr, piped.stdout.decode().split('\n', 1)[1]), (b'', body), program_name)
            self.assertEqual(run(program('zorva-redact'), log).stdout,
                             run(program('zorva-redact'), LOGS['night']).stdout)
            self.assertIn('is compressed', report('--follow', log).stderr)
            for wrong, data in ('cut off', packed[:-9]), ('damaged', packed[:900] + b'\x55' * 20 + packed[920:]):
                log.write_bytes(data)
                shown = report(log)
                self.assertEqual((shown.returncode, shown.stdout), (1, ''), program_name)
                self.assertRegex(shown.stderr, rf"/log: {wrong} .*after byte \d+ .*'{program_name} -dc FILE.*line \d+")
        for data, kind in ((b'', 'is empty'), ('\ufeffno'.encode('utf-16-le'), 'UTF-16'), (b'a\nb\n', 'text without'),
                           (b'\0' * 999, 'binary'), (pathlib.Path(program('zorva-redact')).read_bytes(), 'ELF')):
            log.write_bytes(data)
            for tool in 'zorva-report', 'zorva-redact':
                shown = run(program(tool), LOGS['night'], log)
                self.assertEqual(shown.returncode, 1, kind)
                self.assertRegex(shown.stderr, f'/log: is .*{kind}|/log: {kind}')
        log.write_text('06/15/48 01:00:00 [Locale] id=en-IL-u-ca-hebrew; country=IL; time_zone=IST; dst=no;\n')
        self.assertIn('cannot be read: hebrew', report(log).stderr)
        reader, writer = os.pipe()
        os.close(reader)
        gone = run(program('zorva-report'), LOGS['night'], capture_output=False, stdout=writer, stderr=subprocess.PIPE)
        os.close(writer)
        self.assertEqual((gone.stderr, gone.returncode), ('', -13))

    def test_the_newest_logs_of_a_directory_are_read_each_once(self):
        begin = datetime.datetime(2022, 5, 1)

        def write(name, first, hours):
            log, end = self.directory / name, first + datetime.timedelta(hours=hours)
            log.write_text(''.join(f'{first + datetime.timedelta(hours=hour):%m/%d/%y %H:%M:%S} [Battery] level=50.00%;\n'
                                   for hour in range(hours + 1)))
            os.utime(log, (end.timestamp(), end.timestamp()))
            return log

        def times(*arguments):
            shown = report('--json', *arguments, stdin=subprocess.DEVNULL)
            self.assertEqual(shown.returncode, 0, shown.stderr)
            found = [json.loads(line).get('time') for line in shown.stdout.splitlines()]
            return [time for time in found if time]
        write('Zorva_1_phone.zorva', begin, 2)
        log = write('Zorva_2_phone.zorva', begin + datetime.timedelta(days=5), 60)
        (self.directory / 'other.txt').write_text('no log')
        everything = times(self.directory)
        self.assertEqual((len(everything), everything[-1]), (61, '2022-05-08T12:00:00'))
        self.assertEqual(len(times(self.directory, '--since=2022-05-01 01:00')), 63)
        copy = self.directory / 'Zorva_2_phone.zorva.1.gz'
        copy.write_bytes(gzip.compress(log.read_bytes()[:-30]))
        (self.directory / 'link').symlink_to(log)
        self.assertEqual(times(self.directory, self.directory / 'link', log), everything)
        self.assertIn(f'{copy}: not counted, because', report(log, copy).stderr)
        # Times are seen from the end of an old log, and from now in one that reaches it.
        for period, hours in (['--since=-8h'], range(4, 13)), (['--since', '23:00'], [23, *range(13)]), (
                ['--since=yesterday', '--until=yesterday 03:00'], range(4)), (['--last-night'], [*range(18, 24), *range(11)]), (
                    ['--since=22:00', '--until=01:00'], [22, 23, 0, 1]):
            self.assertEqual([int(time[11:13]) for time in times(log, *period)], [*hours], period)
        now = datetime.datetime.now()
        fresh = write('fresh', now - datetime.timedelta(hours=30.5), 29)
        self.assertEqual(len(times(fresh, '--since=-8h')), 7)
        for options in [], ['-o', self.directory / 'page'], ['--metrics=-'], ['--trace=-'], ['--json'], ['--compare', log], [
                '--compare', log, '-o', self.directory / 'page']:
            shown = report(log, '--since=2022-06-01', *options)
            self.assertEqual((shown.returncode, shown.stdout), (3, ''))
            self.assertIn('no entry from Wed 1 Jun 2022', shown.stderr)
        self.assertFalse((self.directory / 'page').exists())
        empty = self.directory / 'empty'
        empty.mkdir()
        for nothing in report(empty), report(stdin=subprocess.DEVNULL):
            self.assertEqual((nothing.returncode, nothing.stdout), (1, ''))
            self.assertRegex(nothing.stderr, 'holds no log; name one|cannot be read: .*; name a log')

    def test_it_follows_a_log_and_the_one_after_it(self):
        lines = LOGS['night'].read_bytes().splitlines(True)
        log, output = self.directory / 'a.zorva', self.directory / 'output'
        log.write_bytes(b''.join(lines[:60]))
        for options in [], ['--json']:
            with output.open('wb') as to:
                process = subprocess.Popen([program('zorva-report'), '--follow', log, *options], stdout=to)
            self.addCleanup(process.kill)
            if not options:
                wait_for(lambda: b'Following' in output.read_bytes(), 'the beginning')
                for part in lines[60:80], lines[80:90]:
                    with log.open('ab') as grown:
                        grown.write(b''.join(part))
                wait_for(lambda: b'Error: Could not get wake reason' in output.read_bytes(), 'what was appended')
                log.rename(self.directory / 'moved')
                (self.directory / 'b.zorva').write_bytes(b'Zorva Version: 5\n' + b''.join(lines[90:]))
                wait_for(lambda: b'for 1 min 10 s: Alarm.' in output.read_bytes(), 'the next log')
                for line in b'17 Nov 01:06:10  Goes to sleep.\n', b'Woke up after 1 h 13 min: <unknown>.\n':
                    self.assertIn(line, output.read_bytes())
                log = self.directory / 'b.zorva'
            else:
                with log.open('ab') as grown:
                    # Whether or not the program has begun, the last of these is new at some time.
                    wait_for(lambda: grown.write(lines[-1]) and grown.flush() is None and output.read_bytes(), 'JSON')
                self.assertEqual(json.loads(output.read_bytes().splitlines()[0])['raw'].encode(), lines[-1])
            process.kill()
            process.wait()


main()
