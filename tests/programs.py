# SPDX-License-Identifier: Apache-2.0
"""What the whole-program tests share: where the programs are, and a device of their own."""
import fcntl
import os
import pathlib
import re
import subprocess
import sys
import time
import unittest

BIN = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else pathlib.Path('build/release/bin')
ROOT = pathlib.Path(__file__).resolve().parent.parent
LOG_DIRECTORY = pathlib.Path('/Library/Logs/Faultbox')
PREFERENCES = pathlib.Path('/var/mobile/Library/Preferences/com.vennor.zorva.plist')
MOBILE = 501  # user and group id of "mobile" on the device that enter_device() makes
SKIPPED = 77

USAGE = '''Usage: zorva [-Bdhpq]
Help:  Logs information relevant to power debugging in /Library/Logs/Faultbox
Options:
    -B    Log battery levels (disables default logging)
    -d    Run as daemon, record data to a .zorva file
    -h    Print this help message and exit
    -q    exit after initial logging
    -p    Log power assertions (disables default logging)
'''


def program(name):
    return str(BIN / name)


def run(*command, **options):
    """Runs a program to its end. A minute is ample; more is a failure."""
    options = {'capture_output': True, 'text': True, 'timeout': 60, **options}
    return subprocess.run([str(word) for word in command], **options)


def wait_for(condition, what):
    """Waits until the condition holds and returns its value; gives up after half a minute."""
    give_up = time.monotonic() + 30
    while time.monotonic() < give_up:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    raise AssertionError(f'{what} did not come')


def entries(output, category):
    """The bodies of the category's entries."""
    return re.findall(rf'^\S+ \S+ \[{category}\](.*)$', output, re.M)


def enter_device(network=False):
    """Moves this test into a mount namespace with a log directory, an empty /run and /var, and no device name
    but the host's. It has its own user "mobile", even if the machine has one, too. On demand it has a network
    of its own, an empty /sys/kernel and an empty /sys/power. Needs root; skips otherwise."""
    if os.environ.get('ZORVA_TEST_DEVICE'):
        return
    if os.geteuid() != 0:
        print('skipped: a device of its own (mounts, users) needs root')
        sys.exit(SKIPPED)
    namespaces = ['--mount', '--propagation', 'private'] + (['--net'] if network else [])
    if subprocess.call(['unshare', *namespaces, 'true'], stderr=subprocess.DEVNULL) != 0:
        print('skipped: namespaces are not allowed here, not even to root')
        sys.exit(SKIPPED)
    os.environ['ZORVA_TEST_DEVICE'] = '1'
    # One at a time: removing a mount point ends another test's mount on it.
    root = os.open('/', os.O_RDONLY)
    fcntl.flock(root, fcntl.LOCK_EX)
    made = not LOG_DIRECTORY.parents[1].exists()
    if made:
        LOG_DIRECTORY.parents[1].mkdir(exist_ok=True)  # an empty mount point
    script = f'''set -e
        mount -t tmpfs none /Library
        mkdir -p {LOG_DIRECTORY}
        mount -t tmpfs none /run
        mount -t tmpfs none /var
        (sed /^mobile:/d /etc/passwd; echo mobile:x:{MOBILE}:{MOBILE}::/var/mobile:/bin/sh) > /run/passwd
        mount --bind /run/passwd /etc/passwd
        {'ip link set lo up && mount -t tmpfs none /sys/kernel' if network else ''}
        {'[ ! -e /sys/power ] || mount -t tmpfs none /sys/power' if network else ''}
        [ ! -e /etc/machine-info ] || mount --bind /dev/null /etc/machine-info
        exec "$0" "$@"'''
    try:
        status = subprocess.call(['unshare', *namespaces, 'sh', '-c', script, sys.executable, *sys.argv])
    finally:
        if made:
            LOG_DIRECTORY.parents[1].rmdir()
    sys.exit(status)


def main():
    unittest.main(argv=sys.argv[:1], verbosity=2)
