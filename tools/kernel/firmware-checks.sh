# SPDX-License-Identifier: Apache-2.0
# modules: battery ac video button evdev
# table: firmware.asl
# devices: VGA
# Whole lines are compared. The kernel gives this machine's backlight a driver only when a graphics driver asks for
# it, or after the delay that is asked for here, so the daemon is started again.
modprobe -r video; modprobe video register_backlight_delay=1
soon '[ -e /sys/class/backlight/acpi_video0 ]'; systemctl restart zorva
logged() { seen "$1" "^[0-9/]+ [0-9:]+ $2\$"; }
# full WHAT LEVEL VOLTAGE CURRENT MAXIMUM STATE
full() {
  logged "$1" "\[Battery\] level=$2%; voltage=$3 mV; current=$4 mA; max_capacity=$5; charging_state=$6; charging_current=$4 mA; battery_temp=0.00 C; usage=<unknown>; standby=<unknown>;"
}
none() { check "$1" "! since | grep -qF -- '$2'"; }

logged "the backlight is found" '\[Display\] brightness=[0-9]+; min=0; max=5; active=yes;'
echo 5 > /sys/class/backlight/acpi_video0/brightness; mark; echo 2 > /sys/class/backlight/acpi_video0/brightness
logged "it is dimmed" '\[Display\] brightness=2; min=0; max=5; active=yes;'
mark; echo 4 > /sys/class/backlight/acpi_video0/bl_power
logged "it is switched off" '\[Display\] brightness=0; min=0; max=5; active=no;'
mark; echo 0 > /sys/class/backlight/acpi_video0/bl_power
logged "and on" '\[Display\] brightness=2; min=0; max=5; active=yes;'

# laptop PERCENT STATE CURRENT KIND: STATE has 16 the charger, 32 the second battery, 64 the first one is out, 128
# the lid is closed, added; KIND is firmware.asl's.
mark; laptop 80 1 50 0
full "a battery that reports charges" 80.00 4100 -500 2800 Inactive
mark; laptop 79 1 50 1
full "one that reports energies" 79.00 10000 -500 4000 Inactive
mark; laptop 78 1 50 2
full "one without a rate" 78.00 4090 0 2800 Inactive
mark; laptop 50 1 50 4
full "one with more in it than it is full with" 100.00 3950 -500 2800 Inactive
mark; laptop 73 1 50 8
full "one without a nominal voltage" 73.00 4065 -500 2800 Inactive
mark; laptop 72 1 50 9
full "one without a voltage" 72.00 -1 -500 2800 Inactive
mark; laptop 70 18 50 3
full "one that does not know its charge keeps the last" 72.00 4050 500 2800 Active
mark; systemctl restart zorva
full "and has none when it never knew it" nan 4050 500 0 Active
mark; laptop 69 1 50 0
full "until it knows" 69.00 4045 -500 2800 Inactive

mark; laptop 69 65 50 0
full "the battery is taken out" nan -1 0 0 Inactive
mark; laptop 69 1 50 0
full "it is put back" 69.00 4045 -500 2800 Inactive
mark; laptop 69 65 50 0; laptop 55 1 50 7
full "another one is put in" 55.00 3975 -500 2000 Inactive
mark; laptop 55 97 50 7
full "one in the bay is all there is" 50.00 10000 0 2800 'Not charging'
mark; laptop 60 33 50 0
full "charges and energies are added up" 52.75 4000 -500 5600 Inactive
mark; laptop 59 18 50 0
full "the charger is plugged in" 59.00 3995 500 2800 Active
mark; quietly 59 1 50 0; event ZRVA0002
full "it is unplugged, of which the battery says nothing" 59.00 3995 -500 2800 Inactive
mark; quietly 59 18 50 0; event ZRVA0002
full "and plugged in" 59.00 3995 500 2800 Active

