# SPDX-License-Identifier: Apache-2.0
# packages: alsa-utils iw rfkill hostapd
# modules: battery ac video button fan snd-dummy mac80211_hwsim dummy_hcd g_serial usb_f_acm
check "boots, and the service logs" 'systemctl -q is-active zorva && log | grep -q Locale'

mark; laptop 80 1 50 40
seen "the battery discharges" 'level=80.00%; voltage=4100 mV; current=-500 mA; max_capacity=2800; charging_state=Inactive;'
mark; laptop 79 18 60 40
seen "it is charged" 'level=79.00%; voltage=4095 mV; current=600 mA; .*charging_state=Active; charging_current=600 mA;'
mark; laptop 100 16 0 40
seen "it is full" 'level=100.00%; .*current=0 mA; .*charging_state=Full;'

mark; laptop 20 33 50 40
seen "two batteries are one" 'level=35.00%; voltage=3800 mV; current=-500 mA; max_capacity=5600; charging_state=Inactive;'
mark; laptop 20 1 50 40
seen "one is taken out" 'level=20.00%; voltage=3800 mV; current=-500 mA; max_capacity=2800;'
mark; quietly 15 1 50 40; sleep 5; event ZRVA0002
seen "a silent battery is read at the charger's event" 'level=15.00%; .*charging_state=Inactive;'
mark; quietly 14 1 50 40; sleep 5; event ZRVA0002
seen "and again" 'level=14.00%;'
sleep 60; mark
for current in $(seq 41 80); do quietly 14 1 $current 40; event ZRVA0001; done
soon 'since | grep -q Battery'
check "a storm of 40 events is at most 2 entries: $(since | grep -c Battery)" '[ $(since | grep -c Battery) -le 2 ]'

mark; laptop 100 16 0 90
seen "the machine is hot and slowed down" '\[Thermal\] level=100; s0.0=90.00;'
mark; laptop 100 16 0 45
seen "it has cooled down" '\[Thermal\] level=0; s0.0=45.00;'

mark; amixer -q -c 0 sset Master 50%
seen "the volume is changed" '\[Audio\] active=no; route=Dummy; volume=50.0%; output_category=Master;'
aplay -q -D hw:0 -d 30 -f cd /dev/zero &
soon 'grep -q RUNNING /proc/asound/card0/pcm0p/sub0/status'; mark; amixer -q -c 0 sset Master 60%
seen "it is changed while something plays" '\[Audio\] active=yes; route=Dummy; volume=60.0%;'
kill %1

# The daemon follows the radio that the kernel lists first. The other one is the access point.
mark; modprobe mac80211_hwsim radios=2
seen "a radio appears" '\[WiFi\] status=off; ap=<disassociated>;'
station=$(iw dev | sed -n 's/.*Interface //p' | head -n 1)
point=$(iw dev | sed -n 's/.*Interface //p' | tail -n 1)
printf 'interface=%s\nssid=Zorva Test\ndriver=nl80211\nhw_mode=g\nchannel=1\n' $point > /run/point
mark; ip link set $station up
seen "it is switched on" '\[WiFi\] status=on; ap=<disassociated>;'
hostapd -B -P /run/point.pid /run/point > /dev/null
mark; iw dev $station connect 'Zorva Test' 2412
seen "it joins a network" '\[WiFi\] status=on; ap=Zorva Test; wow=off;'
mark; kill $(cat /run/point.pid)
seen "the network goes" '\[WiFi\] status=on; ap=<disassociated>;'
mark; rfkill block wifi
seen "radios are blocked" '\[WiFi\] status=off; ap=<disassociated>;'
mark; rfkill unblock wifi; ip link set $station up
seen "and unblocked" '\[WiFi\] status=on;'

mark; modprobe dummy_hcd; modprobe g_serial
seen "a USB device is plugged in" '\[Accessory\] connected=yes; .*name=Gadget Serial'
mark; modprobe -r g_serial
seen "and out" '\[Accessory\] connected=no; .*name=Gadget Serial'

