// Tables without a kernel.

#include "check/tables.h"

#include "appmngr/appmngr.h"
#include "apppri/apppri.h"
#include "check/database.h"
#include "check/diagnostics.h"
#include "check/failure.h"
#include "loader/loader.h"

#include <cstring>
#include <string>

namespace check
{

namespace
{

void releaseTables()
{
    const DiscardedDiagnostics silence;
    appmngr_dbReInit();
}

bool fillTables(const std::string &text)
{
    const DiagnosticsOnStandardError redirection;
    bool filled = false;
    if (appmngr_file_alloc() == 0) {
        memcpy(g_appmngr_xmlBuf, text.c_str(), text.size() + 1);
        filled = appmngr_analyzeDbFile() == 0;
    }
    appmngr_file_free();
    return filled;
}

bool fillModel(const std::string &text)
{
    const DiagnosticsOnStandardError redirection;
    apppri_DBReInit();
    bool filled = false;
    if (apppri_DBResAlloc() == 0) {
        memcpy(apppri_db.xmlBuf, text.c_str(), text.size() + 1);
        filled = apppri_analyzeDBFile() == 0;
    }
    apppri_DBResFree();
    return filled;
}

} // namespace

void loadApplicationTables(const InputFile &image)
{
    const std::string text = unpackDatabase(image, applicationDatabase);
    releaseTables();
    if (!fillTables(text)) {
        throw Failure(image.name, "the application database cannot be loaded");
    }
}

void loadPriorityModel(const InputFile &image)
{
    if (!fillModel(unpackDatabase(image, priorityDatabase))) {
        throw Failure(image.name, "the priority database cannot be loaded");
    }
    if (apppri_db.appSortList == nullptr) {
        throw Failure(image.name, "the priority database has no sorts");
    }
}

std::vector<unsigned char> priorityMap()
{
    std::vector<unsigned char> map(g_apppri_profile.mapSize);
    apppri_initPrimapFromDB(map.data());
    return map;
}

} // namespace check
