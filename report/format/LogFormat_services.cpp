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
    {"connected", kWord, "", "Whether it is connected, or has just been disconnected.",
     "The device manager (udev) reports USB devices; without it, in snapshots only.", kHarmless,
     kYesOrNo},
    {"connection_id", kHex, "", "The number of this connection.",
     "The USB bus, then the device in two digits: 112 is bus 1, device 18."},
    {"mfg", kText, "", "Its manufacturer.", "As the USB device reports it.", kName},
    {"name", kText, "", "Its name.", "As the USB device reports it.", kName},
    {"model", kText, "", "Its model.", "The USB ids of vendor and product, as lsusb shows them.",
     kName},
    {"serial", kText, "", "Its serial number.", "As the USB device reports it.", kName},
    {"firmware", kText, "", "The version of its firmware.", "USB has no such text: always (null)."},
    {"hardware", kText, "", "The version of its hardware.",
     "The USB device's release number; many manufacturers use it for the firmware version."},
    {"protocols", kText, "", "Its protocols, separated by blanks; <unknown> if there are none.",
     "The classes of its interfaces: audio, input, storage and so on.", kName}};

constexpr WordFormat kModes[] = {
    {"foreground", "It is on the display"},
    {"background", "It runs, but is not on the display"},
    {"suspended", "It exists, but gets no CPU time"},
    {"terminated", "It has ended"},
    {"running", "It runs (Linux, where it is not known whether it is on the display)"},
    {"frozen", "The kernel has stopped it (Linux)"},
    {"gone", "Its last process has ended (Linux)"}};
constexpr FieldFormat kApplication[] = {
    {"id", kText, "", "The application's identifier.",
     "The name of its unit below app.slice, usually that of its desktop file; sessions that start "
     "no units have no such entries.",
     kName},
    {"pid", kInteger, "", "Its process id; <unknown> if it has none.",
     "The first process in the unit's control group, in the unified hierarchy."},
    {"mode", kText, "", "Its state.", "From the unit's control group.", kHarmless, kModes},
    {"reason", kText, "",
     "Why it may run, separated by blanks; <unknown> if not reported, as in snapshots.",
     "sleep, idle, shutdown or other: what its blocking locks of the login manager inhibit."}};

constexpr WordFormat kRoutes[] = {{"Speaker", "The device's loudspeaker"},
                                  {"Headphone", "The headphone jack"},
                                  {"Receiver", "The earpiece for calls"},
                                  {"LineOut", "A dock or another line output"}};
constexpr WordFormat kConnected[] = {{"connected", ""}, {"disconnected", ""}};
constexpr FieldFormat kAudio[] = {
    {"active", kWord, "", "Whether audio plays.",
     "A playback stream of any sound card is running at the time of the entry; starting and "
     "stopping write no entry.",
     kHarmless, kYesOrNo},
    {"route", kText, "", "The output that is used; other texts are the device's own.",
     "Headphone or Speaker, otherwise the card's name; (null) without a card.", kName, kRoutes},
    {"volume", kReal, "%", "The volume, in percent of the maximum.",
     "The loudest channel of output_category's ALSA control; <unknown> without one."},
    {"output_category", kText, "", "The category of sound to which the volume applies.",
     "The name of an ALSA control: Master, Speaker, Headphone, PCM and the like."},
    {"muted", kWord, "", "Whether it is muted.", "The switch of the same control; no without one.",
     kHarmless, kYesOrNo},
    {"headphones", kWord, "", "Whether something is plugged into the headphone jack.",
     "The jacks of the sound cards that can detect plugs.", kHarmless, kConnected},
    {"headset_input", kWord, "", "Whether what is plugged in has a microphone.",
     "The headset's jack, otherwise the jack named Mic.", kHarmless, kYesOrNo}};

constexpr WordFormat kBluetoothStates[] = {
    {"on", ""}, {"off", ""}, {"not present", "There is no controller"}};