# QEMU's firmware forgets on the way out of S3 where the registers of ACPI are. Without them the kernel's next
# sleep ends at once.
bridge=/sys/bus/pci/devices/0000:00:1f.0/config
dd if=$bridge of=/run/bridge bs=1 skip=64 count=8 status=none
mend() { dd if=/run/bridge of=$bridge bs=1 seek=64 conv=notrunc status=none; }
# sleeps HOW UNTIL REASON: UNTIL is the key to press, or the seconds after which an alarm fires.
sleeps() {
  mark; echo "$1" > /sys/power/mem_sleep
  case $2 in [0-9]*) echo "+$2" > /sys/class/rtc/rtc0/wakealarm ;; esac
  systemctl suspend
  case $2 in [0-9]*) ;; *) press "$2" ;; esac
  seen "$1: falls asleep" '\[Sleep\] event=will_sleep;'
  seen "$1: wakes by ${2/30/an alarm after 30 s}" "\[Wake\] reason=$3; info=<none>;"
  enough; mend
  check "$1: the way down is not held up" '! journalctl -b -u systemd-logind | grep -i "timeout is reached"'
  check "$1: holds its delay lock again" 'systemd-inhibit --list | grep -q "^Zorva.*delay"'
  seen "$1: its record" "\[Suspend\] asleep=00:0[0-9]:[0-9]+; hardware=<unknown>; mode=$1; result=slept; failed_step=<none>;"
  check "$1: is woken once" '[ $(since | grep -c "\[Wake\]") = 1 ]'
}
echo enabled > /sys/devices/platform/i8042/serio0/power/wakeup
sleeps s2idle 'sendkey a' 'i8042 irq 1 IO-APIC'
sleeps s2idle system_powerdown 'acpi irq 9 IO-APIC, ff_pwr_btn, LNXPWRBN:00 .button. wakeup source'
sleeps deep 30 '00:04 .rtc_cmos. wakeup source'
check "deep: and not before it was due" '[ -z "$(cat /sys/class/rtc/rtc0/wakealarm)" ]'
seen "deep: the alarm was announced" '\[Schedule\] event=Scheduled Wake; id=rtc0 .rtc_cmos.;'
sleeps deep system_wakeup 'LNXPWRBN:00 .button. wakeup source'

# Without the login manager: nothing announces it.
mark; rtcwake -m mem -s 30 > /dev/null; mend
seen "rtcwake: wakes by an alarm after 30 s" '\[Wake\] reason=00:04 .rtc_cmos. wakeup source; info=<none>;'
seen "rtcwake: its record" '\[Suspend\] asleep=00:00:[23][0-9]; hardware=<unknown>; mode=deep; result=slept;'
check "rtcwake: is woken once, unannounced" '[ "$(since | grep -o "\[Sleep\]\|\[Wake\]")" = "[Wake]" ]'

mark; date -s "+1 hour" > /dev/null
seen "the clock is set" '\[Locale\]'
check "the clock is set: which is no wake" '! since | grep "\[Wake\]"'

# The kernel refuses to sleep when an alarm of a program's is due within two seconds: here is one every half
# second (timerfd_create and timerfd_settime with CLOCK_BOOTTIME_ALARM). Should it sleep, it is woken.
mark; before_failures=$(cat /sys/power/suspend_stats/fail)
perl -e 'for (1..120) { my $timer = syscall(283, 9, 0);
         syscall(286, $timer, 0, pack("q4", 0, 0, $_ >> 1, ($_ & 1) * 5e8 + 1), 0) } sleep 60' &
press system_wakeup
systemctl suspend
seen "a sleep fails: it was announced" '\[Sleep\] event=will_sleep;'
seen "a sleep fails: it is given up" '\[Sleep\] event=will_not_sleep;'
enough; kill $!
check "a sleep fails: the kernel counts it" '[ $(cat /sys/power/suspend_stats/fail) -gt $before_failures ]'
seen "a sleep fails: its record" '\[Suspend\] .*mode=deep; result=failed; failed_step=[a-z_]+; .*failed_error=[1-9]'
check "a sleep fails: there is no wake" '! since | grep "\[Wake\]"'
check "a sleep fails: holds its delay lock again" 'systemd-inhibit --list | grep -q "^Zorva.*delay"'
journalctl -b -k -o short-precise | grep 'PM: suspend e' | sed 's/^/        /'

zorva-notify com.vennor.zorva.exit
ended() { for property in ActiveState Result ExecMainStatus; do systemctl show -P $property zorva; done | xargs; }
check "ends by notification, with status 0" '[ "$(ended)" = "inactive success 0" ]'
