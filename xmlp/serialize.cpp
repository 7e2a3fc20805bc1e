// From the tree back to text. Two passes over the tree, one that adds up the exact length and one
// that writes, run the same code; it does not recurse, so no depth of tree can exhaust the stack.

#include "xmlp/words.h"
#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

namespace
{
// Where the text goes, or how long it is.
template <bool isWriting> struct Output {
    char *dst;
    uint64_t length;
};

// An element around the current one.
struct Open {
    const XmlpNode *node;
    size_t nameLength;
};
} // namespace

template <bool isWriting>
static inline void put(Output<isWriting> *out, const char *bytes, size_t length)
{
    if (isWriting) {
        out->dst = _copyBytes(out->dst, bytes, length);
    } else {
        out->length += length;
    }
}

template <bool isWriting, size_t size>
static inline void putLiteral(Output<isWriting> *out, const char (&literal)[size])
{
    put(out, literal, size - 1);
}

template <bool isWriting> static void putIndent(Output<isWriting> *out, uint32_t level)
{
    const uint64_t length = uint64_t{2} * level;
    if (isWriting) {
        memset(out->dst, ' ', static_cast<size_t>(length));
        out->dst += length;
    } else {
        out->length += length;
    }
}

// Puts a value. A short one is mostly written as it is.
template <bool isWriting> static inline void putValue(Output<isWriting> *out, const XmlpNode *node)
{
    const auto *text = reinterpret_cast<const char *>(node->value);
    if (node->valueSize <= 256 && !_needEntity(text, node->valueSize)) {
        put(out, text, node->valueSize);
    } else if (isWriting) {
        out->dst = xmlp_transStr(out->dst, text, node->valueSize);
    } else {
        out->length += _escapedLen(text, node->valueSize);
    }
}

static size_t textLen(const char *text)
{
    return text != nullptr ? strlen(text) : 0;
}

template <bool isWriting> static void putAttrs(Output<isWriting> *out, const XmlpAttr *attr)
{
    for (; attr != nullptr; attr = attr->next) {
        putLiteral(out, " ");
        put(out, attr->name, textLen(attr->name));
        putLiteral(out, "=\"");
        put(out, attr->value, textLen(attr->value));
        putLiteral(out, "\"");
    }
}

template <bool isWriting>
static void putEndTag(Output<isWriting> *out, const XmlpNode *node, size_t nameLength)
{
    putLiteral(out, "</");
    put(out, node->name, nameLength);
    putLiteral(out, ">");
}

// The start tag and, of an element without children, all the rest. A value is written only where
// there are no children. Returns the length of the name.
template <bool isWriting> static size_t putStart(Output<isWriting> *out, const XmlpNode *node)
{
    const size_t nameLength = textLen(node->name);
    const bool hasValue = node->value != nullptr && node->valueSize != 0;
    putLiteral(out, "<");
    put(out, node->name, nameLength);
    putAttrs(out, node->attrs);
    if (node->firstChild != nullptr) {
        putLiteral(out, ">");
    } else if (hasValue) {
        putLiteral(out, ">");
        putValue(out, node);
        putEndTag(out, node, nameLength);
    } else {
        putLiteral(out, "/>");
    }
    return nameLength;
}

// The element and all below it, in the order in which the lists lead. A node that was linked a
// second time names one parent only, so the way back is kept here. 0, or -1 when the text gets too
// long or memory is short.
template <bool isWriting>
static int putTree(Output<isWriting> *out, const XmlpNode *node, uint32_t level, bool isFormatted)
{
    Open *open = nullptr;
    size_t depth = 0;
    size_t capacity = 0;
    bool isLeaving = false;
    int status = -1;
    for (;;) {
        size_t nameLength = 0;
        if (isFormatted) {
            putIndent(out, level + static_cast<uint32_t>(depth));
        }
        if (isLeaving) {
            putEndTag(out, node, open[depth].nameLength);
        } else {
            nameLength = putStart(out, node);
        }
        if (isFormatted) {
            putLiteral(out, "\n");
        }
        if (!isWriting && out->length >= UINT32_MAX) {
            break;
        }
        if (!isLeaving && node->firstChild != nullptr) {
            if (depth == capacity) {
                capacity = capacity == 0 ? 64 : 2 * capacity;
                void *grown = realloc(open, capacity * sizeof(*open));
                if (grown == nullptr) {
                    break;
                }
                open = static_cast<Open *>(grown);
            }
            open[depth++] = {node, nameLength};
            node = node->firstChild;
        } else if (depth == 0) {
            status = 0;
            break;
        } else {
            isLeaving = node->next == nullptr;
            node = isLeaving ? open[--depth].node : node->next;
        }
    }
    free(open);
    return status;
}

template <bool isWriting>
static int putDocument(Output<isWriting> *out, const XmlpTree *tree, bool compact)
{
    const auto *header = reinterpret_cast<const char *>(tree->header);
    put(out, header, tree->headerLen);
    put(out, "\n", !compact && tree->headerLen != 0 ? 1 : 0);
    int status = !isWriting && out->length >= UINT32_MAX ? -1 : 0;
    const XmlpNode *node = tree->root != nullptr ? tree->root->firstChild : nullptr;
    for (; node != nullptr && status == 0; node = node->next) {
        status = putTree(out, node, 0, !compact);
    }
    return status;
}

uint64_t _attrsLen(const XmlpAttr *attr)
{
    Output<false> out = {};
    putAttrs(&out, attr);
    return out.length;
}

uint64_t _nodeLen(const XmlpNode *node)
{
    Output<false> out = {};
    if (node != nullptr) {
        const size_t nameLength = putStart(&out, node);
        if (node->firstChild != nullptr) {
            putEndTag(&out, node, nameLength);
        }
    }
    return out.length;
}

// UINT64_MAX when it does not fit a length or memory is short.
static uint64_t lengthOf(const XmlpNode *node, uint32_t level, bool isFormatted)
{
    Output<false> out = {};
    const bool isDone = node == nullptr || putTree(&out, node, level, isFormatted) == 0;
    return isDone ? out.length : UINT64_MAX;
}

uint64_t _treeLen(const XmlpNode *node)
{
    return lengthOf(node, 0, false);
}

uint64_t _formatLen(const XmlpNode *node, uint32_t level)
{
    return lengthOf(node, level, true);
}

// Null without memory.
static char *write(const XmlpNode *node, char *dst, uint32_t level, bool isFormatted)
{
    Output<true> out = {dst, 0};
    const bool isDone = node == nullptr || putTree(&out, node, level, isFormatted) == 0;
    return isDone ? out.dst : nullptr;
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

char *xmlp_tree2Xml(const XmlpDoc *doc, int compact, uint32_t *pLen)
{
    if (doc == nullptr || pLen == nullptr) {
        XMLP_ERROR(1757, "invalid params.");
        return nullptr;
    }
    Output<false> counted = {};
    const bool isCounted = putDocument(&counted, doc->tree, compact != 0) == 0;
    *pLen = isCounted ? static_cast<uint32_t>(counted.length) : UINT32_MAX;
    char *text = isCounted ? static_cast<char *>(malloc(size_t{*pLen} + 1)) : nullptr;
    Output<true> out = {text, 0};
    if (text == nullptr || putDocument(&out, doc->tree, compact != 0) != 0) {
        free(text);
        XMLP_ERROR(1789, "malloc failed.");
        return nullptr;
    }
    *out.dst = '\0';
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