constexpr FieldFormat kBluetooth[] = {
    {"state", kWord, "", "Whether the controller is switched on.",
     "BlueZ: Adapter1.Powered. Without BlueZ there are no such entries.", kHarmless,
     kBluetoothStates},
    {"runvo", kWord, "", "Whether the Runvo module is on.", kNever, kHarmless, kOnOrOff},
    {"fm", kWord, "", "Whether the module for FM radio is on.", kNever, kHarmless, kOnOrOff},
    {"discoverable", kWord, "", "Whether unknown devices can discover it.",
     "BlueZ: Adapter1.Discoverable.", kHarmless, kYesOrNo},
    {"connectable", kWord, "", "Whether known devices can connect to it.",
     "BlueZ: Adapter1.Connectable; older versions do not report it: then the same as powered.",
     kHarmless, kYesOrNo},
    {"connected", kWord, "", "Whether a device is connected.",
     "BlueZ: a device of the controller has Device1.Connected.", kHarmless, kYesOrNo},
    {"power_consumption", kInteger, "",
     "The energy used since the last query, in the controller's own unit.",
     "Not counted on Linux: always 0."},
    {"power_err", kInteger, "", "The error of that query; 0 is none.",
     "Always 105, because it is not counted; 103 and 104 if there is no controller."},
    {"power_time", kInteger, "", "The seconds since the last entry, in which the energy was used.",
     "Zorva's own."},
    {"power_consumption_rate", kInteger, "", "Their quotient: energy per second, rounded down.",
     "Always 0."}};

constexpr FieldFormat kGeodyne[] = {
    {"gps", kWord, "", "Whether satellites are used.",
     "A modem's location source gps-raw or gps-unmanaged is enabled in ModemManager.", kHarmless,
     kOnOrOff},
    {"nmea", kWord, "", "Whether the NMEA text of a satellite receiver is used.",
     "A modem's location source gps-nmea is enabled in ModemManager.", kHarmless, kOnOrOff},
    {"accessory", kWord, "", "Whether an accessory's receiver is used.", kNever, kHarmless,
     kOnOrOff},
    {"wifi", kWord, "", "Whether the wireless networks in range are used.",
     "GeoClue is in use by a client; it does not report which source it uses.", kHarmless,
     kOnOrOff},
    {"skyhook", kWord, "", "Whether Skyhook is used.", kNever, kHarmless, kOnOrOff},
    {"cell", kWord, "", "Whether the radio cells in range are used.",
     "A modem's location source 3gpp-lac-ci or cdma-bs is enabled in ModemManager.", kHarmless,
     kOnOrOff},
    {"lac", kWord, "", "Whether the location area is used.", kNever, kHarmless, kOnOrOff},
    {"mcc", kWord, "", "Whether the mobile network's country is used.", kNever, kHarmless,
     kOnOrOff},
    {"gps_coarse", kWord, "", "Whether satellites are used with reduced accuracy.", kNever,
     kHarmless, kOnOrOff}};
constexpr WordFormat kActiveOrNot[] = {{"active", ""}, {"inactive", ""}};
constexpr std::string_view kOwnOnly =
    "No such entries: GeoClue shows a client's data only to that client.";
constexpr FieldFormat kGeodyneClient[] = {
    {"id", kText, "",
     "The client: an application, possibly followed by \"-\" and its role, or a program.", kOwnOnly,
     kName},
    {"accuracy", kReal, "", "The accuracy that it requests, in metres.", kOwnOnly},
    {"filter", kReal, "", "The distance in metres after which it wants a new position.", kOwnOnly},
    {"location", kWord, "", "Whether it receives positions.", kOwnOnly, kHarmless, kActiveOrNot},
    {"monitoring", kWord, "", "Whether it monitors the crossing of a region's border.", kOwnOnly,
     kHarmless, kActiveOrNot}};

