// From the tree back to text. One pass over the tree adds up the exact length, a second one
// writes; neither recurses, so no depth of tree can exhaust the stack.

#include "xmlp/words.h"
#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

/* ---- Walk ---------------------------------------------------------------------------------- */

// Enters an element and all below it, in the order in which the lists lead, and leaves again each
// that has children. visit(node, level, leaving) returns whether to go on. A node that was linked
// a second time names one parent only, so the way back is kept here. Returns 0, or -1 when it was
// stopped or memory is short.
template <typename Visit> static int walk(const XmlpNode *top, uint32_t level, Visit visit)
{
    const XmlpNode **open = nullptr;
    size_t depth = 0;
    size_t capacity = 0;
    const XmlpNode *node = top;
    bool leaving = false;
    bool going = visit(node, level, leaving);
    while (going && !(depth == 0 && (leaving || node->firstChild == nullptr))) {
        if (!leaving && node->firstChild != nullptr) {
            if (depth == capacity) {
                capacity = capacity == 0 ? 64 : 2 * capacity;
                auto *grown = static_cast<const XmlpNode **>(
                    realloc(open, capacity * sizeof(const XmlpNode *)));
                if (grown == nullptr) {
                    going = false;
                    break;
                }
                open = grown;
            }
            open[depth++] = node;
            node = node->firstChild;
        } else if (node->next != nullptr) {
            node = node->next;
            leaving = false;
        } else {
            node = open[--depth];
            leaving = true;
        }
        going = visit(node, level + static_cast<uint32_t>(depth), leaving);
    }
    free(open);
    return going ? 0 : -1;
}

/* ---- Lengths ------------------------------------------------------------------------------- */

static size_t textLen(const char *text)
{
    return text != nullptr ? strlen(text) : 0;
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

static inline uint64_t nodeLen(const XmlpNode *node)
{
    const uint64_t name = textLen(node->name);
    const uint64_t attrs = node->attrs != nullptr ? _attrsLen(node->attrs) : 0;
    if (isEmpty(node)) {
        return name + attrs + strlen("</>");
    }
    return 2 * name + attrs + strlen("<></>") + (hasValue(node) ? escapedLen(node) : 0);
}

uint64_t _nodeLen(const XmlpNode *node)
{
    return node != nullptr ? nodeLen(node) : 0;
}

static uint64_t indentLen(uint32_t level)
{
    return uint64_t{2} * level;
}

// The length of the text of an element and all below it. Stops adding where the sum does not fit a
// length, and gives UINT64_MAX when it had to stop.
static uint64_t lengthOf(const XmlpNode *top, uint32_t topLevel, bool isFormatted)
{
    uint64_t total = 0;
    if (top == nullptr) {
        return total;
    }
    int status = walk(top, topLevel, [&](const XmlpNode *node, uint32_t level, bool leaving) {
        total += leaving ? 0 : nodeLen(node);
        total += isFormatted ? indentLen(level) + 1 : 0; // a line for entering, one for leaving
        return total < UINT32_MAX;
    });
    return status == 0 ? total : UINT64_MAX;
}

uint64_t _treeLen(const XmlpNode *node)
{
    return lengthOf(node, 0, false);
}

uint64_t _formatLen(const XmlpNode *node, uint32_t level)
{
    return lengthOf(node, level, true);
}

/* ---- Writing ------------------------------------------------------------------------------- */

static char *putText(char *dst, const char *text)
{
    return _copyBytes(dst, text, textLen(text));
}

template <size_t size> static char *putLiteral(char *dst, const char (&literal)[size])
{
    memcpy(dst, literal, size - 1);
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
        dst = putLiteral(dst, " ");
        dst = putText(dst, attr->name);
        dst = putLiteral(dst, "=\"");
        dst = putText(dst, attr->value);
        dst = putLiteral(dst, "\"");
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
    dst = putLiteral(dst, "</");
    dst = _copyBytes(dst, name, length);
    return putLiteral(dst, ">");
}

// The start tag and, of an element without children, all the rest.
static char *putStart(char *dst, const XmlpNode *node)
{
    size_t nameLength = textLen(node->name);
    dst = putLiteral(dst, "<");
    dst = _copyBytes(dst, node->name, nameLength);
    dst = putAttrs(dst, node->attrs);
    if (isEmpty(node)) {
        return putLiteral(dst, "/>");
    }
    dst = putLiteral(dst, ">");
    if (!hasValue(node)) {
        return dst;
    }
    dst = putValue(dst, node);
    return putEndTag(dst, node->name, nameLength);
}

// Writes that text. Returns the position behind it, or null without memory.
static char *write(const XmlpNode *top, char *dst, uint32_t topLevel, bool isFormatted)
{
    if (top == nullptr) {
        return dst;
    }
    int status = walk(top, topLevel, [&](const XmlpNode *node, uint32_t level, bool leaving) {
        dst = isFormatted ? putIndent(dst, level) : dst;
        dst = leaving ? putEndTag(dst, node->name, textLen(node->name)) : putStart(dst, node);
        dst = isFormatted ? putLiteral(dst, "\n") : dst;
        return true;
    });
    return status == 0 ? dst : nullptr;
}

char *_tree2Xml(const XmlpNode *node, char *dst)
{
    if (dst == nullptr) {
        XMLP_ERROR(200, "buf is null.");
        return nullptr;
    }
    return write(node, dst, 0, false);
}

char *_tree2FormatXml(const XmlpNode *node, char *dst, uint32_t level)
{
    if (dst == nullptr) {
        XMLP_ERROR(286, "buf is null.");
        return nullptr;
    }
    return write(node, dst, level, true);
}

/* ---- Documents ----------------------------------------------------------------------------- */

static const XmlpNode *firstElement(const XmlpTree *tree)
{
    return tree->root != nullptr ? tree->root->firstChild : nullptr;
}

// UINT32_MAX or more when it does not fit or memory is short.
static uint64_t documentLen(const XmlpTree *tree, bool compact)
{
    uint64_t total = tree->headerLen;
    if (!compact && tree->headerLen != 0) {
        total++;
    }
    for (const XmlpNode *node = firstElement(tree); node != nullptr && total < UINT32_MAX;
         node = node->next) {
        uint64_t length = lengthOf(node, 0, !compact);
        total = length < UINT32_MAX ? total + length : UINT32_MAX;
    }
    return total;
}

// Null without memory.
static char *putDocument(char *dst, const XmlpTree *tree, bool compact)
{
    if (tree->headerLen != 0) {
        memcpy(dst, tree->header, tree->headerLen);
        dst = putText(dst + tree->headerLen, compact ? "" : "\n");
    }
    for (const XmlpNode *node = firstElement(tree); node != nullptr && dst != nullptr;
         node = node->next) {
        dst = write(node, dst, 0, !compact);
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
    char *end = text != nullptr ? putDocument(text, doc->tree, compact != 0) : nullptr;
    if (end == nullptr) {
        free(text);
        XMLP_ERROR(1789, "malloc failed.");
        return nullptr;
    }
    *end = '\0';
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