# See amd64-checks.sh.
bridge=/sys/bus/pci/devices/0000:00:1f.0/config
dd if=$bridge of=/run/bridge bs=1 skip=64 count=8 status=none
mend() { dd if=/run/bridge of=$bridge bs=1 seek=64 conv=notrunc status=none; }
echo deep > /sys/power/mem_sleep
echo enabled > /sys/devices/platform/i8042/serio0/power/wakeup
host='LNXPWRBN:00 \(button\) wakeup source'
clock='00:04 \(rtc_cmos\) wakeup source'
slept='hardware=<unknown>; mode=deep; result=slept; failed_step=<none>; failed_device=<none>; failed_error=0; blocked_by=<none>;'
woken() {  # woken WHAT REASON [ASLEEP]: by a sleep that was announced
  soon 'since | grep -q "\[Wake\]\|will_not"'; enough; mend
  logged "$1: falls asleep" '\[Sleep\] event=will_sleep;'
  logged "$1: wakes" "\[Wake\] reason=$2; info=<none>;"
  logged "$1: its record" "\[Suspend\] asleep=${3:-00:0[0-9]:[0-9]+}; $slept"
  check "$1: one sleep, one wake" '[ "$(since | grep -o "\[Sleep\]\|\[Wake\]" | xargs)" = "[Sleep] [Wake]" ]'
}

# The lid is opened from outside, while the machine sleeps.
mark; quietly 58 145 50 0; event ZRVA0003; press "o /b 0xe1 0x11; system_wakeup"
woken "the lid is closed" "$host"
check "the lid is closed: the login manager saw it" 'journalctl -b -u systemd-logind | grep -q "Lid closed"'
check "the lid is closed: and opened" 'journalctl -b -u systemd-logind | grep -q "Lid opened"'
systemd-inhibit --what=handle-lid-switch --mode=block --who=dock --why=docked sleep 60 & dock=$!
soon 'systemd-inhibit --list | grep -q dock'; mark; quietly 58 145 50 0; event ZRVA0003; sleep 4
quietly 58 17 50 0; event ZRVA0003; sleep 4
none "the lid is closed over a machine that stays awake: no sleep" '[Sleep]'
none "which is no lock that keeps it awake" 'dock: docked'
kill $dock

mark; press "o /b 0xe3 7; o /b 0xe0 44; system_wakeup"; systemctl suspend
woken "the battery is exchanged asleep" "$host"; event ZRVA0001
full "the battery is exchanged asleep: it is another one" 44.00 3920 -500 2000 Inactive
mark; press "o /b 0xe1 0x51; system_wakeup"; systemctl suspend
woken "the battery is taken out asleep" "$host"; event ZRVA0001
full "the battery is taken out asleep: it is gone" nan -1 0 0 Inactive
laptop 60 17 50 0

# A wakeup source that is active while the kernel has been asked to mind them.
minded() { cat /sys/power/wakeup_count > /run/count; cat /run/count > /sys/power/wakeup_count; event ZRVA0003; }
mkdir -p /run/systemd/sleep.conf.d; printf '[Sleep]\nSuspendState=mem\n' > /run/systemd/sleep.conf.d/mem.conf
mark; minded; systemctl suspend
aborted='failed_step=freeze; failed_device=<none>; failed_error=16; blocked_by=<none>;'
logged "a wakeup on the way: announced" '\[Sleep\] event=will_sleep;'
logged "a wakeup on the way: given up" '\[Sleep\] event=will_not_sleep;'
logged "a wakeup on the way: its record" "\[Suspend\] asleep=00:00:00; hardware=<unknown>; mode=deep; result=failed; $aborted"
logged "a wakeup on the way: who it was" '\[Wakeup Sources\] (.*; )?PNP0C0D:00=1;'
none "a wakeup on the way: is no wake" '[Wake]'
rm /run/systemd/sleep.conf.d/mem.conf
mark; minded; press "sendkey a"; systemctl suspend
soon 'since | grep -q "\[Wake\]\|will_not"'; enough
logged "the login manager tries again, by s2idle: wakes" '\[Wake\] reason=i8042 irq 1 IO-APIC; info=<none>;'
logged "the login manager tries again, by s2idle: its record" "\[Suspend\] asleep=00:00:00; hardware=<unknown>; mode=deep; result=slept; $aborted"
none "the login manager tries again, by s2idle: is a sleep" 'will_not_sleep'
echo devices > /sys/power/pm_test; mark; systemctl suspend
logged "a rehearsal: has no reason" '\[Wake\] reason=<unknown>; info=<none>;'
logged "a rehearsal: its record" "\[Suspend\] asleep=00:00:00; $slept"
echo none > /sys/power/pm_test

