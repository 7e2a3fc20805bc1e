// tarn-db-tool show - header and all rules of an image.

#include "appmngr/appmngr.h"
#include "check/device.h"
#include "tool/commands.h"
#include "tool/file.h"

namespace tool
{

int show(const Arguments &arguments)
{
    check::loadApplicationTables(readFile(arguments.input));
    appmngr_showDb();
    return 0;
}

} // namespace tool
