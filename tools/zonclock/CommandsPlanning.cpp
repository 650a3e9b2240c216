#include "Command.h"

namespace zonclock {

void registerPlanningCommands(CommandSet&)
{
}

} // namespace zonclock
