#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Runs in the system of tools/check_sessions.
logs=/Library/Logs/Faultbox
log() { cat $logs/*.zorva; }
mark() { before=$(log | wc -l); }
since() { log | tail -n +$((before + 1)); }
soon() { local end=$((SECONDS + 30)); until eval "$1"; do [ $SECONDS -lt $end ] || return; sleep 0.2; done; }
seen() {
  local pattern=$2
  if soon 'line=$(since | grep -m 1 -E -- "^[0-9/]+ [0-9:]+ $pattern\$")'; then echo "ok      $1: $line"
  else echo "FAILED  $1: no $2 in:"; since | tail -n 15; fi
}
check() { if soon "$2"; then echo "ok      $1"; else echo "FAILED  $1: $2"; fi; }
as() { local user=$1; shift; setpriv --reuid $user --regid $user --clear-groups env HOME=/tmp/$user DISPLAY=:$user XDG_RUNTIME_DIR=/run/user/$user DBUS_SESSION_BUS_ADDRESS=unix:path=/run/user/$user/bus "$@"; }
session() {  # session USER: a user with a bus and a screen
  install -d -m 700 -o $1 -g $1 /run/user/$1 /tmp/$1
  as $1 dbus-daemon --session --address=unix:path=/run/user/$1/bus --nofork --nopidfile --syslog-only & 
  as $1 Xvfb :$1 -screen 0 640x480x24 -nolisten tcp > /tmp/$1/screen 2>&1 &
  soon "[ -S /run/user/$1/bus -a -S /tmp/.X11-unix/X$1 ]"
}
created() { echo "\[Assertion\] state=created; $1"; }

useradd -u 1001 gnome 2>/dev/null; useradd -u 1002 kde 2>/dev/null
mkdir -p /run/dbus /tmp/.X11-unix $logs; chmod 1777 /tmp /tmp/.X11-unix
dbus-uuidgen --ensure; dbus-daemon --system --nofork --nopidfile --syslog-only &
soon '[ -S /run/dbus/system_bus_socket ]'
/usr/libexec/upowerd & 
session 1001
zorva -p -d & daemon=$!
soon 'log | grep -q Locale'
check "the daemon logs" 'log | grep -q Locale'

echo "        $(as 1001 /usr/libexec/gnome-session-binary --version 2>&1 | tail -n 1)"
gnome() { as 1001 /usr/libexec/gnome-session-binary --builtin --autostart=/tmp/1001/none --session=none > /tmp/1001/gnome 2>&1 & }
mkdir -p /tmp/1001/none
gnome
soon 'as 1001 busctl --user --no-pager list | grep -q org.gnome.SessionManager'
as 1001 busctl --user --no-pager list | grep -i "gnome\|zorva"; cat /tmp/1001/gnome
