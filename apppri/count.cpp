// The pass over the document that reads the declared counts.

#include "apppri/apppri_internal.h"

#include <stdio.h>
#include <string.h>

// Tags are dotted paths.
static const apppri_step pathSteps[] = {
    {"root.appSortDB.sortNum", _apppri_takeNumber, offsetof(apppri_database, sortNum), 0, 961,
     "apppri sort num not found!\r\n"},
    {"root.appSortDB.appNum", _apppri_takeNumber, offsetof(apppri_database, appNum), 0, 979,
     "apppri app num not found!\r\n"},
    {"root.appSortDB.ver", _apppri_takeBytes, offsetof(apppri_database, ver), sizeof apppri_db.ver,
     997, "apppri ver not found!\r\n"},
    {},
};

static const size_t longestPath = sizeof "root.appSortDB.sortNum" - 1;

int apppri_parseThroughXML(const char *prefix, const XmlpNode *node)
{
    apppri_target target = {&apppri_db, nullptr, nullptr, 0};
    for (; node != nullptr; node = node->next) {
        if (node->type == XMLP_NODE_NONE) {
            continue;
        }
        char path[128];
        snprintf(path, sizeof path, "%s.%s", prefix, node->name);
        if (_apppri_takeSteps(__func__, pathSteps, path, node, &target) < 0) {
            return -1;
        }
        // Every level makes the path longer, so this also bounds the recursion.
        if (strlen(path) < longestPath) {
            apppri_parseThroughXML(path, node->firstChild);
        }
    }
    return 0;
}
