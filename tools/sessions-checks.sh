# SPDX-License-Identifier: Apache-2.0
# Runs in the system of tools/check_sessions, after tools/kernel/guest.sh. Whole entries are compared, but for their time.
seen() {
  local pattern=$2
  if soon 'line=$(since | grep -m 1 -E -- "^[0-9/]+ [0-9:]+ $pattern\$")'; then echo "ok      $1: $line"
  else echo "FAILED  $1: no $2 in:"; since | tail -n 15; fi
}
run() { local user=$1; shift; exec setpriv --reuid $user --regid $user --clear-groups env HOME=/tmp/$user DISPLAY=:$user XDG_RUNTIME_DIR=/run/user/$user DBUS_SESSION_BUS_ADDRESS=unix:path=/run/user/$user/bus "$@"; }
as() { (run "$@"); }
session() {  # session USER: a user with a bus and a screen
  install -d -m 700 -o $1 -g $1 /run/user/$1 /tmp/$1
  run $1 dbus-daemon --session --address=unix:path=/run/user/$1/bus --nofork --nopidfile --syslog-only & 
  run $1 Xvfb :$1 -screen 0 640x480x24 -nolisten tcp > /tmp/$1/screen 2>&1 &
  soon "[ -S /run/user/$1/bus -a -S /tmp/.X11-unix/X$1 ]"
}

useradd -u 1001 gnome 2>/dev/null; useradd -u 1002 kde 2>/dev/null
rm -f $logs/*; mkdir -p /run/dbus /run/zorva /tmp/.ICE-unix /tmp/.X11-unix $logs; chmod 1777 /tmp /tmp/.ICE-unix /tmp/.X11-unix
dbus-uuidgen --ensure; dbus-daemon --system --nofork --nopidfile --syslog-only &
soon '[ -S /run/dbus/system_bus_socket ]'
/usr/libexec/upowerd 2> /dev/null & 
session 1001
zorva -d > /tmp/daemon 2>&1 & daemon=$!
soon 'log | grep -q Locale'
check "the daemon logs" 'log | grep -q Locale'

# holds USER PROGRAM: a program of the user's that runs until it is killed. What it does is Python's.
holds() {
  run $1 python3 -c "
import dbus, time
bus = dbus.SessionBus()
$2
time.sleep(300)" & holder=$!
}
owned() { as $1 busctl --user call org.freedesktop.DBus / org.freedesktop.DBus NameHasOwner s $2 | grep -q true; }
created() { seen "$1" "\[Assertion\] state=created; process=$2; pid=$service; name=$3; held_for=00:00:00;"; }
released() { seen "$1" "\[Assertion\] state=released; process=$2; pid=$service; name=$3; held_for=00:00:[0-9]+;"; }
none() { sleep 7; check "$1" "! since | grep -q 'Assertion'"; }

manager=org.gnome.SessionManager name=gnome-session-b
gnome() { run 1001 /usr/libexec/gnome-session-binary --builtin --autostart=/tmp/1001/none > /tmp/1001/log 2>&1 & service=$!; }
inhibits() {  # inhibits APPLICATION REASON FLAGS
  holds 1001 "manager = dbus.Interface(bus.get_object('$manager', '/org/gnome/SessionManager'), '$manager')
manager.Inhibit('$1', dbus.UInt32(0), '$2', dbus.UInt32($3))"
}
mkdir -p /tmp/1001/none
gnome
check "gnome-session $(/usr/libexec/gnome-session-binary --version | sed 's/.* //') runs" "owned 1001 $manager"
mark; inhibits film playing 12
created "an application inhibits sleep" $name 'film: playing'
mark; kill $holder
released "it ends" $name 'film: playing'
mark; inhibits burner burning 1
none "one that inhibits only logging out"; kill $holder
mark; inhibits film idle 8
created "one that inhibits idleness" $name 'film: idle'
mark; kill -KILL $service
released "the session manager is killed" $name 'film: idle'; kill $holder
soon "! owned 1001 $manager"; gnome; soon "owned 1001 $manager"
mark; inhibits film again 4
created "another one is started" $name 'film: again'
mark; kill $holder; released "and what it held ends" $name 'film: again'

session 1002
agent=org.kde.Solid.PowerManagement.PolicyAgent name=org_kde_powerde
kde() { run 1002 /usr/lib/x86_64-linux-gnu/libexec/org_kde_powerdevil > /tmp/1002/log 2>&1 & service=$!; }
inhibits() {
  holds 1002 "agent = dbus.Interface(bus.get_object('$agent', '/org/kde/Solid/PowerManagement/PolicyAgent'), '$agent')
agent.AddInhibition(dbus.UInt32($3), '$1', '$2')"
}
kde
check "PowerDevil $(dpkg-query -W -f '${Version}' powerdevil) runs" "owned 1002 $agent"
mark; inhibits player film 1
created "an application inhibits sleep" $name 'player: film'
mark; kill $holder
released "it ends" $name 'player: film'
mark; inhibits player short 1; sleep 2; kill $holder
none "one of two seconds"
mark; inhibits player screen 4
created "one that inhibits the screen's sleep" $name 'player: screen'
mark; kill -KILL $service
released "PowerDevil is killed" $name 'player: screen'; kill $holder
soon "! owned 1002 $agent"; kde; soon "owned 1002 $agent"
mark; inhibits player again 1
created "another one is started" $name 'player: again'
mark; inhibits other twice 1
created "a second application" $name 'other: twice'
mark; kill $service
seen "it ends by itself" "\[Assertion\] state=released; process=$name; pid=$service; name=player: again; held_for=00:00:[0-9]+;"
echo end
