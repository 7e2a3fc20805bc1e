// The counting pass: how many records of each kind the document asks for.

#include "appmngr/appmngr.h"

#include <string.h>

static int countTuple(const XmlpNode * /*node*/)
{
    g_appmngr_count.tuple++;
    return 0;
}

static int countDnsKw(const XmlpNode * /*node*/)
{
    g_appmngr_count.dnsKw++;
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

static int countApp(const XmlpNode * /*node*/)
{
    g_appmngr_count.app++;
    return 0;
}

static int countDescApp(const XmlpNode * /*node*/)
{
    g_appmngr_count.descApp++;
    return 0;
}

static int countDescType(const XmlpNode * /*node*/)
{
    g_appmngr_count.descType++;
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

// Dotted paths from the document node; letter case does not count.
static constexpr struct {
    const char *path;
    int (*count)(const XmlpNode *node);
} countedPaths[] = {
    {"root.appdb.applist.app.rulelist.rule.tuplelist.tuple", countTuple},
    {"root.appdb.applist.app.dnsKwList.dnsKw", countDnsKw},
    {"root.appdb.apptypelist.apptype.id", countTypeId},
    {"root.appdb.applist.app", countApp},
    {"root.appdesc.applist.app", countDescApp},
    {"root.appdesc.apptypelist.apptype", countDescType},
    {"root.appdesc.langcnt", readLangcnt},
};

enum : unsigned { PATHS = sizeof(countedPaths) / sizeof(countedPaths[0]) };

static int lower(char character)
{
    return character >= 'A' && character <= 'Z' ? character + ('a' - 'A') : character;
}

// Returns the number of characters of name if text begins with them, else -1. An empty name is
// a beginning of every text.
static int beginsWith(const char *text, const char *name)
{
    int length = 0;
    while (name[length] != '\0') {
        if (text[length] != name[length] && lower(text[length]) != lower(name[length])) {
            return -1;
        }
        length++;
    }
    return length;
}

// Counts child, its later siblings and what is below them. Their parent's path is the first length
// characters of the paths in the bit set. A child is descended into only while its path begins a
// counted one, so the depth is bounded by the longest of them.
static void countSiblings(const XmlpNode *child, size_t length, unsigned paths)
{
    for (; child != nullptr; child = child->next) {
        if (child->type == XMLP_NODE_NONE || child->name == nullptr) {
            continue;
        }
        unsigned deeper = 0;
        size_t childLength = 0;
        for (unsigned left = paths; left != 0; left &= left - 1) {
            const auto i = static_cast<unsigned>(__builtin_ctz(left));
            const char *rest = countedPaths[i].path + length;
            int matched = *rest == '.' ? beginsWith(rest + 1, child->name) : -1;
            if (matched < 0) {
                continue;
            }
            childLength = length + 1 + static_cast<size_t>(matched);
            if (countedPaths[i].path[childLength] != '\0') {
                deeper |= 1u << i;
            } else if (countedPaths[i].count(child) != 0) {
                return;
            }
        }
        if (deeper != 0) {
            countSiblings(child->firstChild, childLength, deeper);
        }
    }
}

int appmngr_parseThroughXML(const char *prefix, const XmlpNode *node)
{
    if (prefix == nullptr) {
        return 0;
    }
    unsigned paths = 0;
    for (unsigned i = 0; i < PATHS; i++) {
        paths |= beginsWith(countedPaths[i].path, prefix) >= 0 ? 1u << i : 0u;
    }
    countSiblings(xmlp_getChildNode(node, 0), strlen(prefix), paths);
    return 0;
}
