# SPDX-License-Identifier: Apache-2.0
# modules: battery ac video button evdev
# table: firmware.asl
# devices: VGA
