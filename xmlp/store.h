/*
 * Where the parser stores a tree. A dynamic tree is allocations, one for each node, attribute, name
 * and value. A static tree is one block, with room left free between its parts:
 *
 *     +-----------+----------------+-------------------+---------------+--------------------+
 *     | name pool | values, back   | attribute records | document node | a node record for  |
 *     |           | to back        |                   |               | each element       |
 *     +-----------+----------------+-------------------+---------------+--------------------+
 *
 * It begins with the name of the top element, and freeing that name frees it.
 */
#ifndef XMLP_STORE_H
#define XMLP_STORE_H

#include "xmlp/name_pool.h"
#include "xmlp/wide.h"
#include "xmlp/xmlp_internal.h"

#include <stdlib.h>

#pragma GCC visibility push(hidden)

/* A valid name that was met before, up to 16 bytes long. */
static constexpr size_t XMLP_SHORT_NAME = 16;
struct XmlpShortName {
    char bytes[XMLP_SHORT_NAME];
    char *pooled;    /* null in a dynamic tree */
    uint32_t length; /* 0 for none */
};

struct XmlpStore {
    bool isStatic;
    const char *textEnd;
    char *block; /* of a static tree, like the next four */
    XmlpNamePool pool;
    char *values;
    XmlpAttr *attrs;
    XmlpNode *nodes;
    XmlpShortName shortNames[256];
};

/*
 * Makes room for a tree of a text of size bytes with at most so many nodes. 0, or the line that
 * reports that memory is short.
 */
int _initStore(XmlpStore *store, uint64_t size, uint64_t nodeCount);

/* Stores a name of a static tree. Null without memory. */
char *_storeName(XmlpStore *store, XmlpSlice name);

/* Remembers the name, if it is short and valid. */
void _remember(XmlpStore *store, XmlpSlice name, char *pooled);

/* Stores an attribute's value, or a name of a dynamic tree. Null without memory. */
static inline char *_storeString(XmlpStore *store, XmlpSlice string)
{
    return store->isStatic ? _saveName(&store->pool, string.bytes, string.length)
                           : _copyString(string.bytes, string.length);
}

/*
 * Where a name in the text is remembered. Names are told apart by their first two and last two
 * bytes; of a name of one byte, a bracket is one of these.
 */
static inline XmlpShortName *_shortNameAt(XmlpStore *store, XmlpSlice name)
{
    uint16_t first;
    uint16_t last;
    memcpy(&first, name.bytes, sizeof(first));
    memcpy(&last, name.bytes + name.length - sizeof(last), sizeof(last));
    const uint32_t key = first + (uint32_t{last} << 16) + static_cast<uint32_t>(name.length);
    return &store->shortNames[key * 0x9E3779B1u >> 24];
}

/* What is remembered of the name, or null. */
static inline const XmlpShortName *_recall(XmlpStore *store, XmlpSlice name)
{
    if (name.length - 1 >= XMLP_SHORT_NAME ||
        store->textEnd - name.bytes < static_cast<ptrdiff_t>(XMLP_SHORT_NAME)) {
        return nullptr;
    }
    const XmlpShortName *known = _shortNameAt(store, name);
    const bool isSame =
        known->length == name.length && _areSame(known->bytes, name.bytes, name.length);
    return isSame ? known : nullptr;
}

/* A new node or attribute, not initialized. Null without memory. */
static inline XmlpNode *_newNode(XmlpStore *store)
{
    return store->isStatic ? store->nodes++ : static_cast<XmlpNode *>(malloc(sizeof(XmlpNode)));
}

static inline XmlpAttr *_newAttr(XmlpStore *store)
{
    return store->isStatic ? store->attrs++ : static_cast<XmlpAttr *>(malloc(sizeof(XmlpAttr)));
}

/* Copies length bytes in whole chunks, and past them. Returns whether an "&" may be among them. */
static inline bool _copyChunks(char *to, const char *from, size_t length)
{
    XmlpChunk ampersands = {};
    for (size_t i = 0; i < length; i += XMLP_CHUNK) {
        const XmlpChunk chunk = _loadChunk(from + i);
        memcpy(to + i, &chunk, sizeof(chunk));
        ampersands |= _areEqual(chunk, _fill('&'));
    }
    return _anyHigh(ampersands);
}

/*
 * Stores the text, which is not empty, un-escaped as the node's value. 0, or -1 without memory or
 * for an unknown entity.
 */
static inline int _storeValue(XmlpStore *store, XmlpNode *node, XmlpSlice text)
{
    char *value = store->isStatic ? store->values : static_cast<char *>(malloc(text.length));
    if (value == nullptr) {
        return -1;
    }
    const char *end = value + text.length;
    const ptrdiff_t left = store->textEnd - (text.bytes + text.length);
    if (!store->isStatic || left < static_cast<ptrdiff_t>(XMLP_CHUNK) ||
        _copyChunks(value, text.bytes, text.length)) {
        end = xmlp_unTransStr(value, text.bytes, static_cast<uint32_t>(text.length));
    }
    if (end == nullptr) {
        free(store->isStatic ? nullptr : value);
        return -1;
    }
    node->value = reinterpret_cast<unsigned char *>(value);
    node->valueSize = static_cast<uint32_t>(end - value);
    store->values += store->isStatic ? node->valueSize : 0;
    return 0;
}

#pragma GCC visibility pop

#endif
