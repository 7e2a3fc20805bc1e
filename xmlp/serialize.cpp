// From the tree back to text. One pass over the tree adds up the exact length, a second one
// writes; neither recurses, so no depth of tree can exhaust the stack.

#include "xmlp/words.h"
#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

/* ---- Walk ---------------------------------------------------------------------------------- */

namespace
{
// A walk over an element and all below it: each is entered, and left again if it has children.
struct Walk {
    const XmlpNode *top;
    const XmlpNode *node;
    uint32_t level;
    bool leaving;
};
} // namespace

static bool advance(Walk *walk)
{
    const XmlpNode *node = walk->node;
    if (!walk->leaving && node->firstChild != nullptr) {
        walk->node = node->firstChild;
        walk->level++;
    } else if (node == walk->top) {
        return false;
    } else if (node->next != nullptr) {
        walk->node = node->next;
        walk->leaving = false;
    } else {
        walk->node = node->parent;
        walk->level--;
        walk->leaving = true;
    }
    return walk->node != nullptr;
}

/* ---- Lengths ------------------------------------------------------------------------------- */

static size_t textLen(const char *text)
{
    return text != nullptr ? strlen(text) : 0;
}

namespace
{
enum : unsigned { KNOWN_NAMES = 128 };

// The lengths of names met before, by address: the elements of a static tree share their names,
// and there are few of them. All zero, it is empty.
struct NameLengths {
    const char *names[KNOWN_NAMES];
    size_t lengths[KNOWN_NAMES];
};
} // namespace

static size_t nameLen(const char *name, NameLengths *known)
{
    size_t slot = reinterpret_cast<uintptr_t>(name) / XMLP_POOL_WORD % KNOWN_NAMES;
    if (known->names[slot] != name) {
        known->names[slot] = name;
        known->lengths[slot] = textLen(name);
    }
    return known->lengths[slot];
}

static const char *valueText(const XmlpNode *node)
{
    return reinterpret_cast<const char *>(node->value);
}

// A value is written only where there are no children.
static bool hasValue(const XmlpNode *node)
{
    return node->firstChild == nullptr && node->value != nullptr && node->valueSize != 0;
}

static bool isEmpty(const XmlpNode *node)
{
    return node->firstChild == nullptr && !hasValue(node);
}

// Whether the value is short and written as it is. A long one is not looked at twice for that.
static bool isPlain(const XmlpNode *node)
{
    return node->valueSize <= 256 && !_anyEntity(valueText(node), node->valueSize);
}

// Piece by piece: the escaped length of a very long value does not fit 32 bits.
static uint64_t escapedLen(const XmlpNode *node)
{
    if (isPlain(node)) {
        return node->valueSize;
    }
    const uint32_t piece = 0x10000000;
    uint64_t total = 0;
    for (uint64_t at = 0; at < node->valueSize; at += piece) {
        uint64_t left = node->valueSize - at;
        total += xmlp_transStrLen(valueText(node) + at,
                                  left < piece ? static_cast<uint32_t>(left) : piece);
    }
    return total;
}

uint64_t _attrsLen(const XmlpAttr *attr)
{
    uint64_t total = 0;
    for (; attr != nullptr; attr = attr->next) {
        total += textLen(attr->name) + textLen(attr->value) + strlen(" =\"\"");
    }
    return total;
}

static uint64_t nodeLen(const XmlpNode *node, NameLengths *known)
{
    uint64_t name = nameLen(node->name, known);
    uint64_t attrs = _attrsLen(node->attrs);
    if (isEmpty(node)) {
        return name + attrs + strlen("</>");
    }
    return 2 * name + attrs + strlen("<></>") + (hasValue(node) ? escapedLen(node) : 0);
}

uint64_t _nodeLen(const XmlpNode *node)
{
    NameLengths known = {};
    return node != nullptr ? nodeLen(node, &known) : 0;
}

uint64_t _treeLen(const XmlpNode *node)
{
    if (node == nullptr) {
        return 0;
    }
    uint64_t total = 0;
    NameLengths known = {};
    Walk walk = {node, node, 0, false};
    do {
        total += walk.leaving ? 0 : nodeLen(walk.node, &known);
    } while (advance(&walk));
    return total;
}

static uint64_t indentLen(uint32_t level)
{
    return uint64_t{2} * level;
}

uint64_t _formatLen(const XmlpNode *node, uint32_t level)
{
    if (node == nullptr) {
        return 0;
    }
    uint64_t total = 0;
    NameLengths known = {};
    Walk walk = {node, node, level, false};
    do {
        // A line for entering, another one for leaving.
        total += indentLen(walk.level) + 1 + (walk.leaving ? 0 : nodeLen(walk.node, &known));
    } while (advance(&walk));
    return total;
}

/* ---- Writing ------------------------------------------------------------------------------- */

static char *putText(char *dst, const char *text)
{
    return _copyBytes(dst, text, textLen(text));
}

template <size_t size> static char *putMark(char *dst, const char (&mark)[size])
{
    memcpy(dst, mark, size - 1);
    return dst + size - 1;
}

