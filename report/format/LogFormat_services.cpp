// SPDX-License-Identifier: Apache-2.0
#include "report/format/LogFormat_tables.h"

namespace zorva::logformat {
namespace {

using enum FieldType;
using enum Privacy;

constexpr std::string_view kNever = "Linux has no equivalent: always off.";
constexpr std::string_view kNoService = "Linux has no such service: there is no such entry.";
constexpr std::string_view kNoServiceButPosted =
    "Linux has no such service: written only when a program posts the notification.";

constexpr FieldFormat kAccessory[] = {
    {"connected", Word, "", "Whether it is connected, or has just been disconnected.",
     "The device manager (udev), or without one the kernel, reports USB devices.", Harmless,
     kYesOrNo},
    {"connection_id", Hex, "", "The number of this connection.",
     "The USB bus, then the device in two digits: 112 is bus 1, device 18."},
    {"mfg", Text, "", "Its manufacturer.", "As the USB device reports it.", Name},
    {"name", Text, "", "Its name.", "As the USB device reports it.", Name},
    {"model", Text, "", "Its model.", "The USB ids of vendor and product, as lsusb shows them.",
     Name},
    {"serial", Text, "", "Its serial number.", "As the USB device reports it.", Name},
    {"firmware", Text, "", "The version of its firmware.", "USB has no such text: always (null)."},
    {"hardware", Text, "", "The version of its hardware.",
     "The USB device's release number; many manufacturers use it for the firmware version."},
    {"protocols", Text, "", "Its protocols, separated by blanks; <unknown> if there are none.",
     "The classes of its interfaces: audio, input, storage and so on.", Name}};

constexpr WordFormat kModes[] = {
    {"foreground", "It is on the display"},
    {"background", "It runs, but is not on the display"},
    {"suspended", "It exists, but gets no CPU time"},
    {"terminated", "It has ended"},
    {"running", "It runs (Linux, where it is not known whether it is on the display)"},
    {"frozen", "The kernel has stopped it (Linux)"},
    {"gone", "Its last process has ended (Linux)"}};
constexpr FieldFormat kApplication[] = {
    {"id", Text, "", "The application's identifier.",
     "The name of its unit below app.slice, usually that of its desktop file; sessions that start "
     "no units have no such entries.",
     Name},
    {"pid", Integer, "", "Its process id; <unknown> if it has none.",
     "The first process in the unit's control group, in the unified hierarchy."},
    {"mode", Text, "", "Its state.", "From the unit's control group.", Harmless, kModes},
    {"reason", Text, "",
     "Why it may run, separated by blanks; <unknown> if not reported, as in snapshots.",
     "sleep, idle, shutdown or other: what its blocking locks of the login manager inhibit."}};

constexpr WordFormat kRoutes[] = {{"Speaker", "The device's loudspeaker"},
                                  {"Headphone", "The headphone jack"},
                                  {"Receiver", "The earpiece for calls"},
                                  {"LineOut", "A dock or another line output"}};
constexpr WordFormat kConnected[] = {{"connected", ""}, {"disconnected", ""}};
constexpr FieldFormat kAudio[] = {
    {"active", Word, "", "Whether audio is playing.",
     "A playback stream of any sound card is running at the time of the entry; starting and "
     "stopping write no entry.",
     Harmless, kYesOrNo},
    {"route", Text, "", "The output that is used; other texts are the device's own.",
     "Headphone or Speaker, otherwise the card's name; (null) without a card.", Name, kRoutes},
    {"volume", Real, "%", "The volume, in percent of the maximum.",
     "The loudest channel of output_category's ALSA control; <unknown> without one."},
    {"output_category", Text, "", "The category of sound to which the volume applies.",
     "The name of an ALSA control: Master, Speaker, Headphone, PCM and the like."},
    {"muted", Word, "", "Whether it is muted.", "The switch of the same control; no without one.",
     Harmless, kYesOrNo},
    {"headphones", Word, "", "Whether something is plugged into the headphone jack.",
     "The jacks of the sound cards that can detect plugs.", Harmless, kConnected},
    {"headset_input", Word, "", "Whether the plugged-in device has a microphone.",
     "The headset's jack, otherwise the jack named Mic.", Harmless, kYesOrNo}};

constexpr WordFormat kBluetoothStates[] = {
    {"on", ""}, {"off", ""}, {"not present", "There is no controller"}};
constexpr FieldFormat kBluetooth[] = {
    {"state", Word, "", "Whether the controller is switched on.",
     "BlueZ: Adapter1.Powered. Without BlueZ there are no such entries.", Harmless,
     kBluetoothStates},
    {"runvo", Word, "", "Whether the Runvo module is on.", kNever, Harmless, kOnOrOff},
    {"fm", Word, "", "Whether the module for FM radio is on.", kNever, Harmless, kOnOrOff},
    {"discoverable", Word, "", "Whether unknown devices can discover it.",
     "BlueZ: Adapter1.Discoverable.", Harmless, kYesOrNo},
    {"connectable", Word, "", "Whether known devices can connect to it.",
     "BlueZ: Adapter1.Connectable; older versions do not report it: then the same as powered.",
     Harmless, kYesOrNo},
    {"connected", Word, "", "Whether a device is connected.",
     "BlueZ: a device of the controller has Device1.Connected.", Harmless, kYesOrNo},
    {"power_consumption", Integer, "",
     "The energy used since the last query, in the controller's own unit.",
     "Not counted on Linux: always 0."},
    {"power_err", Integer, "", "The error of that query; 0 is none.",
     "Always 105, because it is not counted; 103 and 104 if there is no controller."},
    {"power_time", Integer, "", "The seconds since the last entry, in which the energy was used.",
     "Zorva's own."},
    {"power_consumption_rate", Integer, "",
     "power_consumption divided by power_time, rounded down.", "Always 0."}};

constexpr FieldFormat kGeodyne[] = {
    {"gps", Word, "", "Whether satellites are used.",
     "A modem's location source gps-raw or gps-unmanaged is enabled in ModemManager.", Harmless,
     kOnOrOff},
    {"nmea", Word, "", "Whether the NMEA text of a satellite receiver is used.",
     "A modem's location source gps-nmea is enabled in ModemManager.", Harmless, kOnOrOff},
    {"accessory", Word, "", "Whether an accessory's receiver is used.", kNever, Harmless, kOnOrOff},
    {"wifi", Word, "", "Whether the wireless networks in range are used.",
     "GeoClue is in use by a client; it does not report which source it uses.", Harmless, kOnOrOff},
    {"skyhook", Word, "", "Whether Skyhook is used.", kNever, Harmless, kOnOrOff},
    {"cell", Word, "", "Whether the radio cells in range are used.",
     "A modem's location source 3gpp-lac-ci or cdma-bs is enabled in ModemManager.", Harmless,
     kOnOrOff},
    {"lac", Word, "", "Whether the location area is used.", kNever, Harmless, kOnOrOff},
    {"mcc", Word, "", "Whether the mobile network's country is used.", kNever, Harmless, kOnOrOff},
    {"gps_coarse", Word, "", "Whether satellites are used with reduced accuracy.", kNever, Harmless,
     kOnOrOff}};
constexpr WordFormat kActiveOrNot[] = {{"active", ""}, {"inactive", ""}};
constexpr std::string_view kOwnOnly =
    "No such entries: GeoClue shows a client's data only to that client.";
constexpr FieldFormat kGeodyneClient[] = {
    {"id", Text, "",
     "The client: an application, possibly followed by \"-\" and its role, or a program.", kOwnOnly,
     Name},
    {"accuracy", Real, "", "The accuracy that it requests, in metres.", kOwnOnly},
    {"filter", Real, "", "The distance in metres after which it requests a new position.",
     kOwnOnly},
    {"location", Word, "", "Whether it receives positions.", kOwnOnly, Harmless, kActiveOrNot},
    {"monitoring", Word, "", "Whether it monitors the crossing of a region's border.", kOwnOnly,
     Harmless, kActiveOrNot}};

constexpr FieldFormat kClient[] = {
    {"id", Text, "", "The connection's identifier.", kNoService, Name},
    {"interval", Real, "", "The interval between its keep-alive messages, in seconds.", kNoService},
    {"cache_age", Duration, "", "The time since that interval was determined.", kNoService}};
constexpr WordFormat kManual[] = {{"<manual>", "Only when the user requests it"}};
constexpr WordFormat kEnabled[] = {{"enabled", ""}, {"disabled", ""}};
constexpr FieldFormat kKeepline[] = {
    {"push", Word, "", "Whether services may push data to the device.",
     "Linux has no such service: always disabled.", Harmless, kEnabled},
    {"polling_interval", Integer, "", "The interval at which data is polled otherwise, in seconds.",
     "Linux has no such service: always <manual>.", Harmless, kManual}};

constexpr FieldFormat kLocale[] = {
    {"id", Text, "", "The locale.",
     "The first of LC_ALL, /etc/locale.conf, /etc/default/locale and LANG; en_US_POSIX without "
     "any.",
     Name},
    {"country", Text, "", "The locale's country.",
     "The last part of the locale; (null) if it has none.", Name},
    {"time_zone", Text, "", "The current abbreviation of the time zone.",
     "The first of TZ, /etc/localtime and /etc/timezone; UTC without any.", Name},
    {"dst", Word, "", "Whether daylight-saving time is in effect.", "From the C library.", Harmless,
     kYesOrNo}};

constexpr WordFormat kStreamEvents[] = {
    {"opened_stream", "The connection has been established"},
    {"stream_ended", "The other end has closed it"},
    {"stream_error", "It has failed"},
    {"sent_filter_message", "The filter of wanted messages was sent to the service"},
    {"received_message_message", "A message has arrived"},
    {"sent_keep_alive_message", "A keep-alive message was sent"},
    {"token_received", "The device has received its token from the service"}};
constexpr FieldFormat kStream[] = {
    {"type", Word, "", "What happened.", kNoServiceButPosted, Harmless, kStreamEvents}};
constexpr WordFormat kUnformatted[] = {
    {"<unformatted>", "The format is unknown; the contents are in the Zorva entry above"}};
constexpr FieldFormat kMessage[] = {
    {"topic", Text, "", "The recipient of the message, usually an application.", kNoService, Name},
    {"alert", Text, "", "The text that is shown; only with ZVShowNMXContents.", kNoService,
     Content},
    {"badge", Text, "", "The number on the application's icon; only with ZVShowNMXContents.",
     kNoService, Content},
    {"sound", Text, "", "The sound that is played; only with ZVShowNMXContents.", kNoService, Name},
    {"contents", Word, "", "In place of these three; only with ZVShowNMXContents.", kNoService,
     Harmless, kUnformatted}};

constexpr FieldFormat kNetwork[] = {
    {"TotalSinceLastCheck", Text, "",
     "The bytes received and sent on all interfaces since the last entry, in units of 1024 "
     "followed by \"K\", as \"RECEIVED/SENT\". In the first entry, those since the interfaces came "
     "up; negative if an interface was removed or its counters have wrapped.",
     "Without the loopback interface."},
    {"TimeSinceLastCheck", Integer, "s", "The seconds since the last entry.", "Zorva's own."},
    {"*", Text, "",
     "The bytes that an interface has received and sent since it came up, followed by \"b\", as "
     "\"RECEIVED/SENT\"; the key is the interface's name. The counters wrap at 4 GiB.",
     "As \"ip -s link\" shows them, for the network namespace in which Zorva runs.", Name}};

constexpr std::string_view kNotOnDemand = "No connections are made on demand: always no.";
constexpr FieldFormat kReachability[] = {
    {"transient", Word, "", "Whether the path uses a transient connection.", kNotOnDemand, Harmless,
     kYesOrNo},
    {"reachable", Word, "", "Whether there is a path to the network.",
     "The kernel has a route to a public IPv4 or IPv6 address over a link that is up. Whether "
     "packets arrive is not tested.",
     Harmless, kYesOrNo},
    {"conn_required", Word, "", "Whether a connection must be established first.", kNotOnDemand,
     Harmless, kYesOrNo},
    {"conn_traffic", Word, "", "Whether traffic establishes that connection.", kNotOnDemand,
     Harmless, kYesOrNo},
    {"intervention", Word, "",
     "Whether the user must help to establish it, for example with a password.", kNotOnDemand,
     Harmless, kYesOrNo},
    {"on_demand", Word, "", "Whether a program's request establishes that connection.",
     kNotOnDemand, Harmless, kYesOrNo},
    {"wwan", Word, "", "Whether the path uses the mobile network.",
     "The route's interface is a modem's: the kernel marks it as such, or its type or name shows "
     "that.",
     Harmless, kYesOrNo}};

constexpr WordFormat kCloudEvents[] = {
    {"ping", "The device has sent a ping to the service"},
    {"inbox_notification", "There is something new for the account"},
    {"sync_notification", "There is something to synchronise"},
    {"trkd_notification", "There is a notification of the kind TRKD"}};
constexpr FieldFormat kSkyvault[] = {
    {"type", Word, "", "What happened.", kNoServiceButPosted, Harmless, kCloudEvents}};

constexpr FieldFormat kSyncward[] = {
    {"type", Text, "", "The kind of account.", kNoService, Name},
    {"name", Text, "", "The account's name.", kNoService, Name},
    {"udid", Text, "", "The account's identifier.", kNoService, Name},
    {"time_span", Real, "", "The period that the figures cover, in seconds.", kNoService},
    {"networking_time", Real, "", "The part of that period spent on network traffic, in seconds.",
     kNoService},
    {"hbi", Real, "", "The average interval between heartbeats, in seconds.", kNoService},
    {"successful_requests", Real, "", "The number of successful requests.", kNoService},
    {"network_failures", Real, "", "The number of requests that failed because of the network.",
     kNoService},
    {"protocol_failures", Real, "", "The number of requests with an invalid reply.", kNoService},
    {"downloaded_elements", Real, "", "The number of items that were downloaded.", kNoService},
    {"*", Text, "", "Any other figure, under the service's own name.", kNoService, Content}};
constexpr WordFormat kPings[] = {{"ping", "The device has asked whether there is something new"},
                                 {"inbound_data", "There is something new"}};
constexpr FieldFormat kSyncwardEvent[] = {
    {"type", Word, "", "What happened.", kNoServiceButPosted, Harmless, kPings}};

constexpr WordFormat kWiFiStates[] = {{"on", ""}, {"off", ""}, {"no wifi", "There is no radio"}};
constexpr WordFormat kNetworks[] = {
    {"<disassociated>", "It is in no network"},
    {"<unknown>", "There is no radio, or the name is not reported"}};
constexpr WordFormat kUnavailable[] = {{"<unavailable>", "It was not queried"}};
constexpr FieldFormat kWiFi[] = {
    {"status", Word, "", "Whether the radio is switched on.",
     "The first station interface of nl80211 is up, and no rfkill switch blocks it.", Harmless,
     kWiFiStates},
    {"ap", Text, "", "The name of the network with which it is associated.",
     "The SSID as nl80211 reports it; <disassociated> also while the SSID is hidden.", Name,
     kNetworks},
    {"wow", Word, "", "Whether the network can wake the device.",
     "The radio supports it, and a trigger is set (iw phy phy0 wowlan show).", Harmless, kOnOrOff},
    {"pm_dur", Integer, "",
     "How long the driver has saved power since the last query, in its own unit; negative if an "
     "error occurred. Only with ZVShouldQueryWiFiPowerUsage.",
     "No driver counts it: -25, because there is no such request (ENOTTY).", Harmless,
     kUnavailable},
    {"mpc_dur", Integer, "",
     "How long the radio itself was switched off to save power, in the same way.",
     "No driver counts it: -25, because there is no such request (ENOTTY).", Harmless,
     kUnavailable}};

constexpr EntryFormat kEntries[] = {
    {"Accessory", EntryShape::Fields,
     "An accessory; on Linux a USB device that can be unplugged. A text that it does not report is "
     "(null), and an empty one is <unknown>.",
     "In a snapshot, one for each; when one is connected or disconnected.",
     "Which accessories the owner has, each identified by its serial number.", kAccessory},
    {"Application", EntryShape::Fields, "An application that the user has started.",
     "In a snapshot, one for each; when its state changes.",
     "Which applications are used, and when.", kApplication},
    {"Audio", EntryShape::Fields, "The sound output and its volume.",
     "In a snapshot; when the volume, its mute switch, the route or the headphone jack changes.",
     "When the owner listened.", kAudio},
    {"Bluetooth", EntryShape::Fields, "The Bluetooth controller.",
     "With the level, and when one of the figures changes; at most once a minute.",
     "When the owner carried a Bluetooth device, or was in the car.", kBluetooth},
    {"Geodyne", EntryShape::Fields, "The technologies that locate the device.",
     "In a snapshot and after a change, but only if it differs from the last entry.",
     "That the device was located, but not where.", kGeodyne},
    {"Geodyne Client", EntryShape::Fields, "A client that requests the device's location.",
     "In a snapshot and when one changes, one for each.", "Which applications track the owner.",
     kGeodyneClient},
    {"KL Client", EntryShape::Fields, "A connection that is kept alive.",
     "Below each Keepline entry, one for each.", "Which services the owner uses.", kClient},
    {"Keepline", EntryShape::Fields, "How data reaches the device: by push or by polling.",
     "In a snapshot, and when the settings or an interval changes.", "", kKeepline},
    {"Locale", EntryShape::Fields, "The locale and the time zone.",
     "In a snapshot, when one of them changes, and when the clock is set.",
     "The owner's language, and the part of the world in which the device is.", kLocale},
    {"NMX Event", EntryShape::Fields, "An event of the push service's stream.", "At each event.",
     "When messages arrived.", kStream},
    {"NMXN", EntryShape::Fields, "A push message.", "At each message.",
     "From which services the owner gets messages and, with ZVShowNMXContents, their contents.",
     kMessage},
    {"Network", EntryShape::Fields, "The traffic over the network interfaces.",
     "In a snapshot and with the level.",
     "How much the network was used; an interface's name can hold its hardware address.", kNetwork},
    {"Reachability", EntryShape::Fields, "Whether the network at large can be reached.",
     "In a snapshot and when it changes.", "When the owner was travelling.", kReachability},
    {"Skyvault Event", EntryShape::Fields, "An event of the cloud account.", "At each event.",
     "That there is such an account.", kSkyvault},
    {"Syncward", EntryShape::Fields, "The figures of a synchronised account.",
     "In a snapshot and with the level, one for each.", "Which accounts the owner has.", kSyncward},
    {"Syncward Event", EntryShape::Fields, "A ping of the synchronised accounts.", "At each event.",
     "When there was something new for an account.", kSyncwardEvent},
    {"Syslog", EntryShape::Text,
     "A message of the system log as \"PROGRAM[PROCESS ID]: TEXT\", with its own time, which is "
     "earlier than that of the entries around it; the text is cut after 1024 bytes. On Linux from "
     "the journal, which root and the groups systemd-journal and adm can read; without a journal "
     "from /var/log/syslog or /var/log/messages. The preference ZVRecordSyslog switches it off.",
     "In a snapshot the last ten; then above each Battery entry the new ones.",
     "Anything: programs write names, addresses and paths into the system log."},
    {"WiFi", EntryShape::Fields, "The radio for wireless networks.",
     "In a snapshot, with the level, and when the radio or the network changes.",
     "Where the owner is: at home, at work, in which hotel.", kWiFi},
    {"Zorva", EntryShape::Text,
     "A message of Zorva itself, usually about something that could not be read. Errors also go to "
     "the system log. With ZVShowNMXContents also a push message of unknown format, over several "
     "lines.",
     "When something fails.",
     "Nothing, except for push messages, which contain what a person wrote."}};

}  // namespace

std::span<const EntryFormat> services() {
  return kEntries;
}

}  // namespace zorva::logformat
