// The counting pass: how many records of each kind the document asks for.

#include "appmngr/appmngr_internal.h"

template <uint32_t appmngr_counters::*counter> static int countOne(const XmlpNode * /*node*/)
{
    (g_appmngr_count.*counter)++;
    return 0;
}

static int countTypeId(const XmlpNode *node)
{
    int32_t id;
    if (appmngr_getNodeInt(node, &id) != 0) {
        return -1;
    }
    if (g_appmngr_count.typeId < APPMNGR_TYPE_MAX) {
        g_appmngr_typeIds[g_appmngr_count.typeId] = static_cast<uint32_t>(id);
    }
    g_appmngr_count.typeId++;
    return 0;
}

static int readLangcnt(const XmlpNode *node)
{
    int32_t langcnt;
    if (appmngr_getNodeInt(node, &langcnt) == 0) {
        g_appmngr_count.langcnt = static_cast<uint32_t>(langcnt);
    }
    return 0;
}

namespace
{
// A dotted path from the document node, in lower case; the letter case of names does not count.
struct Path {
    const char *text;
    int (*count)(const XmlpNode *node);
};

// Rows of the table that are neighbours and begin with the path of the same element.
struct Paths {
    const Path *first;
    const Path *end;
    size_t length; // of the element's path
};
} // namespace

// In alphabetical order, so that paths that begin alike are neighbours.
static constexpr Path countedPaths[] = {
    {".root.appdb.applist.app", countOne<&appmngr_counters::app>},
    {".root.appdb.applist.app.dnskwlist.dnskw", countOne<&appmngr_counters::dnsKw>},
    {".root.appdb.applist.app.rulelist.rule.tuplelist.tuple", countOne<&appmngr_counters::tuple>},
    {".root.appdb.apptypelist.apptype.id", countTypeId},
    {".root.appdesc.applist.app", countOne<&appmngr_counters::descApp>},
    {".root.appdesc.apptypelist.apptype", countOne<&appmngr_counters::descType>},
    {".root.appdesc.langcnt", readLangcnt},
};

// Returns what follows a dot and name at the start of text; null if text starts otherwise.
static const char *afterName(const char *text, const char *name)
{
    if (*text++ != '.') {
        return nullptr;
    }
    for (; *name != '\0'; name++) {
        if (*text++ != _appmngr_lower(*name)) {
            return nullptr;
        }
    }
    return text;
}

// Those of the parent's paths that continue with name, which may itself have dots.
static Paths pathsWith(const Paths &parent, const char *name)
{
    Paths found = {parent.first, parent.first, 0};
    for (const Path *path = parent.first; path < parent.end; path++) {
        const char *rest = afterName(path->text + parent.length, name);
        if (rest != nullptr) {
            found.first = found.length == 0 ? path : found.first;
            found.end = path + 1;
            found.length = static_cast<size_t>(rest - path->text);
        }
    }
    return found;
}

// Counts child, its later siblings and what is below them. Only elements on the way to a counted
// one are descended into, so the depth is bounded by the longest of the paths.
static void countSiblings(const XmlpNode *child, const Paths &parent)
{
    const char *name = nullptr; // of the sibling before: they often share one string
    Paths named = {};
    for (; child != nullptr; child = child->next) {
        if (child->type == XMLP_NODE_NONE || child->name == nullptr) {
            continue;
        }
        if (child->name != name) {
            name = child->name;
            named = pathsWith(parent, name);
        }
        Paths paths = named;
        if (paths.first < paths.end && paths.first->text[paths.length] == '\0') {
            if (paths.first->count(child) != 0) {
                return;
            }
            paths.first++;
        }
        if (paths.first < paths.end) {
            countSiblings(child->firstChild, paths);
        }
    }
}

int appmngr_parseThroughXML(const char *prefix, const XmlpNode *node)
{
    if (prefix != nullptr) {
        const Paths all = {countedPaths, countedPaths + sizeof(countedPaths) / sizeof(Path), 0};
        countSiblings(xmlp_getChildNode(node, 0), pathsWith(all, prefix));
    }
    return 0;
}