constexpr FieldFormat kClient[] = {
    {"id", kText, "", "The connection's identifier.", kNoService, kName},
    {"interval", kReal, "", "The interval between its keep-alive messages, in seconds.",
     kNoService},
    {"cache_age", kDuration, "", "The time since that interval was determined.", kNoService}};
constexpr WordFormat kManual[] = {{"<manual>", "Only when the user requests it"}};
constexpr WordFormat kEnabled[] = {{"enabled", ""}, {"disabled", ""}};
constexpr FieldFormat kKeepline[] = {
    {"push", kWord, "", "Whether services may push data to the device.",
     "Linux has no such service: always disabled.", kHarmless, kEnabled},
    {"polling_interval", kInteger, "",
     "The interval at which data is polled otherwise, in seconds.",
     "Linux has no such service: always <manual>.", kHarmless, kManual}};

constexpr FieldFormat kLocale[] = {
    {"id", kText, "", "The locale.",
     "The first of LC_ALL, /etc/locale.conf, /etc/default/locale and LANG; en_US_POSIX without "
     "any.",
     kName},
    {"country", kText, "", "The locale's country.",
     "The last part of the locale; (null) if it has none.", kName},
    {"time_zone", kText, "", "The current abbreviation of the time zone.",
     "The first of TZ, /etc/localtime and /etc/timezone; UTC without any.", kName},
    {"dst", kWord, "", "Whether daylight-saving time is in effect.", "From the C library.",
     kHarmless, kYesOrNo}};

constexpr WordFormat kStreamEvents[] = {
    {"opened_stream", "The connection has been established"},
    {"stream_ended", "The other end has closed it"},
    {"stream_error", "It has failed"},
    {"sent_filter_message", "The filter of wanted messages was sent to the service"},
    {"received_message_message", "A message has arrived"},
    {"sent_keep_alive_message", "A keep-alive message was sent"},
    {"token_received", "The device has received its token from the service"}};
constexpr FieldFormat kStream[] = {
    {"type", kWord, "", "What happened.", kNoServiceButPosted, kHarmless, kStreamEvents}};
constexpr WordFormat kUnformatted[] = {
    {"<unformatted>", "The format is unknown; the contents are in the Zorva entry above"}};
constexpr FieldFormat kMessage[] = {
    {"topic", kText, "", "The recipient of the message, usually an application.", kNoService,
     kName},
    {"alert", kText, "", "The text that is shown; only with ZVShowNMXContents.", kNoService,
     kContent},
    {"badge", kText, "", "The number on the application's icon; only with ZVShowNMXContents.",
     kNoService, kContent},
    {"sound", kText, "", "The sound that is played; only with ZVShowNMXContents.", kNoService,
     kName},
    {"contents", kWord, "", "In place of these three; only with ZVShowNMXContents.", kNoService,
     kHarmless, kUnformatted}};

constexpr FieldFormat kNetwork[] = {
    {"TotalSinceLastCheck", kText, "",
     "The bytes received and sent on all interfaces since the last entry, in units of 1024 "
     "followed by \"K\", as \"RECEIVED/SENT\". In the first entry, those since the interfaces came "
     "up; negative if an interface was removed or its counters have wrapped.",
     "Without the loopback interface."},
    {"TimeSinceLastCheck", kInteger, "s", "The seconds since the last entry.", "Zorva's own."},
    {"*", kText, "",
     "The bytes that an interface has received and sent since it came up, followed by \"b\", as "
     "\"RECEIVED/SENT\"; the key is the interface's name. The counters wrap at 4 GiB.",
     "As \"ip -s link\" shows them, for the network namespace in which Zorva runs.", kName}};

