// The attribute names of one tag: is a new one the beginning of an earlier one?
//
// A tag has few attributes, and walking their list is the quickest way to see. One with thousands
// would take a time that grows with their square, so from some number on the names are kept in a
// crit-bit tree. Each entry is a name and a fork: the names on the two sides of a fork agree up to
// a bit and differ in it. The fork of the first entry is not used.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

enum : uint32_t { LISTED = 16, NAME = 1 }; // a link is twice an entry's number, plus NAME or not

static unsigned char byteAt(XmlpSlice name, size_t at)
{
    return at < name.length ? static_cast<unsigned char>(name.bytes[at]) : 0;
}

static unsigned sideOf(const XmlpAttrEntry *fork, XmlpSlice name)
{
    return (byteAt(name, fork->byte) & fork->bit) != 0 ? 1 : 0;
}

// The link at the end of the name's way through the forks that come before the bit of the byte.
static uint32_t *follow(XmlpAttrNames *names, XmlpSlice name, size_t byte, unsigned bit)
{
    uint32_t *link = &names->top;
    while ((*link & NAME) == 0) {
        XmlpAttrEntry *fork = &names->entries[*link / 2];
        if (fork->byte > byte || (fork->byte == byte && fork->bit <= bit)) {
            break;
        }
        link = &fork->links[sideOf(fork, name)];
    }
    return link;
}

static int reserveEntry(XmlpAttrNames *names)
{
    if (names->used < names->capacity) {
        return 0;
    }
    uint32_t capacity = names->capacity == 0 ? 4 * LISTED : 2 * names->capacity;
    auto *entries = static_cast<XmlpAttrEntry *>(
        realloc(names->entries, static_cast<size_t>(capacity) * sizeof(XmlpAttrEntry)));
    if (entries == nullptr) {
        return -1;
    }
    names->entries = entries;
    names->capacity = capacity;
    return 0;
}

// Adds a name to the tree. 1 when it was there as a beginning, 0 when not, -1 without memory.
static int addToTree(XmlpAttrNames *names, XmlpSlice name)
{
    if (reserveEntry(names) != 0) {
        return -1;
    }
    XmlpAttrEntry entry = {name, 0, 0, {0, 0}};
    const uint32_t self = 2 * names->used;
    uint32_t *link = &names->top;
    if (names->used > 0) {
        // No name agrees with the new one further than the one at the end of its way.
        XmlpSlice nearest = names->entries[*follow(names, name, SIZE_MAX, 0) / 2].name;
        while (entry.byte < name.length &&
               byteAt(nearest, entry.byte) == byteAt(name, entry.byte)) {
            entry.byte++;
        }
        if (entry.byte == name.length) {
            return 1;
        }
        unsigned differ = byteAt(nearest, entry.byte) ^ byteAt(name, entry.byte);
        entry.bit = 1u << (31 - __builtin_clz(differ));
        link = follow(names, name, entry.byte, entry.bit);
        entry.links[sideOf(&entry, name)] = self | NAME;
        entry.links[1 - sideOf(&entry, name)] = *link;
    }
    names->entries[names->used] = entry;
    *link = names->used == 0 ? self | NAME : self;
    names->used++;
    return 0;
}

int _addAttrName(XmlpAttrNames *names, const XmlpAttr *attrs, XmlpSlice name)
{
    if (++names->count <= LISTED) {
        return _hasAttrName(attrs, name.bytes, static_cast<uint32_t>(name.length));
    }
    if (names->count == LISTED + 1) {
        for (; attrs != nullptr; attrs = attrs->next) {
            XmlpSlice earlier = {attrs->name, strlen(attrs->name)};
            if (addToTree(names, earlier) < 0) {
                return -1;
            }
        }
    }
    return addToTree(names, name);
}
