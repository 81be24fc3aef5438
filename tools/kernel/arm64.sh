# SPDX-License-Identifier: Apache-2.0
# battery NAME=VALUE...: sets what the kernel's test driver reports; each is an event.
battery() { for set in "$@"; do echo "${set#*=}" > "/sys/module/test_power/parameters/${set%%=*}"; done; }
