# SPDX-License-Identifier: Apache-2.0
check "the package is installed: $(dpkg-query -W -f '${Package} ${Version} ${Architecture} ${db:Status-Abbrev}' zorva)" \
  'dpkg-query -W -f "\${Architecture} \${db:Status-Abbrev}" zorva | grep -q "^arm64 ii"'
check "the machine is arm64: $(uname -rm)" '[ "$(uname -m)" = aarch64 ]'
check "boots, and the service logs" 'systemctl -q is-active zorva && log | grep -q Locale'

# The driver gives its full charge as 100 uAh, which is max_capacity=0 in the log.
mark; battery battery_voltage=4100000 battery_current=-500000 battery_status=discharging battery_capacity=80
seen "the battery discharges" '\[Battery\] level=80.00%; voltage=4100 mV; current=-500 mA; .*charging_state=Inactive;'
mark; battery battery_status=charging ac_online=on battery_current=600000 battery_capacity=81
seen "it is charged" '\[Battery\] level=81.00%; voltage=4100 mV; current=600 mA; .*charging_state=Active;'
mark; battery battery_status=full battery_capacity=100
seen "it is full" '\[Battery\] level=100.00%; .*charging_state=Full;'

# An alarm that fires on the way down would wake nothing: a busy host needs seconds for it.
mark; echo s2idle > /sys/power/mem_sleep; echo +60 > /sys/class/rtc/rtc0/wakealarm
systemctl suspend
seen "s2idle: falls asleep" '\[Sleep\] event=will_sleep;'
seen "s2idle: the alarm was announced" '\[Schedule\] event=Scheduled Wake; id=rtc0'
seen "s2idle: wakes by the clock's alarm" '\[Wake\] reason=rtc-pl031 irq [0-9]+; info=<none>;'
seen "s2idle: its record" '\[Suspend\] .*mode=s2idle; result=slept; failed_step=<none>;'
check "s2idle: is woken once" '[ $(since | grep -c "\[Wake\]") = 1 ]'
check "s2idle: the way down is not held up" '! journalctl -b -u systemd-logind | grep -i "timeout is reached"'
check "s2idle: holds its delay lock again" 'systemd-inhibit --list | grep -q "^Zorva.*delay"'

mark; date -s "+1 hour" > /dev/null
seen "the clock is set" '\[Locale\]'
check "the clock is set: which is no wake" '! since | grep "\[Wake\]"'

zorva-notify com.vennor.zorva.exit
ended() { for property in ActiveState Result ExecMainStatus; do systemctl show -P $property zorva; done | xargs; }
check "ends by notification, with status 0" '[ "$(ended)" = "inactive success 0" ]'
