// SPDX-License-Identifier: Apache-2.0
#include "report/format/LogFormat_tables.h"

namespace zorva::logformat {
namespace {

using enum FieldType;
using enum Privacy;

constexpr FieldFormat kDurations[] = {
    {"*", Integer, " ms",
     "The time that the modem has spent in a power state, in milliseconds; the key is the state.",
     "Active and Suspended, from the runtime power management of the modem's device, since the "
     "device was found. If its driver has no runtime power management, there are no entries."}};

constexpr WordFormat kVersions[] = {{"IPv4", ""}};
constexpr WordFormat kProtocols[] = {{"TCP", ""}, {"UDP", ""}, {"ICMP", ""}};
constexpr WordFormat kStatus[] = {{"Incoming Call", "An incoming call"},
                                  {"Incoming SMS", "An incoming text message"}};
constexpr std::string_view kFromHeader = "From the packet's header.";
constexpr FieldFormat kPacketDecoder[] = {
    {"version", Text, "", "The version of the Internet Protocol.",
     "Only IPv4 packets are captured.", Harmless, kVersions},
    {"length", Integer, "", "The packet's length in bytes.", kFromHeader},
    {"ttl", Integer, "", "The time to live: the number of routers that it could still have passed.",
     kFromHeader},
    {"protocol", Text, "", "The protocol of its payload; others are shown as \"Other (NUMBER)\".",
     kFromHeader, Harmless, kProtocols},
    {"source", Text, "", "The source address.", kFromHeader, Address},
    {"destination", Text, "", "The destination address, which is the device's own.", kFromHeader,
     Address},
    {"source_port", Integer, "", "The source port (TCP and UDP).", kFromHeader},
    {"dest_port", Integer, "", "The destination port (TCP and UDP).", kFromHeader},
    {"length", Integer, "", "The length field of the UDP header, in bytes (UDP).", kFromHeader},
    {"seq", Integer, "", "The sequence number (TCP).", kFromHeader, Content},
    {"ack", Integer, "", "The acknowledgement number: the next byte that the sender expects (TCP).",
     kFromHeader, Content},
    {"offset", Integer, "", "The length of the TCP header in 32-bit words (TCP).", kFromHeader},
    {"window", Integer, "", "The receive window of the sender in bytes, before scaling (TCP).",
     kFromHeader},
    {"control", Text, "",
     "The flags urgent, acknowledge, push, reset, synchronise and finish as \"xxUAPRSF\", with "
     "\"x\" for each that is not set (TCP).",
     kFromHeader},
    {"status", Text, "",
     "If it was not a packet: what it was, in place of all other fields; the modem's other "
     "channels are shown as \"Other DLCI (NAME)\".",
     "A call that rings or a message that arrives, as ModemManager reports it.", Harmless,
     kStatus}};

constexpr WordFormat kSocketStates[] = {{"CLOSED", "It has no connection"},
                                        {"LISTENING", "It accepts connections"},
                                        {"ESTABLISHED", "It has a connection"},
                                        {"CLOSE_WAIT", "The other end has closed the connection"}};
constexpr std::string_view kFromSockets =
    "From the sockets as they were right before the sleep. Sockets of other users' processes are "
    "visible only to root, those of other network namespaces not at all.";
constexpr FieldFormat kPacketTracker[] = {
    {"process", Text, "",
     "The name of the process that owned the socket to which the packet was addressed.",
     kFromSockets, Name},
    {"path", Text, "", "The path of its program.", kFromSockets, Name},
    {"pid", Integer, "", "Its process id.", kFromSockets},
    {"tcp_status", Text, "",
     "The state of the socket (TCP); others are shown as \"STATE(NUMBER):\": 2 and 3 while a "
     "connection is established, 6 to 9 while it is closed.",
     kFromSockets, Harmless, kSocketStates},
    {"local", Text, "", "The socket's own address and port.", kFromSockets, Address},
    {"remote", Text, "", "The address and port of the other end.", kFromSockets, Address},
    {"error", Text, "", "No process owned such a socket; in place of all other fields.",
     kFromSockets}};

constexpr WordFormat kNoOperator[] = {{"<none>", "There is no network"}};
constexpr WordFormat kIndicators[] = {{"5G", ""},
                                      {"LTE", ""},
                                      {"HSPA+", ""},
                                      {"HSPA", ""},
                                      {"3G", ""},
                                      {"EDGE", ""},
                                      {"E", "EDGE"},
                                      {"GPRS", ""},
                                      {"EVDO", ""},
                                      {"1xRTT", ""},
                                      {"None", "It is not attached"}};
constexpr WordFormat kRegistered[] = {{"RegisteredHome", "In the network of the SIM card"},
                                      {"RegisteredRoaming", "In another network"},
                                      {"NotRegistered", "In none, and the modem does not search"},
                                      {"Searching", "In none, and the modem searches for one"},
                                      {"Denied", "The network refuses the registration"},
                                      {"EmergencyOnly", "For emergency calls only"},
                                      {"RestrictedLocal", "For local services only"},
                                      {"Unknown", "The modem does not report it"}};
constexpr std::string_view kLocationSource =
    "ModemManager, while its 3GPP location source is enabled (by GeoClue, or by an administrator "
    "with mmcli); otherwise <unknown>.";
constexpr FieldFormat kRegistration[] = {
    {"operator", Text, "", "The network's name.", "ModemManager.", Name, kNoOperator},
    {"lac", Integer, "",
     "The location area, or in LTE and 5G the tracking area; <unknown> until the cell has changed "
     "once.",
     kLocationSource, Name},
    {"cell_id", Integer, "", "The radio cell; <unknown> until it has changed once.",
     kLocationSource, Name},
    {"home", Word, "",
     "Whether the network is the home network; <unknown> until the registration has changed once.",
     "ModemManager.", Harmless, kYesOrNo},
    {"data_attached", Word, "", "Whether the modem is attached for packet data.",
     "ModemManager 1.20 or later; earlier versions: whether there is a connection, or the "
     "technology is LTE or 5G.",
     Harmless, kYesOrNo},
    {"data_active", Word, "", "Whether there is a data connection.", "ModemManager's bearers.",
     Harmless, kYesOrNo},
    {"data_indicator", Text, "", "The network technology for packet data.",
     "ModemManager's access technology while attached; <unknown> without a modem.", Harmless,
     kIndicators},
    {"status", Text, "", "The state of the registration.",
     "ModemManager; <unknown> without a modem.", Harmless, kRegistered}};

constexpr WordFormat kTransmitting[] = {{"inactive", "It does not transmit"},
                                        {"DCH", "It has a dedicated channel"},
                                        {"UTBF", "It has an uplink block flow"},
                                        {"DCH/UTBF", "It has both"}};
constexpr WordFormat kTechnologies[] = {{"GSM", "GSM, GPRS or EDGE"},
                                        {"UMTS", "UMTS or HSPA"},
                                        {"LTE", ""},
                                        {"5G", ""},
                                        {"EVDO", ""},
                                        {"1xRTT", ""},
                                        {"POTS", "A telephone line"},
                                        {"Dual", "GSM and UMTS"},
                                        {"None", "None is selected"},
                                        {"Unknown", "The modem does not report it"}};
constexpr WordFormat kCalls[] = {{"Inactive", "There is no call"},
                                 {"Idle", "There is a call without activity"},
                                 {"Sending", "An outgoing call is being set up"},
                                 {"Ringing", "An incoming call rings"},
                                 {"Active", "The call is connected"},
                                 {"Held", "The call is on hold"},
                                 {"Disconnected", "The call is over"},
                                 {"Multiple", "There is more than one call"}};
constexpr WordFormat kSim[] = {{"Ready", "It can be used"},
                               {"PIN", "It waits for its PIN"},
                               {"PUK", "It waits for its PUK"},
                               {"Locked", "It is locked to a network, provider or device"},
                               {"NotInserted", "There is none"},
                               {"Error", "It cannot be used"},
                               {"NoProfile", "It is an embedded SIM without a profile"},
                               {"Unknown", "The modem does not report it"}};
constexpr FieldFormat kTelephony[] = {
    {"band", Word, "", "The radio band.", "Not available: always <unknown>, as on all devices."},
    {"data", Word, "", "Whether the radio is transmitting data.",
     "Not available: always <unknown>.", Harmless, kTransmitting},
    {"rat", Text, "", "The radio access technology.", "ModemManager; (null) without a modem.",
     Harmless, kTechnologies},
    {"call_status", Text, "",
     "The state of the telephone call; others are shown as \"<unknown status: NUMBER>\".",
     "ModemManager.", Harmless, kCalls},
    {"airplane_mode", Word, "", "Whether the radio has been switched off.",
     "The modem's power state in ModemManager, or the rfkill switches.", Harmless, kOnOrOff},
    {"sim", Text, "", "The state of the SIM card.", "ModemManager; <unknown> without a modem.",
     Harmless, kSim},
    {"signal", Integer, " dBm",
     "The signal strength in dBm (decibels relative to one milliwatt); -1 if unknown.",
     "Measured, if ModemManager lets Zorva set a threshold (1.20 or later, as root); otherwise "
     "calculated from the signal quality in percent."},
    {"bars", Integer, "", "The number of signal bars; -1 if unknown.",
     "ModemManager's signal quality: one bar for each 20 percent, rounded up."}};

constexpr EntryFormat kEntries[] = {
    {"Baseband State Durations", EntryShape::Fields,
     "The time that the modem has spent in each power state.",
     "In a snapshot, with the level, at each wake, and when the radio starts or stops "
     "transmitting.",
     "How much the device was used for calls and data.", kDurations},
    {"PacketDecoder", EntryShape::Fields,
     "What arrived through the modem and woke the device: a packet's headers, a call or a message.",
     "At each wake by the modem, below the Wake entry.",
     "The addresses of the device's peers, and when calls and messages arrived.", kPacketDecoder},
    {"PacketTracker", EntryShape::Fields,
     "The process that owned the socket to which the packet that woke the device was addressed.",
     "At each wake by a TCP or UDP packet, below the PacketDecoder entry.",
     "Which programs keep connections, to which addresses, and where they are installed.",
     kPacketTracker},
    {"Registration", EntryShape::Fields, "The mobile network.",
     "In a snapshot, and when one of the figures changes.",
     "Where the device is: a cell is a place, and the sequence of cells a journey.", kRegistration},
    {"Telephony", EntryShape::Fields, "The radio, its calls and its SIM card.",
     "In a snapshot, with the level, when a call, the SIM card, the technology or the modem's "
     "power changes, and when the signal changes by more than 5 dBm. Other changes write no entry: "
     "airplane mode set by an rfkill switch shows in the next one.",
     "When the owner had telephone calls, and for how long; not with whom.", kTelephony}};

}  // namespace

std::span<const EntryFormat> radio() {
  return kEntries;
}

}  // namespace zorva::logformat