constexpr std::string_view kNotOnDemand = "No connections are made on demand: always no.";
constexpr FieldFormat kReachability[] = {
    {"transient", kWord, "", "Whether the path uses a transient connection.", kNotOnDemand,
     kHarmless, kYesOrNo},
    {"reachable", kWord, "", "Whether there is a path to the network.",
     "There is an IPv4 default route over a link that is up. Whether packets arrive is not tested.",
     kHarmless, kYesOrNo},
    {"conn_required", kWord, "", "Whether a connection must be established first.", kNotOnDemand,
     kHarmless, kYesOrNo},
    {"conn_traffic", kWord, "", "Whether traffic establishes that connection.", kNotOnDemand,
     kHarmless, kYesOrNo},
    {"intervention", kWord, "",
     "Whether the user must help to establish it, for example with a password.", kNotOnDemand,
     kHarmless, kYesOrNo},
    {"on_demand", kWord, "", "Whether a program's request establishes that connection.",
     kNotOnDemand, kHarmless, kYesOrNo},
    {"wwan", kWord, "", "Whether the path uses the mobile network.",
     "The route's interface is a modem's: the kernel marks it as such, or its type or name says "
     "so.",
     kHarmless, kYesOrNo}};

constexpr WordFormat kCloudEvents[] = {
    {"ping", "The device has sent a ping to the service"},
    {"inbox_notification", "There is something new for the account"},
    {"sync_notification", "There is something to synchronise"},
    {"trkd_notification", "There is a notification of the kind TRKD"}};
constexpr FieldFormat kSkyvault[] = {
    {"type", kWord, "", "What happened.", kNoServiceButPosted, kHarmless, kCloudEvents}};

constexpr FieldFormat kSyncward[] = {
    {"type", kText, "", "The kind of account.", kNoService, kName},
    {"name", kText, "", "The account's name.", kNoService, kName},
    {"udid", kText, "", "The account's identifier.", kNoService, kName},
    {"time_span", kReal, "", "The period that the figures cover, in seconds.", kNoService},
    {"networking_time", kReal, "", "The part of that period spent on network traffic, in seconds.",
     kNoService},
    {"hbi", kReal, "", "The average interval between heartbeats, in seconds.", kNoService},
    {"successful_requests", kReal, "", "The number of successful requests.", kNoService},
    {"network_failures", kReal, "", "The number of requests that failed because of the network.",
     kNoService},
    {"protocol_failures", kReal, "", "The number of requests with a wrong reply.", kNoService},
    {"downloaded_elements", kReal, "", "The number of items that were downloaded.", kNoService},
    {"*", kText, "", "Any other figure, under the service's own name.", kNoService, kContent}};
constexpr WordFormat kPings[] = {{"ping", "The device has asked whether there is something new"},
                                 {"inbound_data", "There is something new"}};
constexpr FieldFormat kSyncwardEvent[] = {
    {"type", kWord, "", "What happened.", kNoServiceButPosted, kHarmless, kPings}};

constexpr WordFormat kWiFiStates[] = {{"on", ""}, {"off", ""}, {"no wifi", "There is no radio"}};
constexpr WordFormat kNetworks[] = {
    {"<disassociated>", "It is in no network"},
    {"<unknown>", "There is no radio, or the name is not reported"}};
constexpr WordFormat kUnavailable[] = {{"<unavailable>", "It was not queried"}};
constexpr FieldFormat kWiFi[] = {
    {"status", kWord, "", "Whether the radio is switched on.",
     "The first station interface of nl80211 is up, and no rfkill switch blocks it.", kHarmless,
     kWiFiStates},
    {"ap", kText, "", "The name of the network with which it is associated.",
     "The SSID as nl80211 reports it; <disassociated> also while the SSID is hidden.", kName,
     kNetworks},
    {"wow", kWord, "", "Whether the network can wake the device.",
     "The radio supports it, and a trigger is set (iw phy phy0 wowlan show).", kHarmless, kOnOrOff},
    {"pm_dur", kInteger, "",
     "How long the driver has saved power since the last query, in its own unit; negative for an "
     "error. Only with ZVShouldQueryWiFiPowerUsage.",
     "No driver counts it: -25, because there is no such request (ENOTTY).", kHarmless,
     kUnavailable},
    {"mpc_dur", kInteger, "",
     "How long the radio itself was switched off to save power, in the same way.",
     "No driver counts it: -25, because there is no such request (ENOTTY).", kHarmless,
     kUnavailable}};

