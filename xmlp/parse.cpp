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
        if (_stepOf(*p) > end - p) {
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
        p = passDeclaration(p, end);
        if (p == nullptr) {
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
// What the counting pass finds.
struct Counts {
    size_t elements;
    size_t attrs;
    size_t valueBytes;
};
} // namespace

// The counting pass: counts what needs room in the block and collects the names.
static int countXml(const char *text, const char *end, XmlpNamePool *pool, Counts *counts)
{
    enum { NOTHING, START_TAG, END_TAG, IN_TEXT, AFTER_END_TAG } state = NOTHING;
    const char *from = nullptr; // where the tag or the text begins
    for (const char *p = _nextMark(text, end); p < end; p = _nextMark(p + 1, end)) {
        if (*p == '<' && end - p > 1 && p[1] == '/') {
            if (state == IN_TEXT) {
                counts->valueBytes += xmlp_unTransStrLen(from, static_cast<uint32_t>(p - from));
            }
            state = END_TAG;
        } else if (*p == '<') {
            state = START_TAG;
            from = p + 1;
        } else if (state == START_TAG) {
            int status = 0;
            counts->elements++;
            counts->attrs += _saveNameAttr(from, p[-1] == '/' ? '/' : '>', pool, &status);
            if (status != 0) {
                return -1;
            }
            state = IN_TEXT;
            from = p + 1;
        } else if (state == END_TAG) {
            state = AFTER_END_TAG;
        }
    }
    return 0;
}

// Builds the static tree in its block. Returns the document node, or null.
static XmlpNode *buildStatic(const char *text, const char *end)
{
    auto length = static_cast<uint32_t>(end - text);
    Counts counts = {};
    XmlpNamePool pool;
    if (_initNamePool(&pool, length) != 0 || countXml(text, end, &pool, &counts) != 0) {
        _xmlp_report("xmlp_parse", 1509, "malloc failed.");
        _freeNamePool(&pool);
        return nullptr;
    }
    XmlpNode *root = nullptr;
    size_t attrsAt = pool.used + counts.valueBytes;
    size_t nodesAt = attrsAt + counts.attrs * sizeof(XmlpAttr);
    auto *block =
        static_cast<char *>(calloc(1, nodesAt + (counts.elements + 1) * sizeof(XmlpNode)));
    if (block == nullptr) {
        _xmlp_report("xmlp_parse", 1572, "malloc failed.");
    } else {
        memcpy(block, pool.base, pool.used);
        free(pool.base);
        pool.base = block;
        root = _makeStree(text, length, &pool, block + pool.used,
                          reinterpret_cast<XmlpAttr *>(block + attrsAt),
                          reinterpret_cast<XmlpNode *>(block + nodesAt));
        if (root != nullptr) {
            pool.base = nullptr; // the tree's now
        }
    }
    _freeNamePool(&pool);
    return root;
}

XmlpTree *xmlp_parse(const char *xmlBuf, uint32_t length, uint32_t isStatic)
{
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
    if (saveHeader(tree, xmlBuf, end, &text) == 0 && _checkXml(text, end) == 0) {
        tree->root = isStatic != 0 ? buildStatic(text, end)
                                   : _makeDtree(text, static_cast<uint32_t>(end - text));
    }
    if (tree->root == nullptr) {
        free(tree->header);
        free(tree);
        return nullptr;
    }
    return tree;
}
