// tarn-db-tool show - header and all rules of an image.

#include "appmngr/appmngr.h"
#include "tool/commands.h"
#include "tool/file.h"
#include "tool/tables.h"

namespace tool
{

int show(const Arguments &arguments)
{
    loadApplicationTables(readFile(arguments.input));
    appmngr_showDb();
    return 0;
}

} // namespace tool
