#include "report/format/LogFormat_tables.h"

namespace zorva::logformat {
namespace {

using enum FieldType;
using enum Privacy;

constexpr std::string_view kNever = "There is nothing like it: always off.";
constexpr std::string_view kNoService = "There is no such service, and so no such entry.";
constexpr std::string_view kNoServiceButPosted =
    "There is no such service: only when a program posts its notification.";

constexpr FieldFormat kAccessory[] = {
    {"connected", Word, "", "Whether it is connected, or has just gone.",
     "The device manager (udev) tells USB devices; without one, in snapshots only.", Harmless,
     kYesOrNo},
    {"connection_id", Hex, "", "A number for this connection.",
     "The USB bus, then the device in two digits: 112 is bus 1, device 18."},
    {"mfg", Text, "", "Its maker.", "As the USB device tells it.", Name},
    {"name", Text, "", "Its name.", "As the USB device tells it.", Name},
    {"model", Text, "", "Its model.", "The USB ids of vendor and product, as lsusb shows them.",
     Name},
    {"serial", Text, "", "Its serial number.", "As the USB device tells it.", Name},
    {"firmware", Text, "", "The version of its firmware.", "USB has no such text: always (null)."},
    {"hardware", Text, "", "The version of its hardware.",
     "The USB device's release number; many makers count their firmware there."},
    {"protocols", Text, "", "What it speaks, with blanks between; <unknown> for none.",
     "The classes of its interfaces: audio, input, storage and so on.", Name}};

constexpr WordFormat kModes[] = {
    {"foreground", "It is on the display"},
    {"background", "It runs, but is not on the display"},
    {"suspended", "It is there, but gets no CPU time"},
    {"terminated", "It has ended"},
    {"running", "It runs; on Linux nobody tells whether it is on the display"},
    {"frozen", "The kernel has stopped it (Linux)"},
    {"gone", "Its last process has ended (Linux)"}};
constexpr FieldFormat kApplication[] = {
    {"id", Text, "", "The application's identifier.",
     "The name of its unit below app.slice, mostly that of its desktop file; sessions that start "
     "no units have no such entries.",
     Name},
    {"pid", Integer, "", "Its process id; <unknown> when it has none.",
     "The first process in the unit's control group, in the unified hierarchy."},
    {"mode", Text, "", "Its state.", "From the unit's control group.", Harmless, kModes},
    {"reason", Text, "",
     "Why it may run, with blanks between; <unknown> when not told, as in snapshots.",
     "sleep, idle, shutdown or other: what its blocking locks at the login manager hinder."}};

constexpr WordFormat kRoutes[] = {{"Speaker", "The device's loudspeaker"},
                                  {"Headphone", "What is in the headphone jack"},
                                  {"Receiver", "The earpiece for calls"},
                                  {"LineOut", "A dock or another line output"}};
constexpr WordFormat kConnected[] = {{"connected", ""}, {"disconnected", ""}};
constexpr FieldFormat kAudio[] = {
    {"active", Word, "", "Whether audio plays.",
     "A playback stream of any sound card runs, at the moment of the entry: playing and stopping "
     "write none.",
     Harmless, kYesOrNo},
    {"route", Text, "",
     "Where it is heard, or would be; others than these are the device's own words.",
     "Headphone or Speaker, else the card's name; (null) without a card.", Name, kRoutes},
    {"volume", Real, "%", "The volume, in percent of the greatest.",
     "The loudest channel of output_category's ALSA control; <unknown> without one."},
    {"output_category", Text, "", "What the volume is the volume of.",
     "The name of an ALSA control: Master, Speaker, Headphone, PCM and the like."},
    {"muted", Word, "", "Whether it is muted.", "The switch of the same control; no without one.",
     Harmless, kYesOrNo},
    {"headphones", Word, "", "Whether there is something in the headphone jack.",
     "The jacks of the sound cards, where they can tell.", Harmless, kConnected},
    {"headset_input", Word, "", "Whether it has a microphone.",
     "A headset's jack says so, else the one named Mic.", Harmless, kYesOrNo}};

constexpr WordFormat kBluetoothStates[] = {
    {"on", ""}, {"off", ""}, {"not present", "There is no controller"}};
constexpr FieldFormat kBluetooth[] = {
    {"state", Word, "", "Whether the controller is switched on.",
     "BlueZ: Adapter1.Powered. Without BlueZ there are no such entries.", Harmless,
     kBluetoothStates},
    {"runvo", Word, "", "Whether the Runvo module is on.", kNever, Harmless, kOnOrOff},
    {"fm", Word, "", "Whether the module for FM radio is on.", kNever, Harmless, kOnOrOff},
    {"discoverable", Word, "", "Whether strangers can find it.", "BlueZ: Adapter1.Discoverable.",
     Harmless, kYesOrNo},
    {"connectable", Word, "", "Whether known devices can connect to it.",
     "BlueZ: Adapter1.Connectable; older versions do not tell it, then the same as powered.",
     Harmless, kYesOrNo},
    {"connected", Word, "", "Whether a device is connected.",
     "BlueZ: a device of the controller has Device1.Connected.", Harmless, kYesOrNo},
    {"power_consumption", Integer, "",
     "What it has used since it was last asked, in the controller's own unit.",
     "Nobody counts it: always 0."},
    {"power_err", Integer, "", "The error of that question; 0 is none.",
     "Always 105, as nobody counts it; 103 and 104 where there is no controller."},
    {"power_time", Integer, "", "The seconds since the last entry, over which it was used.",
     "Zorva's own."},
    {"power_consumption_rate", Integer, "", "The two divided: use per second, rounded down.",
     "Always 0."}};

constexpr FieldFormat kGeodyne[] = {
    {"gps", Word, "", "Whether satellites are used.",
     "A modem's location source gps-raw or gps-unmanaged is enabled in ModemManager.", Harmless,
     kOnOrOff},
    {"nmea", Word, "", "Whether the text of a satellite receiver is used.",
     "A modem's location source gps-nmea is enabled in ModemManager.", Harmless, kOnOrOff},
    {"accessory", Word, "", "Whether an accessory's receiver is used.", kNever, Harmless, kOnOrOff},
    {"wifi", Word, "", "Whether the wireless networks around are used.",
     "GeoClue locates somebody; it does not tell by what.", Harmless, kOnOrOff},
    {"skyhook", Word, "", "Whether Skyhook is used.", kNever, Harmless, kOnOrOff},
    {"cell", Word, "", "Whether the radio cells around are used.",
     "A modem's location source 3gpp-lac-ci or cdma-bs is enabled in ModemManager.", Harmless,
     kOnOrOff},
    {"lac", Word, "", "Whether the location area is used.", kNever, Harmless, kOnOrOff},
    {"mcc", Word, "", "Whether the mobile network's country is used.", kNever, Harmless, kOnOrOff},
    {"gps_coarse", Word, "", "Whether satellites are used with less effort.", kNever, Harmless,
     kOnOrOff}};
constexpr WordFormat kActiveOrNot[] = {{"active", ""}, {"inactive", ""}};
constexpr std::string_view kOwnOnly =
    "No such entries: GeoClue shows a client to that client alone.";
constexpr FieldFormat kGeodyneClient[] = {
    {"id", Text, "", "Who asks: an application, perhaps with its role behind \"-\", or a program.",
     kOwnOnly, Name},
    {"accuracy", Real, "", "How exactly it wants to know, in metres.", kOwnOnly},
    {"filter", Real, "", "After how many metres it wants to hear again.", kOwnOnly},
    {"location", Word, "", "Whether it is being located.", kOwnOnly, Harmless, kActiveOrNot},
    {"monitoring", Word, "", "Whether it waits for the crossing of a border.", kOwnOnly, Harmless,
     kActiveOrNot}};

constexpr FieldFormat kClient[] = {
    {"id", Text, "", "The connection's identifier.", kNoService, Name},
    {"interval", Real, "", "The interval between its keep-alive messages, in seconds.", kNoService},
    {"cache_age", Duration, "", "How long ago that interval was found.", kNoService}};
constexpr WordFormat kManual[] = {{"<manual>", "Only when the user asks"}};
constexpr WordFormat kEnabled[] = {{"enabled", ""}, {"disabled", ""}};
constexpr FieldFormat kKeepline[] = {
    {"push", Word, "", "Whether services may push data to the device.",
     "There is no such service: always disabled.", Harmless, kEnabled},
    {"polling_interval", Integer, "", "The interval of asking for data otherwise, in seconds.",
     "There is no such service: always <manual>.", Harmless, kManual}};

constexpr FieldFormat kLocale[] = {
    {"id", Text, "", "The locale.",
     "LC_ALL, /etc/locale.conf, /etc/default/locale, LANG; en_US_POSIX without any.", Name},
    {"country", Text, "", "The locale's country.",
     "The locale's last part; (null) when it has none.", Name},
    {"time_zone", Text, "", "The time zone's abbreviation at the moment.",
     "TZ, /etc/localtime, /etc/timezone; UTC without any.", Name},
    {"dst", Word, "", "Whether daylight-saving time is in effect.", "From the C library.", Harmless,
     kYesOrNo}};

constexpr WordFormat kStreamEvents[] = {
    {"opened_stream", "The connection is there"},
    {"stream_ended", "The other end has closed it"},
    {"stream_error", "It has failed"},
    {"sent_filter_message", "The service was told what is wanted"},
    {"received_message_message", "A message has come"},
    {"sent_keep_alive_message", "The connection was kept alive"},
    {"token_received", "The service has given the device its token"}};
constexpr FieldFormat kStream[] = {
    {"type", Word, "", "What happened.", kNoServiceButPosted, Harmless, kStreamEvents}};
constexpr WordFormat kUnformatted[] = {
    {"<unformatted>", "Its shape is not known; it stands in the Zorva entry above"}};
constexpr FieldFormat kMessage[] = {
    {"topic", Text, "", "Whom the message is for, mostly an application.", kNoService, Name},
    {"alert", Text, "", "The text that is shown, with ZVShowNMXContents only.", kNoService,
     Content},
    {"badge", Text, "", "The number on the application's picture, with ZVShowNMXContents only.",
     kNoService, Content},
    {"sound", Text, "", "The sound that is played, with ZVShowNMXContents only.", kNoService, Name},
    {"contents", Word, "", "In place of these three, with ZVShowNMXContents only.", kNoService,
     Harmless, kUnformatted}};

constexpr FieldFormat kNetwork[] = {
    {"TotalSinceLastCheck", Text, "",
     "The bytes received and sent over all interfaces since the last entry, in units of 1024 with "
     "a \"K\" behind, as \"RECEIVED/SENT\". In the first entry those since the interfaces came up; "
     "negative when an interface has gone or its counters were full.",
     "Without the loopback interface."},
    {"TimeSinceLastCheck", Integer, "s", "The seconds since the last entry.", "Zorva's own."},
    {"*", Text, "",
     "The bytes that an interface has received and sent since it came up, with a \"b\" behind, as "
     "\"RECEIVED/SENT\"; the key is the interface's name. The counters start again at 4 GiB.",
     "As \"ip -s link\" shows them, for the network namespace that Zorva runs in.", Name}};

constexpr std::string_view kNotOnDemand = "No connections are made on demand: always no.";
constexpr FieldFormat kReachability[] = {
    {"transient", Word, "", "Whether the way leads over a connection that comes and goes.",
     kNotOnDemand, Harmless, kYesOrNo},
    {"reachable", Word, "", "Whether there is a way.",
     "There is an IPv4 default route over a link that is up. Nobody tries whether packets arrive.",
     Harmless, kYesOrNo},
    {"conn_required", Word, "", "Whether a connection has to be made first.", kNotOnDemand,
     Harmless, kYesOrNo},
    {"conn_traffic", Word, "", "Whether traffic makes that connection.", kNotOnDemand, Harmless,
     kYesOrNo},
    {"intervention", Word, "", "Whether somebody has to help with it, by a password say.",
     kNotOnDemand, Harmless, kYesOrNo},
    {"on_demand", Word, "", "Whether a program's wish makes that connection.", kNotOnDemand,
     Harmless, kYesOrNo},
    {"wwan", Word, "", "Whether the way leads over the mobile network.",
     "The route's interface is a modem's by the kernel's word, its kind or its name.", Harmless,
     kYesOrNo}};

constexpr WordFormat kCloudEvents[] = {
    {"ping", "The device has told the service that it is there"},
    {"inbox_notification", "There is something for the account"},
    {"sync_notification", "There is something to be synchronised"},
    {"trkd_notification", "There is a notification of the kind TRKD"}};
constexpr FieldFormat kSkyvault[] = {
    {"type", Word, "", "What happened.", kNoServiceButPosted, Harmless, kCloudEvents}};

constexpr FieldFormat kSyncward[] = {
    {"type", Text, "", "The kind of account.", kNoService, Name},
    {"name", Text, "", "The account's name.", kNoService, Name},
    {"udid", Text, "", "The account's identifier.", kNoService, Name},
    {"time_span", Real, "", "The time that the figures are about, in seconds.", kNoService},
    {"networking_time", Real, "", "The time of that spent with the network, in seconds.",
     kNoService},
    {"hbi", Real, "", "The average interval between heartbeats, in seconds.", kNoService},
    {"successful_requests", Real, "", "The number of requests that were answered.", kNoService},
    {"network_failures", Real, "", "The number that the network failed.", kNoService},
    {"protocol_failures", Real, "", "The number that was answered wrongly.", kNoService},
    {"downloaded_elements", Real, "", "The number of things that were fetched.", kNoService},
    {"*", Text, "", "Any other figure, under the service's own name for it.", kNoService, Content}};
constexpr WordFormat kPings[] = {{"ping", "The device asks whether there is something new"},
                                 {"inbound_data", "There is"}};
constexpr FieldFormat kSyncwardEvent[] = {
    {"type", Word, "", "What happened.", kNoServiceButPosted, Harmless, kPings}};

constexpr WordFormat kWiFiStates[] = {{"on", ""}, {"off", ""}, {"no wifi", "There is no radio"}};
constexpr WordFormat kNetworks[] = {{"<disassociated>", "With none"},
                                    {"<unknown>", "There is no radio, or the name is not told"}};
constexpr WordFormat kUnavailable[] = {{"<unavailable>", "It was not asked for"}};
constexpr FieldFormat kWiFi[] = {
    {"status", Word, "", "Whether the radio is switched on.",
     "The first station interface of nl80211 is up, and no rfkill switch blocks it.", Harmless,
     kWiFiStates},
    {"ap", Text, "", "The name of the network that it is in.",
     "The SSID as nl80211 tells it; <disassociated> also while it is hidden.", Name, kNetworks},
    {"wow", Word, "", "Whether the network can wake the device.",
     "The radio can, and a trigger is set (iw phy phy0 wowlan show).", Harmless, kOnOrOff},
    {"pm_dur", Integer, "",
     "How long the driver has saved power since it was last asked, in its own unit; negative for "
     "an error. With ZVShouldQueryWiFiPowerUsage only.",
     "No driver counts it: -25, there is no such request.", Harmless, kUnavailable},
    {"mpc_dur", Integer, "",
     "How long the radio itself was switched off to save power, told in the same way.",
     "No driver counts it: -25, there is no such request.", Harmless, kUnavailable}};

constexpr EntryFormat kEntries[] = {
    {"Accessory", EntryShape::Fields,
     "An accessory; on Linux a USB device that can be unplugged. Of its texts (null) is one that "
     "it does not tell, and <unknown> one that is empty.",
     "In a snapshot, one for each; when one comes or goes.",
     "Which things the owner has, down to the single one by its serial number.", kAccessory},
    {"Application", EntryShape::Fields, "An application that the user has started.",
     "In a snapshot, one for each; when its state changes.",
     "Which applications are used, and when.", kApplication},
    {"Audio", EntryShape::Fields, "What can be heard, and how loud.",
     "In a snapshot; when the volume, its switch, the route or the headphone jack changes.",
     "When somebody listened.", kAudio},
    {"Bluetooth", EntryShape::Fields, "The Bluetooth controller.",
     "With the level and when one of the figures changes, but at most once a minute.",
     "When the owner had a device with them, or was in the car.", kBluetooth},
    {"Geodyne", EntryShape::Fields, "What the device's place is found by.",
     "In a snapshot and when it changes, but only when it differs from the last entry.",
     "That the device was located; not where.", kGeodyne},
    {"Geodyne Client", EntryShape::Fields, "Who wants to know the device's place.",
     "In a snapshot and when one changes, one for each.", "Which applications follow the owner.",
     kGeodyneClient},
    {"KL Client", EntryShape::Fields, "A connection that is kept alive.",
     "Below each Keepline entry, one for each.", "Which services the owner uses.", kClient},
    {"Keepline", EntryShape::Fields, "How data gets to the device.",
     "In a snapshot, and when the settings or an interval change.", "", kKeepline},
    {"Locale", EntryShape::Fields, "The locale and the time zone.",
     "In a snapshot, when one of them changes, and when the clock is set.",
     "The owner's language, and in which part of the world the device is.", kLocale},
    {"NMX Event", EntryShape::Fields, "What happens on the push service's stream.",
     "At each event.", "When messages came.", kStream},
    {"NMXN", EntryShape::Fields, "A push message.", "At each message.",
     "Who writes to the owner, and with ZVShowNMXContents what.", kMessage},
    {"Network", EntryShape::Fields, "The traffic over the network interfaces.",
     "In a snapshot and with the level.",
     "How much the network was used; an interface's name can hold its hardware address.", kNetwork},
    {"Reachability", EntryShape::Fields, "Whether the network at large can be reached.",
     "In a snapshot and when it changes.", "When the owner was on the way.", kReachability},
    {"Skyvault Event", EntryShape::Fields, "What happens with the cloud account.", "At each event.",
     "That there is such an account.", kSkyvault},
    {"Syncward", EntryShape::Fields, "The figures of an account that is synchronised.",
     "In a snapshot and with the level, one for each.", "Which accounts the owner has.", kSyncward},
    {"Syncward Event", EntryShape::Fields, "The pings of these accounts.", "At each event.",
     "When there was something new for an account.", kSyncwardEvent},
    {"Syslog", EntryShape::Text,
     "A message of the system log as \"PROGRAM[PROCESS ID]: TEXT\", with its own time, which is "
     "before that of the entries around it; the text ends after 1024 bytes. On Linux from the "
     "journal, which root and the groups systemd-journal and adm can read. Switched off by the "
     "preference ZVRecordSyslog.",
     "In a snapshot the last ten, then above each Battery entry those that have come.",
     "Anything: programs write names, addresses and paths into the system log."},
    {"WiFi", EntryShape::Fields, "The radio for wireless networks.",
     "In a snapshot, with the level, and when the radio or the network changes.",
     "Where the owner is: at home, at work, in which hotel.", kWiFi},
    {"Zorva", EntryShape::Text,
     "What Zorva itself has to say: most often what could not be read. Errors stand on the system "
     "log, too. With ZVShowNMXContents also a push message of unknown shape, over several lines.",
     "When something fails.", "Nothing but for such messages, which hold what somebody wrote."}};

}  // namespace

std::span<const EntryFormat> services() {
  return kEntries;
}

}  // namespace zorva::logformat
