// SPDX-License-Identifier: Apache-2.0
// The firmware of a laptop whose battery comes in kinds, with a lid, a backlight and a second battery in a bay.
// The four bytes of its state are those of a test device of QEMU's, so they can be set from outside while the
// machine sleeps. Reading the status of an EVT device is an event of the firmware's.
DefinitionBlock ("", "SSDT", 2, "ZORVA", "FIRMWARE", 1) {
  External (\_SB.PCI0, DeviceObj)
  Scope (\_SB) {
    OperationRegion (SETS, SystemIO, 0xE0, 4)
    Field (SETS, ByteAcc, NoLock, Preserve) {
      PCNT, 8,  // percent
      STAT, 4,  // of the battery: 1 discharging, 2 charging
      ONLN, 1, PUT1, 1, OUT0, 1, SHUT, 1,  // charger; second battery; the first one is out; the lid is closed
      CURR, 8,  // 10 mA or 100 mW
      KIND, 8   // what the battery reports, see below
    }
    Device (AC0) {
      Name (_HID, "ACPI0003")
      Name (_PCL, Package () { \_SB })
      Method (_PSR) { Return (ONLN) }
    }
    Device (BAT0) {
      Name (_HID, EisaId ("PNP0C0A"))
      Name (_UID, 1)
      Method (_STA) { If (OUT0) { Return (0x0F) } Return (0x1F) }
      Name (_PCL, Package () { \_SB })
      Name (INFO, Package () { 0, 1, 3000, 2800, 1, 3800, 140, 60, 123, 95000, 1000, 500, 1000, 500, 1, 1,
                               "Test", "0042", "LION", "Zorva" })
      Name (NOW, Package () { 0, 0, 0, 0 })
      Method (_BIX) {
        INFO[1] = 1
        INFO[2] = 3000
        INFO[3] = 2800
        INFO[8] = 123
        INFO[17] = "0042"
        If (KIND == 1) {  // energies: mWh at 10 V
          INFO[1] = 0
          INFO[2] = 50000
          INFO[3] = 40000
          INFO[5] = 10000
        } Else { INFO[5] = 3800 }
        If (KIND == 5) { INFO[3] = 0xFFFFFFFF }  // the full charge is unknown
        If (KIND == 6) {  // neither charge that it could be full at is known
          INFO[2] = 0xFFFFFFFF
          INFO[3] = 0xFFFFFFFF
        }
        If (KIND == 7) {  // another battery
          INFO[3] = 2000
          INFO[8] = 7
          INFO[17] = "0077"
        }
        If (KIND == 8) { INFO[5] = 0xFFFFFFFF }  // the nominal voltage is unknown
        Return (INFO)
      }
      Method (_BST) {
        NOW[0] = STAT
        NOW[1] = CURR * 10
        NOW[2] = PCNT * 28
        NOW[3] = 3700 + PCNT * 5
        If (KIND == 1) {
          NOW[1] = CURR * 100
          NOW[2] = PCNT * 400
          NOW[3] = 10000
        }
        If (KIND == 2) { NOW[1] = 0xFFFFFFFF }
        If (KIND == 3) { NOW[2] = 0xFFFFFFFF }
        If (KIND == 4) { NOW[2] = 3500 }  // more than full
        If (KIND == 7) { NOW[2] = PCNT * 20 }
        If (KIND == 9) { NOW[3] = 0xFFFFFFFF }  // no voltage
        Return (NOW)
      }
    }
    Device (BAT1) {
      Name (_HID, EisaId ("PNP0C0A"))
      Name (_UID, 2)
      Method (_STA) { If (PUT1) { Return (0x1F) } Return (0x0F) }
      Name (_PCL, Package () { \_SB })
      Name (_BIX, Package () { 0, 0, 30000, 28000, 1, 10000, 140, 60, 5, 95000, 1000, 500, 1000, 500, 1, 1,
                               "Test", "0043", "LION", "Zorva" })
      Name (_BST, Package () { 0, 0, 14000, 10000 })
    }
    Device (LID0) {
      Name (_HID, EisaId ("PNP0C0D"))
      Method (_LID) { Return (!SHUT) }
    }
    Device (EVT0) {
      Name (_HID, "ZRVA0001")  // everything has changed
      Method (_STA) {
        Notify (BAT0, 0x81)
        Notify (BAT1, 0x81)
        Notify (AC0, 0x80)
        Return (0x0F)
      }
    }
    Device (EVT1) {
      Name (_HID, "ZRVA0002")  // the charger
      Method (_STA) {
        Notify (AC0, 0x80)
        Return (0x0F)
      }
    }
    Device (EVT2) {
      Name (_HID, "ZRVA0003")  // the lid
      Method (_STA) {
        Notify (LID0, 0x80)
        Return (0x0F)
      }
    }
  }
  Scope (\_SB.PCI0) {
    Device (GFX0) {
      Name (_ADR, 0x00010000)
      Method (_DOS, 1) { }
      Name (_DOD, Package () { 0x80010400 })
      Device (LCD0) {
        Name (_ADR, 0x0400)
        Name (LEVL, 60)
        Name (_BCL, Package () { 80, 40, 0, 20, 40, 60, 80, 100 })
        Method (_BCM, 1) { LEVL = Arg0 }
        Method (_BQC) { Return (LEVL) }
      }
    }
  }
}
