#include "report/format/LogFormat_tables.h"

namespace zorva::logformat {
namespace {

using enum FieldType;
using enum Privacy;

constexpr FieldFormat kDurations[] = {
    {"*", Integer, " ms",
     "How long the modem has been in a state of power, in milliseconds; the key is the state.",
     "Active and Suspended, from the runtime power management of the modem's device since it was "
     "found. There are no entries where its driver has none."}};

constexpr WordFormat kVersions[] = {{"IPv4", ""}};
constexpr WordFormat kProtocols[] = {{"TCP", ""}, {"UDP", ""}, {"ICMP", ""}};
constexpr WordFormat kStatus[] = {{"Incoming Call", "It was a call"},
                                  {"Incoming SMS", "It was a text message"}};
constexpr std::string_view kFromHeader = "From the packet's header.";
constexpr FieldFormat kPacketDecoder[] = {
    {"version", Text, "", "The version of the Internet Protocol.", "Only IPv4 packets are caught.",
     Harmless, kVersions},
    {"length", Integer, "", "The packet's length in bytes.", kFromHeader},
    {"ttl", Integer, "", "How many routers it might still have passed.", kFromHeader},
    {"protocol", Text, "", "What is in it; others than these are shown as \"Other (NUMBER)\".",
     kFromHeader, Harmless, kProtocols},
    {"source", Text, "", "The address that it came from.", kFromHeader, Address},
    {"destination", Text, "", "The address that it went to, which is the device's own.",
     kFromHeader, Address},
    {"source_port", Integer, "", "The port that it came from (TCP and UDP).", kFromHeader},
    {"dest_port", Integer, "", "The port that it went to (TCP and UDP).", kFromHeader},
    {"length", Integer, "", "The length in bytes as UDP tells it (UDP).", kFromHeader},
    {"seq", Integer, "", "The number of its first byte in the connection (TCP).", kFromHeader},
    {"ack", Integer, "", "The number of the byte that the sender waits for (TCP).", kFromHeader},
    {"offset", Integer, "", "The length of the TCP header in words of 32 bits (TCP).", kFromHeader},
    {"window", Integer, "", "How many bytes the sender has room for, before scaling (TCP).",
     kFromHeader},
    {"control", Text, "",
     "The flags urgent, acknowledge, push, reset, synchronise and finish as \"xxUAPRSF\", with "
     "\"x\" "
     "for one that is not set (TCP).",
     kFromHeader},
    {"status", Text, "",
     "In place of all these, what it was when it was no packet; the modem's other channels are "
     "shown as \"Other DLCI (NAME)\".",
     "A call that rings or a message that arrives, as ModemManager tells it.", Harmless, kStatus}};

constexpr WordFormat kSocketStates[] = {{"CLOSED", "It has no connection"},
                                        {"LISTENING", "It waits for connections"},
                                        {"ESTABLISHED", "It has a connection"},
                                        {"CLOSE_WAIT", "The other end has closed"}};
constexpr std::string_view kFromSockets =
    "From the sockets as they were right before the sleep. Those of other users' processes are "
    "seen by root only, those of other network namespaces not at all.";
constexpr FieldFormat kPacketTracker[] = {
    {"process", Text, "", "The name of the process that had the socket the packet is for.",
     kFromSockets, Name},
    {"path", Text, "", "The file of its program.", kFromSockets, Name},
    {"pid", Integer, "", "Its process id.", kFromSockets},
    {"tcp_status", Text, "",
     "The state of the socket (TCP); others than these are shown as \"STATE(NUMBER):\": 2 and "
     "3 while a connection is made, 6 to 9 while it is closed.",
     kFromSockets, Harmless, kSocketStates},
    {"local", Text, "", "The socket's own address and port.", kFromSockets, Address},
    {"remote", Text, "", "The address and port of the other end.", kFromSockets, Address},
    {"error", Text, "", "In place of all these: no process had such a socket.", kFromSockets}};

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
constexpr WordFormat kRegistered[] = {{"RegisteredHome", "With the network of the SIM card"},
                                      {"RegisteredRoaming", "With another network"},
                                      {"NotRegistered", "With none, and none is looked for"},
                                      {"Searching", "With none, and one is looked for"},
                                      {"Denied", "The network does not let it in"},
                                      {"EmergencyOnly", "For emergency calls only"},
                                      {"RestrictedLocal", "For local services only"},
                                      {"Unknown", "The modem does not tell"}};
constexpr std::string_view kLocationSource =
    "ModemManager, while somebody (GeoClue, an administrator with mmcli) has its 3GPP location "
    "source enabled; else <unknown>.";
constexpr FieldFormat kRegistration[] = {
    {"operator", Text, "", "The network's name.", "ModemManager.", Name, kNoOperator},
    {"lac", Integer, "",
     "The location area, or on LTE and 5G the tracking area; <unknown> until the cell has changed "
     "once.",
     kLocationSource, Name},
    {"cell_id", Integer, "", "The radio cell; <unknown> until it has changed once.",
     kLocationSource, Name},
    {"home", Word, "",
     "Whether the network is one at home; <unknown> until the registration has changed once.",
     "ModemManager.", Harmless, kYesOrNo},
    {"data_attached", Word, "", "Whether the modem is attached for packet data.",
     "ModemManager 1.20 or later; before that, whether there is a connection, or LTE or 5G.",
     Harmless, kYesOrNo},
    {"data_active", Word, "", "Whether there is a data connection.", "ModemManager's bearers.",
     Harmless, kYesOrNo},
    {"data_indicator", Text, "", "The kind of network for packet data.",
     "ModemManager's access technology while attached; <unknown> without a modem.", Harmless,
     kIndicators},
    {"status", Text, "", "How the device is registered.",
     "ModemManager; <unknown> without a modem.", Harmless, kRegistered}};

constexpr WordFormat kTransmitting[] = {{"inactive", "It does not"},
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
                                        {"Unknown", "The modem does not tell"}};
constexpr WordFormat kCalls[] = {{"Inactive", "There is no call"},
                                 {"Idle", "There is one that does nothing"},
                                 {"Sending", "The device calls somebody"},
                                 {"Ringing", "Somebody calls the device"},
                                 {"Active", "Somebody talks"},
                                 {"Held", "The call is on hold"},
                                 {"Disconnected", "The call is over"},
                                 {"Multiple", "There is more than one call"}};
constexpr WordFormat kSim[] = {{"Ready", "It can be used"},
                               {"PIN", "It waits for its PIN"},
                               {"PUK", "It waits for its PUK"},
                               {"Locked", "It is locked to a network, provider or device"},
                               {"NotInserted", "There is none"},
                               {"Error", "It cannot be used"},
                               {"NoProfile", "It is an embedded one without a profile"},
                               {"Unknown", "The modem does not tell"}};
constexpr FieldFormat kTelephony[] = {
    {"band", Word, "", "The radio band.", "Nobody tells it: always <unknown>, as on all devices."},
    {"data", Word, "", "Whether the radio transmits data at the moment.",
     "Nobody tells it: always <unknown>.", Harmless, kTransmitting},
    {"rat", Text, "", "The radio access technology.", "ModemManager; (null) without a modem.",
     Harmless, kTechnologies},
    {"call_status", Text, "",
     "What the telephone call is doing; others than these are shown as \"<unknown status: "
     "NUMBER>\".",
     "ModemManager.", Harmless, kCalls},
    {"airplane_mode", Word, "", "Whether the radio has been switched off.",
     "The modem's power in ModemManager, or the rfkill switches.", Harmless, kOnOrOff},
    {"sim", Text, "", "The state of the SIM card.", "ModemManager; <unknown> without a modem.",
     Harmless, kSim},
    {"signal", Integer, " dBm",
     "The strength of the signal, in decibels to a milliwatt; -1 when nothing is known.",
     "Measured where ModemManager lets Zorva set a threshold (1.20 or later, as root), else "
     "worked out from its quality in percent."},
    {"bars", Integer, "", "The bars that a display shows; -1 when nothing is known.",
     "One for every 20 percent of ModemManager's signal quality that have begun."}};

constexpr EntryFormat kEntries[] = {
    {"Baseband State Durations", EntryShape::Fields,
     "The time that the modem has spent in each state of power.",
     "In a snapshot, with the level, at each wake and when the radio begins or ends transmitting.",
     "How much was telephoned and transmitted.", kDurations},
    {"PacketDecoder", EntryShape::Fields,
     "What came over the modem and woke the device: a packet's headers, a call or a message.",
     "At each wake by the modem, below the Wake entry.",
     "With whom the device speaks, by address, and when calls and messages came.", kPacketDecoder},
    {"PacketTracker", EntryShape::Fields,
     "The process that had the socket which the packet that woke the device was for.",
     "At each wake by a TCP or UDP packet, below the PacketDecoder entry.",
     "Which programs keep connections, to whom, and where they are installed.", kPacketTracker},
    {"Registration", EntryShape::Fields, "The mobile network.",
     "In a snapshot, and when one of the figures changes.",
     "Where the device is: a cell is a place, and the way from cell to cell a journey.",
     kRegistration},
    {"Telephony", EntryShape::Fields, "The radio, its calls and its SIM card.",
     "In a snapshot, with the level, and when a call, the SIM card, the technology or the modem's "
     "power changes, or the signal by more than 5 dBm. Nothing else writes an entry by itself: "
     "airplane mode by an rfkill switch shows in the next one.",
     "When the owner had telephone calls, and how long; not with whom.", kTelephony}};

}  // namespace

std::span<const EntryFormat> radio() {
  return kEntries;
}

}  // namespace zorva::logformat
