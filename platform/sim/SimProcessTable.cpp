#include "platform/sim/SimProcessTable.h"

namespace zorva {

SimProcessTable::SimProcessTable(SimParts& parts)
    : commandNameFault_(parts.faults, "processes.commandName") {}

}  // namespace zorva
