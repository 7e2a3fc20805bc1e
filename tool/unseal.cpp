#include "tool/sealing.h"

namespace tool
{

Action setupUnseal(CLI::App &arguments)
{
    return setupSealing(arguments, false);
}

} // namespace tool