# A program's alarm, and a timer of the service manager's.
alarm() { exec perl -e 'my ($timer, $time) = (syscall(283, 9, 0), pack("q4", 0, 0, shift, 0)); syscall(286, $timer, 0, $time, 0); sleep 300' $1; }
mark; alarm 40 & alarm=$!
systemctl suspend
woken "a program's alarm" "$clock" '00:00:[0-9]+'; kill $alarm
mark; systemd-run --quiet --unit=waker --on-active=40 --timer-property=WakeSystem=yes --timer-property=AccuracySec=1s true
systemctl suspend
woken "a timer with WakeSystem=" "$clock" '00:00:[0-9]+'
logged "a timer with WakeSystem=: was announced" '\[Schedule\] event=Scheduled Wake; id=waker.timer; time=[-0-9 :+]+;'
systemctl stop waker.timer

systemd-inhibit --mode=delay --what=sleep --who=slow --why=hangs sleep 300 & slow=$!
soon 'systemd-inhibit --list | grep -q slow'; mark; systemctl suspend; press system_wakeup
woken "a service that hangs" "$host"; kill $slow
check "a service that hangs: was waited for until the limit" 'journalctl -b -u systemd-logind | grep -q "systemd-inhibit) but inhibitor timeout is reached"'

sleeps() { cat /sys/power/suspend_stats/success; }
daemon=$(systemctl show -P MainPID zorva); before_sleeps=$(sleeps)
mark; kill -STOP $daemon; systemctl suspend; press system_wakeup
soon '[ $(sleeps) -gt $before_sleeps ]'; enough; mend; sleep 3; kill -CONT $daemon
logged "the daemon could not run before it: its record" "\[Suspend\] asleep=00:0[0-9]:[0-9]+; $slept"
sleep 5
check "the daemon could not run before it: one wake, and no sleep after it" '[ "$(since | grep -o "\[Sleep\]\|\[Wake\]" | xargs)" = "[Wake]" ]'
check "the daemon could not run before it: holds its delay lock" 'systemd-inhibit --list | grep -q "^Zorva.*delay"'

mark; press system_wakeup
for i in 1 2 3; do echo mem > /sys/power/state; mend; sleep 3; done; enough
check "three short sleeps are three wakes, each with its record" \
  '[ "$(since | grep -o "\[Wake\]\|\[Suspend\]" | xargs)" = "[Wake] [Suspend] [Wake] [Suspend] [Wake] [Suspend]" ]'

mark; press system_wakeup; echo mem > /sys/power/state; date -s "+1 hour" > /dev/null; enough; mend
logged "the clock is set right after the wake" '\[Locale\] .*'
logged "the clock is set right after the wake: its record" "\[Suspend\] asleep=00:00:[0-9]+; $slept"
check "the clock is set right after the wake: one wake" '[ "$(since | grep -c "\[Wake\]")" = 1 ]'

# The year of the machine's clock.
mark; press "o /b 0x70 9; o /b 0x71 0x25; system_wakeup"; echo mem > /sys/power/state; enough; mend
logged "the clock is set back asleep" "\[Wake\] reason=$host; info=<none>;"
logged "the clock is set back asleep: its record" "\[Suspend\] asleep=00:00:00; $slept"
mark; press "o /b 0x70 9; o /b 0x71 0x24; system_wakeup"; systemctl suspend
woken "the clock is set back asleep, which was announced" "$host" 00:00:00
mark; press "o /b 0x70 9; o /b 0x71 0x27; system_wakeup"; systemctl suspend
woken "the clock is set forward asleep" "$host" '[0-9]{4,}:[0-9]+:[0-9]+'
