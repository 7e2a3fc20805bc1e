// Application tables without a kernel.

#include "tool/tables.h"

#include "appmngr/appmngr.h"
#include "loader/image.h"
#include "loader/loader.h"
#include "tool/diagnostics.h"
#include "tool/failure.h"
#include "tool/image.h"

#include <cstring>
#include <string>

namespace tool
{

namespace
{

bool fillTables(const std::string &text)
{
    const DiagnosticsOnStandardError redirection;
    appmngr_dbReInit();
    bool filled = false;
    if (appmngr_file_alloc() == 0) {
        memcpy(g_appmngr_xmlBuf, text.c_str(), text.size() + 1);
        filled = appmngr_analyzeDbFile() == 0;
    }
    appmngr_file_free();
    return filled;
}

} // namespace

void loadApplicationTables(const InputFile &image)
{
    if (!fillTables(unpackDatabase(image, applicationDatabase))) {
        throw Failure(image.name, "the application database cannot be loaded");
    }
}

} // namespace tool
