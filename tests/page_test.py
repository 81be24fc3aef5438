# SPDX-License-Identifier: Apache-2.0
"""The page of zorva-report -o in a browser: what it shows, how it responds, and that the
contents of a log are only shown. BROWSER=webkit takes WebKitGTK's in place of Chromium (packages webkit2gtk-driver
and xvfb; under xvfb-run): it is no phone and not dark, and does not tell what it requests."""
import calendar
import json
import os
import pathlib
import re
import shutil
import sys
import tempfile
import time
import unittest

from programs import ROOT, SKIPPED, main, program, run, wait_for

try:
    from selenium import webdriver
    from selenium.common.exceptions import ElementNotInteractableException
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.by import By
    from selenium.webdriver.support.select import Select
except ImportError:
    print('skipped: a browser is driven with python3-selenium, which is not installed')
    sys.exit(SKIPPED)
WEBKIT = os.environ.get('BROWSER') == 'webkit'
BROWSER = (next(pathlib.Path('/usr/lib').glob('*/webkit2gtk-4.*/MiniBrowser'), None) if WEBKIT
           else shutil.which('chromium'))
DRIVER = shutil.which('WebKitWebDriver' if WEBKIT else 'chromedriver')
if not BROWSER or not DRIVER:
    print('skipped: needs', 'webkit2gtk-driver' if WEBKIT else 'chromium and chromium-driver')
    sys.exit(SKIPPED)

NIGHT = ROOT / 'scenarios' / 'night.log'
LAPTOP = ROOT / 'scenarios' / 'laptop.log'
HOSTILE = '</script><img src=x onerror=document.title="owned">'
HOSTILE_LOG = f'''11/16/26 21:30:00 [WiFi] status=on; ap={HOSTILE}; wow=off; pm_dur=0; mpc_dur=0;
11/16/26 21:30:00 [Assertion] state=created; process=<!--<script>; pid=61; name=a"b\\c\u2028d\x07&lt;; held_for=00:00:00;
11/16/26 21:30:01 [Wake] reason=<b>rtc</b>; info=<none>;
<script>document.title="owned"</script>]]>\xff
11/16/26 21:31:00 [Zorva] -->{HOSTILE}
11/16/26 21:32:00 [Battery] level=62.80%; voltage=3826 mV; current=-240 mA; max_capacity=1400; charging_state=Inactive; charging_current=-240 mA; battery_temp=30.40 C; usage=02:41:00; standby=09:12:00;
''' + ''.join(f'11/16/26 21:32:00 [Assertion] state=held; process={"long" * 2500}; pid=62; name=n{i}; held_for=01:00:00;\n'
              for i in range(7))


