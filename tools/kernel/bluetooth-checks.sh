# SPDX-License-Identifier: Apache-2.0
# packages: bluez bluez-test-tools
# modules: battery bluetooth hci_vhci cmac ecb rfcomm bnep
# services: bluetooth
# There is an entry a minute: before each check the clock is set forward by one.
change() { date -s "+61 seconds" > /dev/null; mark; }
# bluetooth WHAT STATE DISCOVERABLE CONNECTABLE CONNECTED [ERROR]
bluetooth() {
  seen "$1" "^.{17} \[Bluetooth\] state=$2; runvo=off; fm=off; discoverable=$3; connectable=$4; connected=$5;$(
    ) power_consumption=0; power_err=${6:-105}; power_time=[0-9]+; power_consumption_rate=0;\$"
}
lost() { entry "$1" "[Zorva] Connection to Bluvane lost - attempting a reconnect in 30 seconds"; }
set_adapter() { busctl set-property org.bluez /org/bluez/hci0 org.bluez.Adapter1 "$1" b "$2"; }
adapter() { busctl get-property org.bluez /org/bluez/$1 org.bluez.Adapter1 "$2" 2> /dev/null | cut -d ' ' -f 2 | tr -d '"'; }

check "boots, and the service logs" 'systemctl -q is-active zorva && log | grep -q Locale'
laptop 80 1 50 40
modprobe hci_vhci; systemctl start bluetooth
soon 'busctl status org.bluez > /dev/null 2>&1'; sleep 2
change; laptop 79 1 50 40
bluetooth "no controller" 'not present' no no no 103

# It may read the kernel's first command in place of its answer, and then ends.
until [ -e /sys/class/bluetooth/hci1 ]; do
  btvirt -B -l2 > /run/btvirt.log 2>&1 &
  virtual=$!; sleep 3
done
soon 'busctl tree org.bluez | grep -q hci1'
soon '[ "$(adapter hci0 Powered)" = true ]'
change; laptop 78 1 50 40
bluetooth "a controller appears, and bluetoothd switches it on" on no yes no
change; set_adapter Powered false
bluetooth "it is switched off" off no no no
change; set_adapter Powered true
bluetooth "it is switched on" on no yes no
change; set_adapter Discoverable true
bluetooth "it is discoverable" on yes yes no

# The second controller is a device that connects. A ping keeps the connection.
address=$(adapter hci0 Address)
change; l2ping -i hci1 -c 1000 -d 1 $address > /run/l2ping.log 2>&1 &
bluetooth "a device connects" on yes yes yes
pinger=$!
change; kill $pinger
bluetooth "it goes" on yes yes no
change; set_adapter Discoverable false
bluetooth "it is no longer discoverable" on no yes no

mark; systemctl kill -s KILL bluetooth
lost "bluetoothd is killed"
change; sleep 5; laptop 77 1 50 40
check "without it there is no entry" '! bodies Bluetooth | grep .'
systemctl reset-failed bluetooth; systemctl start bluetooth
soon '[ "$(adapter hci0 Powered)" = true ]'
sleep 35
change; set_adapter Discoverable true
bluetooth "it is restarted, and 30 seconds later the log goes on" on yes yes no
change; set_adapter Discoverable false
bluetooth "and goes on" on no yes no
change; kill $virtual
bluetooth "the controllers go: BlueZ reports them as switched off first" off no no no
change; laptop 76 1 50 40
bluetooth "they are gone" off no no no 104
bluetoothctl --version
