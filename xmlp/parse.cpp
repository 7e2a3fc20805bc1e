// From text to document record: declaration, check pass, and the tree in memory of its own.
//
// A static tree is one block:
//
//     +-----------+----------------+-------------------+---------------+--------------------+
//     | name pool | values, back   | attribute records | document node | a node record for  |
//     |           | to back        |                   |               | each element       |
//     +-----------+----------------+-------------------+---------------+--------------------+
//
// The counting pass sizes it. It begins with the name of the top element, and freeing that name
// frees it.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

const char *_xmlp_refusedAt;

static uint32_t refusedOffset = UINT32_MAX;

uint32_t xmlp_getRefusedOffset(void)
{
    return refusedOffset;
}

static const char *skipBlanks(const char *p, const char *end)
{
    while (p < end && _isByte(*p, XMLP_BLANK)) {
        p++;
    }
    return p;
}

static const char *skipMark(const char *p, const char *end)
{
    return end - p >= 3 && memcmp(p, "\xEF\xBB\xBF", 3) == 0 ? p + 3 : p;
}

// Returns where the text resumes behind the declaration whose "<?" lies at p, or null. The
// declaration ends at a "?", or before a ">"; either is enough.
static const char *passDeclaration(const char *p, const char *end)
{
    for (p += 2; end - p >= 2; p += _stepOf(*p)) {
        if (*p == '?' || p[1] == '>') {
            return p + 2;
        }
        if (_stepOf(*p) > static_cast<size_t>(end - p)) {
            break;
        }
    }
    return nullptr;
}

// Saves the declaration, if there is one, in tree and sets *text behind it.
static int saveHeader(XmlpTree *tree, const char *xmlBuf, const char *end, const char **text)
{
    const char *p = skipBlanks(skipMark(xmlBuf, end), end);
    if (end - p >= 2 && memcmp(p, "<?", 2) == 0) {
        const char *declaration = p;
        p = passDeclaration(declaration, end);
        if (p == nullptr) {
            _refuseAt(declaration);
            _xmlp_report("xmlp_parse", 1459, "error in xml header.");
            return -1;
        }
        auto length = static_cast<size_t>(p - xmlBuf);
        tree->header = static_cast<unsigned char *>(malloc(length));
        if (tree->header == nullptr) {
            _xmlp_report("xmlp_parse", 1469, "malloc failed.");
            return -1;
        }
        memcpy(tree->header, xmlBuf, length);
        tree->headerLen = static_cast<uint32_t>(length);
        p = skipBlanks(p, end);
    }
    *text = p;
    return 0;
}

namespace
{
// What needs room in the block, beside the names.
struct Counts {
    size_t attrs;
    size_t valueBytes;
};
} // namespace

// The counting pass: collects the names and counts the rest.
static int countParts(const char *text, XmlpElementList *list, XmlpNamePool *pool, Counts *counts)
{
    for (uint32_t i = 0; i < list->count; i++) {
        XmlpElement *element = &list->items[i];
        if (_saveNameAttr(text, element, pool, &counts->attrs) != 0) {
            return -1;
        }
        counts->valueBytes += _valueLength(text, element);
    }
    return 0;
}

// Builds the static tree in its block. Returns the document node, or null.
static XmlpNode *buildStatic(const char *text, XmlpElementList *list)
{
    Counts counts = {};
    XmlpNamePool pool;
    if (_initNamePool(&pool) != 0 || countParts(text, list, &pool, &counts) != 0) {
        _xmlp_report("xmlp_parse", 1509, "malloc failed.");
        _freeNamePool(&pool);
        return nullptr;
    }
    XmlpNode *root = nullptr;
    size_t attrsAt = pool.used + counts.valueBytes;
    size_t nodesAt = attrsAt + counts.attrs * sizeof(XmlpAttr);
    size_t nodeCount = static_cast<size_t>(list->count) + 1;
    auto *block = static_cast<char *>(malloc(nodesAt + nodeCount * sizeof(XmlpNode)));
    if (block == nullptr) {
        _xmlp_report("xmlp_parse", 1572, "malloc failed.");
    } else {
        memcpy(block, pool.base, pool.used);
        free(pool.base);
        pool.base = block;
        root = _makeStree(text, list, &pool, block + pool.used,
                          reinterpret_cast<XmlpAttr *>(block + attrsAt),
                          reinterpret_cast<XmlpNode *>(block + nodesAt));
        if (root != nullptr) {
            pool.base = nullptr; // the tree's now
        }
    }
    _freeNamePool(&pool);
    return root;
}

// Checks the text behind the declaration and builds its tree. Returns the document node, or null.
static XmlpNode *buildRoot(const char *text, const char *end, uint32_t isStatic)
{
    XmlpElementList list = {};
    XmlpNode *root = nullptr;
    if (_checkXml(text, end, &list) == 0) {
        root = isStatic != 0 ? buildStatic(text, &list) : _makeDtree(text, &list);
    } else if (list.outOfMemory) {
        _xmlp_report("xmlp_parse", 1509, "malloc failed.");
    }
    free(list.items);
    return root;
}

XmlpTree *xmlp_parse(const char *xmlBuf, uint32_t length, uint32_t isStatic)
{
    refusedOffset = UINT32_MAX;
    if (xmlBuf == nullptr) {
        XMLP_ERROR(1431, "xmlBuf is null.");
        return nullptr;
    }
    auto *tree = static_cast<XmlpTree *>(calloc(1, sizeof(XmlpTree)));
    if (tree == nullptr) {
        XMLP_ERROR(1438, "malloc failed.");
        return nullptr;
    }
    tree->isStatic = isStatic;
    const char *end = xmlBuf + length;
    const char *text = nullptr;
    _xmlp_refusedAt = nullptr;
    if (saveHeader(tree, xmlBuf, end, &text) == 0) {
        tree->root = buildRoot(text, end, isStatic);
    }
    if (tree->root == nullptr) {
        if (_xmlp_refusedAt != nullptr) {
            refusedOffset = static_cast<uint32_t>(_xmlp_refusedAt - xmlBuf);
        }
        free(tree->header);
        free(tree);
        return nullptr;
    }
    return tree;
}
