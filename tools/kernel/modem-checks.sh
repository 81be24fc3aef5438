# SPDX-License-Identifier: Apache-2.0
# packages: modemmanager python3-minimal
# modules: battery dummy_hcd libcomposite usb_f_acm cdc-acm
# services: ModemManager
# A USB gadget with two serial ports is the modem's link, and modem-peer the modem.
mkfifo /run/modem
tell() { echo "$*" > /run/modem; }
modprobe -a dummy_hcd libcomposite
gadget=/sys/kernel/config/usb_gadget/modem
mkdir -p $gadget/strings/0x409 $gadget/configs/c.1 $gadget/functions/acm.0 $gadget/functions/acm.1
echo 0x1d6b > $gadget/idVendor; echo 0x0104 > $gadget/idProduct
echo Zorva > $gadget/strings/0x409/manufacturer; echo Modem > $gadget/strings/0x409/product
ln -s $gadget/functions/acm.0 $gadget/functions/acm.1 $gadget/configs/c.1
plug() { echo dummy_udc.0 > $gadget/UDC; }
unplug() { echo > $gadget/UDC; }
(while true; do /kernel/modem-peer /run/modem /dev/ttyGS0 /dev/ttyGS1; done > /run/peer.log 2>&1 < /dev/null &)
manager=org.freedesktop.ModemManager1
state() { mmcli -m any -K | grep -q "^modem.generic.state *: $1"; }
# telephony WHAT TECHNOLOGY CALLS SIM DBM BARS, and registration WHAT OPERATOR AREA CELL HOME ATTACHED ACTIVE
# INDICATOR STATUS: the entry, whole.
telephony() {
  entry "$1" "[Telephony] band=<unknown>; data=<unknown>; rat=$2; call_status=$3; airplane_mode=${7:-off};$(
    ) sim=$4; signal=$5 dBm; bars=$6;"
}
registration() {
  entry "$1" "[Registration] operator=$2; lac=$3; cell_id=$4; home=$5; data_attached=$6; data_active=$7;$(
    ) data_indicator=$8; status=$9;"
}
no_modem() {
  telephony "$1" '(null)' Inactive '<unknown>' -1 -1
  registration "$1" '<none>' '<unknown>' '<unknown>' '<unknown>' no no '<unknown>' '<unknown>'
}

check "boots, and the service logs" 'systemctl -q is-active zorva && log | grep -q Locale'
mark; tell sim SIM PIN; systemctl start ModemManager; plug
telephony "a modem whose SIM is locked is plugged in" Unknown Inactive PIN -1 -1
registration "it is not registered" '<none>' '<unknown>' '<unknown>' '<unknown>' no no None Unknown
mark; soon 'state locked'; mmcli -i $(mmcli -m any -K | sed -n "s,.*generic.sim *: ,,p") --pin=1234 > /dev/null
telephony "its SIM is unlocked" Unknown Inactive Ready -1 -1
mark; soon 'state disabled'; mmcli -m any --enable > /dev/null
registration "it is enabled, and searches" '<none>' '<unknown>' '<unknown>' '<unknown>' no no None Searching
mark; tell register 1 7
telephony "it registers, on LTE" LTE Inactive Ready -73 4
registration "at home" 'Zorva Home' '<unknown>' '<unknown>' yes yes no LTE RegisteredHome
check "and no strength is made up before it is measured" '! bodies Telephony | grep -q signal=-113'

# The modem is asked for its strength every 30 seconds.
mark; tell signal 31
telephony "the signal grows" LTE Inactive Ready -51 5
mark; tell signal 4
telephony "it fades" LTE Inactive Ready -106 1
mark; tell signal 6; sleep 35
check "a change of 5 dBm is no entry" '[ -z "$(bodies Telephony)" ]'

mark; mmcli -m any --location-enable-3gpp --location-set-enable-signal > /dev/null
registration "ModemManager is allowed to tell the cell" 'Zorva Home' 6699 12648430 yes yes no LTE RegisteredHome
mark; tell cell 1A2C 00BEEF01
registration "another cell" 'Zorva Home' 6700 12513025 yes yes no LTE RegisteredHome
mark; mmcli -m any --simple-connect=apn=internet > /dev/null
registration "data is connected" 'Zorva Home' 6700 12513025 yes yes yes LTE RegisteredHome
mark; mmcli -m any --simple-disconnect > /dev/null
registration "and disconnected" 'Zorva Home' 6700 12513025 yes yes no LTE RegisteredHome

