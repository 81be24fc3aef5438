// SPDX-License-Identifier: Apache-2.0
// The firmware of a laptop. The four bytes of its state are those of a test device of QEMU's. Reading the
// status of EVT0 is the firmware's event that something has changed.
DefinitionBlock ("", "SSDT", 2, "ZORVA", "LAPTOP", 1) {
  Scope (\_SB) {
    OperationRegion (SETS, SystemIO, 0xE0, 4)
    Field (SETS, ByteAcc, NoLock, Preserve) {
      PCNT, 8,  // percent
      STAT, 4,  // of the battery: 1 discharging, 2 charging
      ONLN, 1, PUT1, 3,  // charger; second battery
      CURR, 8,  // 10 mA
      HEAT, 8   // degrees Celsius
    }
    Device (AC0) {
      Name (_HID, "ACPI0003")
      Name (_PCL, Package () { \_SB })
      Method (_PSR) { Return (ONLN) }
    }
    Device (BAT0) {
      Name (_HID, EisaId ("PNP0C0A"))
      Name (_UID, 1)
      Name (_STA, 0x1F)
      Name (_PCL, Package () { \_SB })
      Name (_BIX, Package () { 0, 1, 3000, 2800, 1, 3800, 140, 60, 123, 95000, 1000, 500, 1000, 500, 1, 1,
                               "Test", "0042", "LION", "Zorva" })
      Name (NOW, Package () { 0, 0, 0, 0 })
      Method (_BST) {
        NOW[0] = STAT
        NOW[1] = CURR * 10
        NOW[2] = PCNT * 28
        NOW[3] = 3700 + PCNT * 5
        Return (NOW)
      }
    }
    Device (BAT1) {  // a second one that can be taken out, idle and half full
      Name (_HID, EisaId ("PNP0C0A"))
      Name (_UID, 2)
      Method (_STA) { If (PUT1) { Return (0x1F) } Return (0x0F) }
      Name (_PCL, Package () { \_SB })
      Name (_BIX, Package () { 0, 1, 3000, 2800, 1, 3800, 140, 60, 5, 95000, 1000, 500, 1000, 500, 1, 1,
                               "Test", "0043", "LION", "Zorva" })
      Name (_BST, Package () { 0, 0, 1400, 3900 })
    }
    Device (FAN0) {  // slows the machine down, as far as the kernel knows
      Name (_HID, EisaId ("PNP0C0B"))
      Name (_PSC, 3)
      Method (_PS0) { _PSC = 0 }
      Method (_PS3) { _PSC = 3 }
    }
    Device (EVT0) {
      Name (_HID, "ZRVA0001")
      Method (_STA) {
        Notify (BAT0, 0x80)
        Notify (BAT1, 0x81)
        Notify (AC0, 0x80)
        Notify (\_TZ.TZ0, 0x80)
        Return (0x0F)
      }
    }
    Device (EVT1) {
      Name (_HID, "ZRVA0002")
      Method (_STA) {
        Notify (AC0, 0x80)
        Return (0x0F)
      }
    }
  }
  Scope (\_TZ) {
    ThermalZone (TZ0) {
      Method (_TMP) { Return (2732 + \_SB.HEAT * 10) }
      Name (_CRT, 3932)
      Name (_PSV, 3532)
      Name (_PSL, Package () { \_SB.FAN0 })
      Name (_TC1, 1)
      Name (_TC2, 1)
      Name (_TSP, 10)
    }
  }
}
