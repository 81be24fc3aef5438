# SPDX-License-Identifier: Apache-2.0
"""The manual pages, compared with the tools that show them, the programs' own help and the sources."""
import re
import shutil
import unittest

from programs import BIN, ROOT, main, program, run

PAGES = {page.name: page for page in [*(ROOT / 'packaging' / 'man').glob('*.[15]'),
                                      BIN.parent / 'man' / 'zorva-log.5']}
VIEWERS = [('groff', '-man', '-Tutf8', '-ww', '-z'), ('mandoc', '-Tlint', '-Wwarning')]
PROGRAMS = [file.name for file in BIN.iterdir() if file.name.startswith('zorva')]
VERSION = re.search(r'^project\(zorva VERSION (\S+)', (ROOT / 'CMakeLists.txt').read_text(), re.M)[1]
ROOMS = ('core', 'power', 'telephony', 'wake', 'loggers', 'process')


def text_of(page):
    """The page's source without escapes and fonts."""
    text = PAGES[page].read_text().replace('\\\n', '').replace('\\-', '-')
    return re.sub(r'\\f[BIR]|\\[(]\w\w', '', text)


def tags(page, section):
    """The headings of the section's paragraphs."""
    body = re.search(rf'^\.SH {section}\n(.*?)(?=^\.SH )', text_of(page), re.M | re.S)[1]
    return re.findall(r'^\.TP\n(.*)$', body, re.M)


def sources():
    files = [file for room in ROOMS for file in (ROOT / room).iterdir()
             if file.suffix in ('.h', '.cpp') and not file.stem.endswith('_test')]
    return ''.join(file.read_text() for file in files + [*(ROOT / 'platform').glob('*/*.h')])


class Manual(unittest.TestCase):
    maxDiff = None

    def test_pages_are_shown_without_a_warning(self):
        pages = {f'{name}.1' for name in PROGRAMS} | {'zorva-log.5'}
        self.assertEqual(set(PAGES), pages)
        viewers = [viewer for viewer in VIEWERS if shutil.which(viewer[0])]
        if not viewers:
            self.skipTest('neither groff nor mandoc is installed')
        for viewer in viewers:
            for page in PAGES.values():
                shown = run(*viewer, page)
                self.assertEqual((shown.returncode, shown.stdout + shown.stderr), (0, ''), page)

    def test_options_and_completions_are_those_of_the_help(self):
        option = re.compile(r'(?<![\w-])--?(?:[A-Za-z][a-z-]*\b|(?=\s|$))')
        for name in PROGRAMS:
            shown = run(program(name), '-h')
            self.assertEqual(shown.returncode, 0)
            if name != 'zorva':
                version = run(program(name), '--version')
                self.assertEqual((version.returncode, version.stdout), (0, f'{name} {VERSION}\n'))
            lines = re.findall(r'^ +(-.*?)(?:  .*)?$', shown.stdout + shown.stderr, re.M)
            expected = {word for line in lines for word in option.findall(line)}
            self.assertGreater(len(expected), 2)
            listed = set(option.findall('\n'.join(tags(f'{name}.1', 'OPTIONS'))))
            self.assertEqual(listed, expected, name)
            function = '_' + name.replace('-', '_')
            offered = run('bash', '-c', f'source "$0"; COMP_WORDS=({name} -); COMP_CWORD=1; {function}; '
                          'echo "${COMPREPLY[@]}"', ROOT / 'packaging/completions/zorva.bash')
            self.assertEqual(set(offered.stdout.split()), expected, offered.stderr)

    def test_preferences_are_those_that_are_read(self):
        code = sources()
        constants = dict(re.findall(r'constexpr const char\* (k\w+) =\s*"(\w+)"', code))
        calls = re.findall(r'CopyPreferenceValue\((?!PreferencesStore)[^,]*, ([\w.]+)\)', code)
        read = {constants[name] for name in calls if name not in ('key', 'row.preference')}
        read |= set(re.findall(r'\bpreference\("(\w+)"\)', code))
        rows = (ROOT / 'apps/DefaultLoggers.cpp').read_text()
        read |= {constants[name] for name in re.findall(r'\b0, (k\w+)\}', rows)}
        listed = dict(re.findall(r'^\.BR (\w+) " \((?:.*[;,] )?(\S+)\)"$',
                                 '\n'.join(tags('zorva.1', 'PREFERENCES')), re.M))
        self.assertEqual(set(listed), read)
        defaults = {constants[name]: re.sub(r'\.0$', '', value) for name, value in
                    re.findall(r'RegisterPreferenceDefault\(store, (k\w+), (\S+)\);', code)}
        self.assertGreater(len(defaults), 3)
        self.assertEqual({key: listed[key] for key in defaults}, defaults)
        # No call is missed, and there is no other way to read one.
        self.assertEqual(len(re.findall(r'CopyPreferenceValue\((?!PreferencesStore)', code)),
                         len(calls))
        self.assertEqual(len(re.findall(r'(?:preferences_?|store)\.value\(', code)), 2)

    def test_notifications_are_those_that_are_received(self):
        expected = set(re.findall(r'"((?:com\.vennor\.[a-z]+|NMXDid|VKSSR)[\w.-]+)"', sources()))
        self.assertGreater(len(expected), 15)
        listed = set(re.findall(r'\b(?:com\.vennor|NMXDid|VKSSR)[\w.-]+\w', text_of('zorva.1')))
        others = {f'com.vennor.system.thermalSensorValues{number}' for number in (3, 4, 5)}
        files = {name for name in listed if '.plist' in name}
        self.assertEqual(listed - files, expected - others - {'com.vennor.zorva', 'com.vennor.lumbrel'})

    def test_the_scenario_of_the_page_runs(self):
        page = text_of('zorva-sim.1')
        scenario = BIN.parent / 'man' / 'page.yaml'
        scenario.write_text(re.search(r'^\.EX\n(description:.*?)^\.EE', page, re.M | re.S)[1])
        shown = run(program('zorva-sim'), scenario)
        self.assertEqual(shown.returncode, 0, shown.stderr)
        self.assertIn('11/16/26 14:10:00 [Battery] level=87.00%; voltage=3890 mV;', shown.stdout)


if __name__ == '__main__':
    main()