# call METHOD: of the call numbered $calls.
calls=0
call() { busctl call $manager /$(echo $manager | tr . /)/Call/$calls $manager.Call $1; }
mark; tell ring +4930123456
telephony "a call rings" LTE Ringing Ready -101 1
mark; call Accept
telephony "it is accepted" LTE Active Ready -101 1
mark; tell hangup
telephony "the caller hangs up" LTE Inactive Ready -101 1
mark; tell ring +4930123456; soon 'bodies Telephony | grep -q Ringing'; mark; tell hangup
telephony "a call that nobody answers ends" LTE Inactive Ready -101 1
calls=2; mark
busctl call $manager $(mmcli -m any -K | sed -n 's/.*dbus-path *: //p') $manager.Modem.Voice CreateCall 'a{sv}' 1 \
  number s +4922222 > /dev/null; call Start
telephony "a call out" LTE Sending Ready -101 1
mark; tell answer
telephony "it is answered" LTE Active Ready -101 1
mark; call Hangup
telephony "we hang up" LTE Inactive Ready -101 1
mark; tell sms 49123456789 Secret words
check "a message arrives" 'mmcli -m any --messaging-list-sms | grep -q received'
check "which is no entry" '[ -z "$(bodies Telephony; bodies Registration)" ]'

mark; tell register 3 0
telephony "the network denies it" Unknown Inactive Ready -1 -1
registration "it is not registered" '<none>' '<unknown>' '<unknown>' '<unknown>' no no None Denied
mark; tell operator 26201 Far Away; tell register 5 7
telephony "it roams; ModemManager does not measure any more" LTE Inactive Ready -1 -1
registration "another operator" 'Far Away' 6700 12513025 no yes no LTE RegisteredRoaming
mark; tell register 5 2
telephony "on UMTS" UMTS Inactive Ready -1 -1
registration "its indicator" 'Far Away' 6700 12513025 no yes no 3G RegisteredRoaming
mark; tell register 5 3
registration "on GSM with EDGE" 'Far Away' 6700 12513025 no yes no EDGE RegisteredRoaming

mark; unplug
no_modem "the modem is unplugged"
# This time it reports its strength itself, in fifths.
tell indicators on; tell signal 4
mark; plug
telephony "and plugged in again" Unknown Inactive Ready -1 -1
soon 'state disabled'; mark; mmcli -m any --enable > /dev/null
telephony "it registers, and reports its strength" GSM Inactive Ready -63 4
mark; tell signal 1
telephony "which fades at once" GSM Inactive Ready -101 1

# ModemManager waits for its modem, and nothing waits for ModemManager.
tell delay 5; tell operator 00101 Zorva Home
mark; tell register 1 7; sleep 1; laptop 79 1 50 40
telephony "a modem answers late: what it reported itself" LTE Inactive Ready -101 1
seen "the battery is logged meanwhile" '\[Battery\] level=79.00%;'
seen "and how long the link was in which state" '\[Baseband State Durations\] Active=[0-9]+ ms; Suspended=[0-9]+ ms;$'
soon 'mmcli -m any -K | grep -q "registration-state *: home"'
operator=$(mmcli -m any -K | sed -n 's/.*operator-name *: //p')
registration "it is at home, with the operator that ModemManager has" "$operator" '<unknown>' '<unknown>' yes yes no LTE RegisteredHome
tell delay 0; sleep 10

mark; systemctl kill -s KILL ModemManager
no_modem "ModemManager is killed"
mark; systemctl reset-failed ModemManager; systemctl start ModemManager
telephony "it runs again" Unknown Inactive Ready -1 -1
soon 'state disabled'; mark; mmcli -m any --enable > /dev/null
telephony "its modem registers" LTE Inactive Ready -101 1
registration "at home" 'Zorva Home' '<unknown>' '<unknown>' yes yes no LTE RegisteredHome

mark; systemctl kill -s STOP ModemManager; systemctl restart zorva
no_modem "the log starts while ModemManager hangs"
mark; systemctl kill -s CONT ModemManager; tell register 5 2
telephony "ModemManager goes on, and reports a change" UMTS Inactive Ready -101 1

mark; mmcli -m any --disable > /dev/null
telephony "it is disabled" Unknown Inactive Ready -1 -1
sleep 5; bodies Registration | tail -n 1

zorva-notify com.vennor.zorva.exit
ended() { for property in ActiveState Result ExecMainStatus; do systemctl show -P $property zorva; done | xargs; }
check "ends by notification, with status 0" '[ "$(ended)" = "inactive success 0" ]'
check "no number and no text of a message is in the log" '! log | grep -q -i -e secret -e 4930123456 -e 4922222 -e 49123456789 -e 490154203237518'
mmcli --version | sed -n 1p; uname -r
