// The attribute names of one tag: is a new one the beginning of an earlier one?
//
// A tag has few attributes, and walking their list is the quickest way to see. One with thousands
// would take a time that grows with their square, so from some number on the beginnings of all
// names are kept as a tree, an edge for each byte: a new name that never leaves the tree is the
// beginning of an earlier one.

#include "xmlp/xmlp_internal.h"

#include <string.h>

enum : uint32_t { LISTED = 16 };

// Adds a name to the tree. 1 when it was there as a beginning, 0 when not, -1 without memory.
static int addToTree(XmlpPairMap *tree, const char *name, uint32_t length)
{
    int known = 1;
    uint32_t node = 0;
    for (uint32_t i = 0; i < length; i++) {
        auto byte = static_cast<unsigned char>(name[i]);
        uint32_t next = _getPair(tree, node, byte);
        if (next == 0) {
            known = 0;
            next = tree->used + 1;
            if (_putPair(tree, node, byte, next) != 0) {
                return -1;
            }
        }
        node = next;
    }
    return known;
}

int _addAttrName(XmlpAttrNames *names, const XmlpAttr *attrs, const char *name, uint32_t length)
{
    if (++names->count <= LISTED) {
        return _hasAttrName(attrs, name, length);
    }
    if (names->count == LISTED + 1) {
        for (; attrs != nullptr; attrs = attrs->next) {
            if (addToTree(&names->tree, attrs->name, static_cast<uint32_t>(strlen(attrs->name))) <
                0) {
                return -1;
            }
        }
    }
    return addToTree(&names->tree, name, length);
}
