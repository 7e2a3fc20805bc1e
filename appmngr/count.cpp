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

namespace
{
// Where an element is: its own path is the first length characters of all these.
struct Place {
    uint16_t length;
    uint8_t longer;   // paths that go on below it, as bits
    uint8_t complete; // the path that ends with it, as a bit
};

// The places found in a tree, by name and parent's place. One string holds each name of a static
// tree, so that its address tells it.
struct Known {
    const char *name;
    Place parent;
    Place place;
};
enum : size_t { KNOWN = 256 };
} // namespace

static Known known[KNOWN];

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

// The place of the children of that name at parent.
static Place findPlace(Place parent, const char *name)
{
    Place place = {};
    for (unsigned left = parent.longer; left != 0; left &= left - 1) {
        const char *path = countedPaths[__builtin_ctz(left)].path;
        const int matched =
            path[parent.length] == '.' ? beginsWith(path + parent.length + 1, name) : -1;
        if (matched >= 0) {
            place.length = static_cast<uint16_t>(parent.length + 1 + matched);
            const unsigned bit = left & -left;
            (path[place.length] != '\0' ? place.longer : place.complete) |=
                static_cast<uint8_t>(bit);
        }
    }
    return place;
}

static Place knownPlace(Place parent, const char *name)
{
    Known *slot = &known[(reinterpret_cast<uintptr_t>(name) / 2 + parent.length) % KNOWN];
    if (slot->name != name || slot->parent.length != parent.length ||
        slot->parent.longer != parent.longer) {
        *slot = {name, parent, findPlace(parent, name)};
    }
    return slot->place;
}

// Counts child, its later siblings and what is below them. Only elements at a place on the way to a
// counted one are descended into, so the depth is bounded by the longest of the paths.
static void countSiblings(const XmlpNode *child, Place parent)
{
    for (; child != nullptr; child = child->next) {
        if (child->type == XMLP_NODE_NONE || child->name == nullptr) {
            continue;
        }
        const Place place = knownPlace(parent, child->name);
        if (place.complete != 0 && countedPaths[__builtin_ctz(place.complete)].count(child) != 0) {
            return;
        }
        if (place.longer != 0) {
            countSiblings(child->firstChild, place);
        }
    }
}

int appmngr_parseThroughXML(const char *prefix, const XmlpNode *node)
{
    if (prefix == nullptr) {
        return 0;
    }
    Place top = {};
    for (unsigned i = 0; i < PATHS; i++) {
        const int matched = beginsWith(countedPaths[i].path, prefix);
        if (matched >= 0) {
            top.length = static_cast<uint16_t>(matched);
            top.longer |= static_cast<uint8_t>(1u << i);
        }
    }
    memset(known, 0, sizeof(known));
    countSiblings(xmlp_getChildNode(node, 0), top);
    return 0;
}