static char *putIndent(char *dst, uint32_t level)
{
    auto length = static_cast<size_t>(indentLen(level));
    memset(dst, ' ', length);
    return dst + length;
}

static char *putAttrs(char *dst, const XmlpAttr *attr)
{
    for (; attr != nullptr; attr = attr->next) {
        dst = putMark(dst, " ");
        dst = putText(dst, attr->name);
        dst = putMark(dst, "=\"");
        dst = putText(dst, attr->value);
        dst = putMark(dst, "\"");
    }
    return dst;
}

static char *putValue(char *dst, const XmlpNode *node)
{
    return isPlain(node) ? _copyBytes(dst, valueText(node), node->valueSize)
                         : xmlp_transStr(dst, valueText(node), node->valueSize);
}

static char *putEndTag(char *dst, const char *name, size_t length)
{
    dst = putMark(dst, "</");
    dst = _copyBytes(dst, name, length);
    return putMark(dst, ">");
}

// The start tag and, of an element without children, all the rest.
static char *putStart(char *dst, const XmlpNode *node, NameLengths *known)
{
    size_t nameLength = nameLen(node->name, known);
    dst = putMark(dst, "<");
    dst = _copyBytes(dst, node->name, nameLength);
    dst = putAttrs(dst, node->attrs);
    if (isEmpty(node)) {
        return putMark(dst, "/>");
    }
    dst = putMark(dst, ">");
    if (!hasValue(node)) {
        return dst;
    }
    dst = putValue(dst, node);
    return putEndTag(dst, node->name, nameLength);
}

static char *putEnd(char *dst, const XmlpNode *node, NameLengths *known)
{
    return putEndTag(dst, node->name, nameLen(node->name, known));
}

char *_tree2Xml(const XmlpNode *node, char *dst)
{
    if (dst == nullptr) {
        XMLP_ERROR(200, "buf is null.");
        return nullptr;
    }
    if (node == nullptr) {
        return dst;
    }
    NameLengths known = {};
    Walk walk = {node, node, 0, false};
    do {
        dst = walk.leaving ? putEnd(dst, walk.node, &known) : putStart(dst, walk.node, &known);
    } while (advance(&walk));
    return dst;
}

char *_tree2FormatXml(const XmlpNode *node, char *dst, uint32_t level)
{
    if (dst == nullptr) {
        XMLP_ERROR(286, "buf is null.");
        return nullptr;
    }
    if (node == nullptr) {
        return dst;
    }
    NameLengths known = {};
    Walk walk = {node, node, level, false};
    do {
        dst = putIndent(dst, walk.level);
        dst = walk.leaving ? putEnd(dst, walk.node, &known) : putStart(dst, walk.node, &known);
        dst = putMark(dst, "\n");
    } while (advance(&walk));
    return dst;
}

/* ---- Documents ----------------------------------------------------------------------------- */

static const XmlpNode *firstElement(const XmlpTree *tree)
{
    return tree->root != nullptr ? tree->root->firstChild : nullptr;
}

static uint64_t documentLen(const XmlpTree *tree, bool compact)
{
    uint64_t total = tree->headerLen;
    if (!compact && tree->headerLen != 0) {
        total++;
    }
    for (const XmlpNode *node = firstElement(tree); node != nullptr; node = node->next) {
        total += compact ? _treeLen(node) : _formatLen(node, 0);
    }
    return total;
}

static char *putDocument(char *dst, const XmlpTree *tree, bool compact)
{
    if (tree->headerLen != 0) {
        memcpy(dst, tree->header, tree->headerLen);
        dst = putText(dst + tree->headerLen, compact ? "" : "\n");
    }
    for (const XmlpNode *node = firstElement(tree); node != nullptr; node = node->next) {
        dst = compact ? _tree2Xml(node, dst) : _tree2FormatXml(node, dst, 0);
    }
    return dst;
}

char *xmlp_tree2Xml(const XmlpDoc *doc, int compact, uint32_t *pLen)
{
    if (doc == nullptr || pLen == nullptr) {
        XMLP_ERROR(1757, "invalid params.");
        return nullptr;
    }
    uint64_t length = documentLen(doc->tree, compact != 0);
    bool fits = length < UINT32_MAX;
    *pLen = fits ? static_cast<uint32_t>(length) : UINT32_MAX;
    char *text = fits ? static_cast<char *>(malloc(static_cast<size_t>(length) + 1)) : nullptr;
    if (text == nullptr) {
        XMLP_ERROR(1789, "malloc failed.");
        return nullptr;
    }
    *putDocument(text, doc->tree, compact != 0) = '\0';
    return text;
}

char *xmlp_dumpDoc(XmlpDoc *doc, int compact, uint32_t *pLen)
{
    if (doc == nullptr || pLen == nullptr) {
        XMLP_ERROR(363, "invalid params.");
        return nullptr;
    }
    _lock(doc);
    char *text = xmlp_tree2Xml(doc, compact, pLen);
    _unLock(doc);
    return text;
}