constexpr EntryFormat kEntries[] = {
    {"Accessory", EntryShape::kFields,
     "An accessory; on Linux a USB device that can be unplugged. A text that it does not report is "
     "(null), and an empty one is <unknown>.",
     "In a snapshot, one for each; when one is connected or disconnected.",
     "Which accessories the owner has, each identified by its serial number.", kAccessory},
    {"Application", EntryShape::kFields, "An application that the user has started.",
     "In a snapshot, one for each; when its state changes.",
     "Which applications are used, and when.", kApplication},
    {"Audio", EntryShape::kFields, "The sound output and its volume.",
     "In a snapshot; when the volume, its mute switch, the route or the headphone jack changes.",
     "When the owner listened.", kAudio},
    {"Bluetooth", EntryShape::kFields, "The Bluetooth controller.",
     "With the level, and when one of the figures changes; at most once a minute.",
     "When the owner carried a Bluetooth device, or was in the car.", kBluetooth},
    {"Geodyne", EntryShape::kFields, "The technologies that locate the device.",
     "In a snapshot and after a change, but only if it differs from the last entry.",
     "That the device was located, but not where.", kGeodyne},
    {"Geodyne Client", EntryShape::kFields, "A client that wants to know the device's location.",
     "In a snapshot and when one changes, one for each.", "Which applications track the owner.",
     kGeodyneClient},
    {"KL Client", EntryShape::kFields, "A connection that is kept alive.",
     "Below each Keepline entry, one for each.", "Which services the owner uses.", kClient},
    {"Keepline", EntryShape::kFields, "How data reaches the device: by push or by polling.",
     "In a snapshot, and when the settings or an interval changes.", "", kKeepline},
    {"Locale", EntryShape::kFields, "The locale and the time zone.",
     "In a snapshot, when one of them changes, and when the clock is set.",
     "The owner's language, and the part of the world in which the device is.", kLocale},
    {"NMX Event", EntryShape::kFields, "An event of the push service's stream.", "At each event.",
     "When messages arrived.", kStream},
    {"NMXN", EntryShape::kFields, "A push message.", "At each message.",
     "From which services the owner gets messages and, with ZVShowNMXContents, their contents.",
     kMessage},
    {"Network", EntryShape::kFields, "The traffic over the network interfaces.",
     "In a snapshot and with the level.",
     "How much the network was used; an interface's name can hold its hardware address.", kNetwork},
    {"Reachability", EntryShape::kFields, "Whether the network at large can be reached.",
     "In a snapshot and when it changes.", "When the owner was travelling.", kReachability},
    {"Skyvault Event", EntryShape::kFields, "An event of the cloud account.", "At each event.",
     "That there is such an account.", kSkyvault},
    {"Syncward", EntryShape::kFields, "The figures of a synchronised account.",
     "In a snapshot and with the level, one for each.", "Which accounts the owner has.", kSyncward},
    {"Syncward Event", EntryShape::kFields, "A ping of the synchronised accounts.",
     "At each event.", "When there was something new for an account.", kSyncwardEvent},
    {"Syslog", EntryShape::kText,
     "A message of the system log as \"PROGRAM[PROCESS ID]: TEXT\", with its own time, which is "
     "earlier than that of the entries around it; the text is cut after 1024 bytes. On Linux from "
     "the journal, which root and the groups systemd-journal and adm can read. The preference "
     "ZVRecordSyslog switches it off.",
     "In a snapshot the last ten; then above each Battery entry the new ones.",
     "Anything: programs write names, addresses and paths into the system log."},
    {"WiFi", EntryShape::kFields, "The radio for wireless networks.",
     "In a snapshot, with the level, and when the radio or the network changes.",
     "Where the owner is: at home, at work, in which hotel.", kWiFi},
    {"Zorva", EntryShape::kText,
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
