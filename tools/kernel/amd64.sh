# SPDX-License-Identifier: Apache-2.0
# The laptop of laptop.asl.
# laptop PERCENT STATE CURRENT CELSIUS: STATE is 1 discharging, 2 charging, 16 at the charger, 32 with a second
# battery, added. The firmware's events: all of them, or the charger's alone.
laptop() { quietly "$@"; event ZRVA0001; }
quietly() {
  sleep 1.2  # the kernel's driver keeps what it has read for a second
  printf "$(printf '\\x%02x' $1 $2 $3 $4)" | dd of=/dev/port bs=1 seek=224 conv=notrunc status=none
}
event() { cat /sys/bus/acpi/devices/$1:00/status > /dev/null; }