class PageTest(unittest.TestCase):
    maxDiff = None
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.browser = cls.webkit() if WEBKIT else cls.chromium()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.addClassCleanup(cls.browser.quit)

    @staticmethod
    def webkit():
        options = webdriver.WebKitGTKOptions()
        options.binary_location = str(BROWSER)
        options.add_argument('--automation')
        return webdriver.WebKitGTK(options=options)

    @classmethod
    def chromium(cls):
        options = webdriver.ChromeOptions()
        options.binary_location = BROWSER
        for flag in ('headless=new', 'no-sandbox', 'disable-gpu', 'disable-quic', 'no-first-run', 'disable-sync',
                     'disable-background-networking', 'disable-component-update', 'disable-dev-shm-usage',
                     'window-size=1300,1000', f'user-data-dir={cls.folder.name}/profile'):
            options.add_argument(f'--{flag}')
        options.set_capability('goog:loggingPrefs', {'browser': 'ALL', 'performance': 'ALL'})
        return webdriver.Chrome(options=options, service=webdriver.chrome.service.Service(DRIVER))

    def tearDown(self):
        # After every test: no error, and no request but for the page (and the browser's own tab).
        if WEBKIT:
            return self.assertEqual(self.browser.execute_script('return errors'), [])
        errors = [entry for entry in self.browser.get_log('browser') if entry['level'] == 'SEVERE']
        messages = [json.loads(entry['message'])['message'] for entry in self.browser.get_log('performance')]
        asked = {message['params']['request']['url'] for message in messages
                 if message['method'] == 'Network.requestWillBeSent'}
        self.assertEqual({url for url in asked if not url.startswith(('data:', 'chrome:'))}, {self.page.as_uri()})
        self.assertEqual(errors, [])

    def open(self, log, *options, dark=False, width=1300, summary=None):
        """The page of a log; some of its summary may be replaced."""
        self.page = pathlib.Path(self.folder.name) / 'page.html'
        made = run(program('zorva-report'), log, '-o', self.page, '--force', *options)
        self.assertEqual((made.returncode, made.stdout, made.stderr), (0, '', ''))
        if summary:
            self.page.write_text(re.sub(r'(id="summary-0">)(.*?)(</script>)', lambda found: found[1] + json.dumps(
                {**json.loads(found[2]), **summary}) + found[3], self.page.read_text(), flags=re.S))
        if WEBKIT:
            self.browser.set_window_size(width, 1000)
        else:
            self.emulate(dark, width)
        self.browser.get(self.page.as_uri())
        self.browser.execute_script('errors = []; addEventListener("error", ({message}) => errors.push(message))')
        self.stack = self.one('#stack')
        wait_for(lambda: self.one('#shown').text, 'the timeline')

    def emulate(self, dark, width):
        self.browser.execute_cdp_cmd('Emulation.setEmulatedMedia', {'features': [
            {'name': 'prefers-color-scheme', 'value': 'dark' if dark else 'light'},
            {'name': 'prefers-reduced-motion', 'value': 'reduce'}]})
        self.browser.execute_cdp_cmd('Emulation.setTouchEmulationEnabled', {'enabled': width < 500})
        self.browser.execute_cdp_cmd('Emulation.setDeviceMetricsOverride', {
            'width': width, 'height': 900, 'deviceScaleFactor': 1, 'mobile': width < 500})

    def one(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def show(self, element):
        self.browser.execute_script('arguments[0].scrollIntoView({block: "center", behavior: "instant"})', element)

    def texts(self, selector):
        return [found.text for found in self.browser.find_elements(By.CSS_SELECTOR, selector)]

    def expect(self, text, what='#now'):
        def shown():
            return self.one(what).text
        def words(text):  # WebKit's driver leaves out the ends of lines, and tells where one may break
            return re.sub(r'[\s\u200b]', '', text)
        wait_for(lambda: words(text) in words(shown()), f'"{text}" in {what}, which has "{shown()}"')

    def pixels(self, name):
        """How many pixels of the lanes have the style's colour."""
        return self.browser.execute_script('''
            const colour = getComputedStyle(document.documentElement).getPropertyValue(arguments[0]).trim();
            const wanted = colour.match(/[0-9a-f]{2}/gi).map((part) => parseInt(part, 16));
            const canvas = document.getElementById('lanes');
            const {data} = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height);
            let count = 0;
            for (let i = 0; i < data.length; i += 4) count += wanted.every((part, k) => data[i + k] === part);
            return count;''', name)

    def lines(self):
        wait_for(lambda: self.browser.find_elements(By.CSS_SELECTOR, '#lines .marked'), 'the lines')
        return [line.get_property('textContent') for line in self.browser.find_elements(By.CSS_SELECTOR, '#lines li')]

    def marked(self):
        return self.browser.execute_script('return document.querySelector("#lines .marked")?.textContent') or ''

    def column(self, title, number):
        path = f'//table[caption="{title}"]/tbody/tr/td[{number}]'
        return self.browser.execute_script('''
            const found = document.evaluate(arguments[0], document, null, XPathResult.ORDERED_NODE_SNAPSHOT_TYPE);
            return Array.from({length: found.snapshotLength}, (_, i) => found.snapshotItem(i).textContent);''', path)

    def test_the_night_is_shown_and_responds_to_pointer_and_keys(self):
        self.open(NIGHT)
        self.assertEqual(self.one('h1').text, 'night.log')
        self.assertIn('6 wakes', self.one('#facts').text)
        for colour in '--asleep', '--display', '--assertion', '--call', '--wifi', '--error':
            self.assertGreater(self.pixels(colour), 10, colour)
        self.assertEqual(len(self.texts('.curve')), 4)

        ActionChains(self.browser).move_to_element_with_offset(self.stack, 60, 0).perform()
        self.expect('Asleep\nsince 01:06:10')
        self.expect('Wi-Fi Sim Network')
        self.stack.send_keys(webdriver.Keys.HOME)
        self.expect('Awake\nsince before 21:30:00, at least 35 min')
        self.stack.send_keys('n')
        self.expect('22:47:12')
        self.expect('woken by exton2(bb): TCP 198.51.100.24:5223 to port 49160, for pushd (77)')
        self.stack.send_keys(webdriver.Keys.ARROW_RIGHT)
        wait_for(lambda: self.stack.get_attribute('aria-valuetext') > '22:47:12', 'the cursor')
        wait_for(lambda: '\u2212' in self.one('#announcement').get_property('textContent'), 'the announcement')
        self.assertNotIn('undefined', self.one('#announcement').get_property('textContent'))

        whole = self.one('#shown').text
        self.stack.send_keys('++')
        self.expect('(2 h 15 min)', '#shown')
        self.stack.send_keys('0')
        self.expect(whole, '#shown')
        ActionChains(self.browser).move_to_element_with_offset(self.stack, 0, 0).click_and_hold() \
            .move_by_offset(100, 0).release().perform()
        wait_for(lambda: self.one('#shown').text != whole, 'the zoom by dragging')
        self.one('#whole').click()
        self.expect(whole, '#shown')

    def test_a_click_shows_the_lines_of_the_log(self):
        self.open(NIGHT)
        self.stack.send_keys(webdriver.Keys.HOME, 'nnn', webdriver.Keys.ENTER)
        shown = self.lines()
        self.assertTrue('\n'.join(shown) in NIGHT.read_text(), shown[:3])
        self.assertLess(self.browser.execute_script('return document.querySelector(".marked").getBoundingClientRect().bottom'), 900)
        self.assertEqual(self.one('#lines .marked').text.split(' [')[0], '11/17/26 01:05:40')
        for button in '#lines-earlier', '#lines-later':
            while self.one(button).is_displayed():
                count = len(self.lines())
                self.show(self.one(button))
                try:
                    ActionChains(self.browser).double_click(self.one(button)).perform()
                except ElementNotInteractableException:
                    continue  # only now have the last lines come, and it has gone
                wait_for(lambda: len(self.lines()) > count, 'more lines')
        self.assertEqual('\n'.join(self.lines()), NIGHT.read_text().rstrip('\n'))
        network = next(item for item in self.browser.find_elements(By.CSS_SELECTOR, '#now .item') if 'Network' in item.text)
        self.show(network)
        network.click()
        wait_for(lambda: '[Registration]' in self.one('#lines .marked').text, 'the line about the network')
        self.open(NIGHT)
        self.browser.execute_script('DecompressionStream = undefined')
        self.stack.send_keys(webdriver.Keys.ENTER)
        self.expect('This browser cannot unpack', '#lines')

    def test_tables_sort_and_the_filter_leaves_what_is_of_a_process(self):
        self.open(NIGHT)
        holders = 'Kept awake by'
        self.assertEqual(self.column(holders, 1)[0], 'Homescreen')
        header = self.browser.find_element(By.XPATH, f'//table[caption="{holders}"]//th[6]/button')
        for order in 'descending', 'ascending':
            header.click()
            self.assertEqual(header.find_element(By.XPATH, '..').get_attribute('aria-sort'), order)
            times = [int(text) for text in self.column(holders, 6)]
            self.assertEqual(times, sorted(times, reverse=order == 'descending'))
            self.assertGreater(len(set(times)), 1)
        before = self.pixels('--assertion')
        Select(self.one('#process')).select_by_visible_text('commcenter')
        wait_for(lambda: set(self.column(holders, 1)) == {'commcenter'}, 'the filtered table')
        wait_for(lambda: 0 < self.pixels('--assertion') < before / 2, 'the others, dimmed')

    def tables(self):
        """The rows of all tables by their captions."""
        return self.browser.execute_script('''return Object.fromEntries([...document.querySelectorAll('.card.table')]
            .filter((card) => !card.hidden).map((card) => [card.querySelector('caption').textContent,
            [...card.querySelectorAll('tbody tr, tfoot tr')].map((row) => [...row.cells].map((cell) => cell.textContent))]));''')

    def test_zoomed_tables_are_those_of_a_page_of_that_time(self):
        since, until = '2026-11-18 13:00:00', '2026-11-18 21:30:00'
        self.open(LAPTOP, '--since', since, '--until', until)
        alone = self.tables()
        begin, end = (calendar.timegm(time.strptime(at, '%Y-%m-%d %H:%M:%S')) for at in (since, until))
        parts = [{'what': what, 'name': name, 'measured': not name, 'uncertain': bool(name), 'error': 0.2 if name else 0.01}
                 for what, name in (('Display', ''), ('Application', 'indexer'))]
        sentences = ['It fell.', 'It did not sleep.', 'Also this.']
        self.open(LAPTOP, summary={
            'verdict': sentences[:2],
            'findings': [{'sentence': sentences[2], 'figures': [], 'from': 0, 'to': 0},
                         {'sentence': sentences[1], 'figures': ['11 h', '12 %'], 'from': begin, 'to': end}],
            'sleeps': [[calendar.timegm((2026, 11, 18, 17, 5, 2)), 2, 0.5, None]],
            'account': {'wattHours': 0.5, 'parts': parts, 'intervals': [
                [begin - 3600, begin + 3600, 8, 0, 2, 1, 4], [begin + 3600, end, 6, 1, 1], [end, end + 60, 70]]}})
        self.assertEqual([text.removesuffix(' Why?') for text in self.texts('.sentence')], sentences)
        self.assertEqual(self.tables()['What used the battery'][-1][2], '84\u00a0%')
        self.assertIn('uncertain: by more than', self.one('#account').text)
        self.one('.sentence button').click()
        self.expect('11 h\n12 %', '.log-verdict')
        self.expect('In view: Wed 18 Nov 13:00:00 \u2013 Wed 18 Nov 21:30:00', '#view-heading')
        zoomed = self.tables()
        self.assertEqual(zoomed.pop('What used the battery'), [
            ['Application: indexer', 'estimated, \u00b1\u00a00.6\u00a0%, uncertain', '3\u00a0%', '1.5\u00a0Wh', '176\u00a0mW', '30\u00a0%'],
            ['Display', 'measured', '1\u00a0%', '500\u00a0mWh', '59\u00a0mW', '10\u00a0%'],
            ['Unattributed', 'what is left', '6\u00a0%', '3\u00a0Wh', '353\u00a0mW', '60\u00a0%'],
            ['Battery', 'measured', '10\u00a0%', '5\u00a0Wh', '588\u00a0mW', '100\u00a0%']])
        sleeps = zoomed['Sleeps']
        self.assertEqual(sleeps[1], ['18 Nov 17:05:02', '54\u00a0min 58\u00a0s', '2\u00a0%', '500\u00a0mWh',
                                     '546\u00a0mW', 'lid'])
        zoomed['Sleeps'] = [row[:2] + row[5:] for row in sleeps]
        # What the log itself tells of energy is not in the summary that is shown here.
        alone.pop('What used the battery')
        alone['Sleeps'] = [row[:2] + row[-1:] for row in alone['Sleeps']]
        # Processes and traffic are cut between two samples here, and left out there.
        for estimated in 'CPU time', 'Traffic of all interfaces':
            self.assertIn(estimated, zoomed)
            zoomed.pop(estimated)
            alone.pop(estimated)
        self.assertEqual(zoomed, alone)
        self.assertGreater(len(alone), 4)
        self.one('.sentence button').click()
        self.expect('Whole log', '#view-heading')

    def test_events_are_found_by_their_words_and_processes_have_rows(self):
        log = pathlib.Path(self.folder.name) / 'events.log'
        log.write_text(NIGHT.read_text() + ''.join(
            f'11/17/26 06:3{i}:00 [Zorva] {text}\n' for i, text in
            enumerate(('failed 7 times', 'failed 12 times', 'gone', 'failed 1 times'), 2)))
        self.open(log)
        self.assertEqual([row[1:3] for row in self.tables()['Errors']],
                         [['failed # times', '3'], ['Could not get wake reason (errno: 2)', '1'], ['gone', '1']])
        jump = self.one('td .jump[title^="Show each"]')
        for line in 'failed 7', 'failed 12', 'failed 1 ', 'failed 7':
            jump.click()
            wait_for(lambda line=line: line in self.marked(), f'the line with {line}')
        before = self.pixels('--error')
        self.one('#words').send_keys('TIMES failed')
        wait_for(lambda: len(self.tables()['Errors']) == 1, 'the filtered table')
        self.assertLess(self.pixels('--error'), before)
        self.open(LAPTOP)
        before = self.pixels('--work')
        Select(self.one('#process')).select_by_visible_text('indexer')
        wait_for(lambda: 0 < self.pixels('--work') < before, 'the rows of the others, dimmed')

    def test_two_logs_are_compared_on_one_page(self):
        self.open(NIGHT, '--compare', LAPTOP)
        self.assertEqual(self.one('h1').text, 'night.log and laptop.log')
        self.assertEqual(self.texts('.log-heading h2'), ['night.log', 'laptop.log'])
        self.assertIn(['Used by', 'indexer', '0.00 %', '0.46 %', 'new'], self.tables()['What changed, per hour'])
        ids = self.browser.execute_script('return [...document.querySelectorAll("[id]")].map(({id}) => id)')
        self.assertEqual(len(ids), len(set(ids)))
        first = self.one('#shown').text
        self.one('#stack-1').send_keys(webdriver.Keys.HOME, '+', webdriver.Keys.ENTER)
        wait_for(lambda: '11/18/26 08:00:00' in self.marked(), 'the lines of the second log')
        self.expect('In view', '#view-heading-1')
        self.assertEqual((self.one('#shown').text, self.one('#view-heading').text), (first, 'Whole log'))
        self.one('#stack').send_keys(webdriver.Keys.HOME, webdriver.Keys.ENTER)
        wait_for(lambda: '11/16/26 21:30:00' in self.marked(), 'the lines of the first log')

    def test_contents_of_a_log_are_shown_as_text(self):
        self.open(NIGHT)
        scripts = len(self.texts('script'))
        log = pathlib.Path(self.folder.name) / 'hostile.log'
        log.write_bytes(HOSTILE_LOG.encode().replace(b'\xc3\xbf', b'\xff'))
        self.open(log, width=360)
        self.assertLessEqual(*self.browser.execute_script('return [document.documentElement.scrollWidth, innerWidth]'))
        self.open(log)
        self.assertEqual(len(self.texts('script')), scripts)
        self.assertEqual(self.texts('img'), [])
        self.assertEqual(self.browser.title, 'hostile.log \u2013 power log')
        self.stack.send_keys(webdriver.Keys.HOME, webdriver.Keys.ENTER)
        self.expect(f'Wi-Fi {HOSTILE}')
        self.expect('<!--<script> (61) \u201ca"b\\c\\xe2\\x80\\xa8d\\x07&lt;\u201d')
        self.stack.send_keys(webdriver.Keys.END)
        for i in range(7):
            self.expect(f'\u201cn{i}\u201d')
        self.assertEqual(self.column('Wakes by reason', 1), ['<b>rtc</b>'])
        self.assertEqual(self.lines()[3], '<script>document.title="owned"</script>]]>\ufffd')
        policy = re.search(r'Content-Security-Policy" content="([^"]*)"', self.page.read_text())[1]
        self.assertIn("default-src 'none'; connect-src 'none'", policy)
        self.assertNotIn('unsafe', policy)

    @unittest.skipIf(WEBKIT, 'is no phone and not dark')
    def test_it_is_readable_in_the_dark_and_on_a_phone(self):
        for dark, width in (False, 360), (True, 360), (True, 1300):
            self.open(NIGHT, dark=dark, width=width)
            self.assertLessEqual(self.browser.execute_script('return document.documentElement.scrollWidth'), width)
            shown = self.one('#now').text + self.one('#timeline-card summary').text
            self.assertEqual(shown.startswith('Tap the timeline'), width < 500)
            self.assertEqual('Keys' in shown, width > 500)
            value = 'return getComputedStyle(document.documentElement).getPropertyValue(arguments[0]).trim()'
            light = {}
            for name in '--card', '--back', '--text', '--dim', '--error', '--accent':
                parts = [int(part, 16) / 255 for part in re.findall('[0-9a-f]{2}', self.browser.execute_script(value, name))]
                linear = [part / 12.92 if part <= 0.04 else ((part + 0.055) / 1.055) ** 2.4 for part in parts]
                light[name] = 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]
            self.assertEqual(light['--card'] < 0.1, dark)
            for name in '--text', '--dim', '--error', '--accent':
                for back in '--card', '--back':
                    lesser, greater = sorted((light[name], light[back]))
                    self.assertGreater((greater + 0.05) / (lesser + 0.05), 4.5, f'{name} on {back}')
        self.one('#theme').click()  # from the system's to light
        wait_for(lambda: self.one('html').get_attribute('data-theme') == 'light', 'the light theme')


main()
