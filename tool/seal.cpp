#include "tool/sealing.h"

namespace tool
{

Action setupSeal(CLI::App &arguments)
{
    return setupSealing(arguments, true);
}

} // namespace tool
