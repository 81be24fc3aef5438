# SPDX-License-Identifier: Apache-2.0
# What the checks of every machine share.
logs=/Library/Logs/Faultbox
log() { cat $logs/*.zorva 2> /dev/null; }
mark() { before=$(log | wc -l); }
since() { log | tail -n +$((before + 1)); }
soon() { local end=$((SECONDS + 60)); until eval "$1"; do [ $SECONDS -lt $end ] || return; sleep 0.2; done; }
# seen WHAT PATTERN: a line that came since the last mark.
seen() {
  local pattern=$2
  if soon 'line=$(since | grep -m 1 -E -- "$pattern")'; then echo "ok      $1: $line"
  else echo "FAILED  $1: no $2 in:"; since | tail -n 15; fi
}
check() { if soon "$2"; then echo "ok      $1"; else echo "FAILED  $1: $2"; fi; }
# Outside, a key or the power button is pressed every ten seconds until the guest calls that off.
press() { echo "@press $1"; }
enough() { echo "@enough"; }
# entry WHAT BODY: an entry that came since the last mark, all of it but its time.
entry() {
  body=$2
  if soon 'since | cut -c 19- 2> /dev/null | grep -q -x -F -- "$body"'; then echo "ok      $1: $body"
  else echo "FAILED  $1: no $body in:"; since | tail -n 15; fi
}
# bodies CATEGORY: the bodies of that category's entries since the last mark, one a line.
bodies() { since | cut -c 19- 2> /dev/null | grep -F "[$1]"; }
