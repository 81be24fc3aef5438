#pragma once

namespace zorva {

/// The one shared handle on the telephony server. It exists as long as the program runs, in every
/// mode, and asks the server for nothing until a logger needs it.
class ZVTelephonyConnection {};

}  // namespace zorva
