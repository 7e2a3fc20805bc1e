// From the tree back to text. Two passes over the tree, one that adds up the exact length and one
// that writes, run the same code; it does not recurse, so no depth of tree can exhaust the stack.

#include "xmlp/words.h"
#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

namespace
{
struct Counter {
    uint64_t length;
};

struct Writer {
    char *dst;
};

// An element around the current one.
struct Open {
    const XmlpNode *node;
    size_t nameLength;
};
} // namespace

static inline void put(Counter *counter, const char *, size_t length)
{
    counter->length += length;
}

static inline void put(Writer *writer, const char *bytes, size_t length)
{
    writer->dst = _copyBytes(writer->dst, bytes, length);
}

static inline void putIndent(Counter *counter, uint32_t level)
{
    counter->length += uint64_t{2} * level;
}

static inline void putIndent(Writer *writer, uint32_t level)
{
    const size_t length = size_t{2} * level;
    memset(writer->dst, ' ', length);
    writer->dst += length;
}

static inline void putEscaped(Counter *counter, const char *text, uint32_t length)
{
    counter->length += _escapedLen(text, length);
}

static inline void putEscaped(Writer *writer, const char *text, uint32_t length)
{
    writer->dst = xmlp_transStr(writer->dst, text, length);
}

// Puts a value. A short one is mostly written as it is.
template <typename Output> static inline void putValue(Output *out, const XmlpNode *node)
{
    const auto *text = reinterpret_cast<const char *>(node->value);
    if (node->valueSize <= 256 && !_needEntity(text, node->valueSize)) {
        put(out, text, node->valueSize);
    } else {
        putEscaped(out, text, node->valueSize);
    }
}

static inline bool isFull(const Counter *counter)
{
    return counter->length >= UINT32_MAX;
}

static inline bool isFull(const Writer *)
{
    return false;
}

template <size_t size> static inline void putLiteral(Counter *counter, const char (&)[size])
{
    counter->length += size - 1;
}

template <size_t size> static inline void putLiteral(Writer *writer, const char (&literal)[size])
{
    memcpy(writer->dst, literal, size - 1);
    writer->dst += size - 1;
}

static size_t textLen(const char *text)
{
    return text != nullptr ? strlen(text) : 0;
}

template <typename Output> static void putAttrs(Output *out, const XmlpAttr *attr)
{
    for (; attr != nullptr; attr = attr->next) {
        putLiteral(out, " ");
        put(out, attr->name, textLen(attr->name));
        putLiteral(out, "=\"");
        put(out, attr->value, textLen(attr->value));
        putLiteral(out, "\"");
    }
}

template <typename Output>
static void putEndTag(Output *out, const XmlpNode *node, size_t nameLength)
{
    putLiteral(out, "</");
    put(out, node->name, nameLength);
    putLiteral(out, ">");
}

// The start tag and, of an element without children, all the rest. A value is written only where
// there are no children. Returns the length of the name.
template <typename Output> static size_t putStart(Output *out, const XmlpNode *node)
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
template <typename Output>
static int putTree(Output *out, const XmlpNode *node, uint32_t level, bool isFormatted)
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
        if (isFull(out)) {
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

template <typename Output> static int putDocument(Output *out, const XmlpTree *tree, bool compact)
{
    const auto *header = reinterpret_cast<const char *>(tree->header);
    put(out, header, tree->headerLen);
    put(out, "\n", !compact && tree->headerLen != 0 ? 1 : 0);
    int status = isFull(out) ? -1 : 0;
    const XmlpNode *node = tree->root != nullptr ? tree->root->firstChild : nullptr;
    for (; node != nullptr && status == 0; node = node->next) {
        status = putTree(out, node, 0, !compact);
    }
    return status;
}

uint64_t _attrsLen(const XmlpAttr *attr)
{
    Counter counter = {};
    putAttrs(&counter, attr);
    return counter.length;
}

uint64_t _nodeLen(const XmlpNode *node)
{
    Counter counter = {};
    if (node != nullptr) {
        const size_t nameLength = putStart(&counter, node);
        if (node->firstChild != nullptr) {
            putEndTag(&counter, node, nameLength);
        }
    }
    return counter.length;
}

// UINT64_MAX when it does not fit a length or memory is short.
static uint64_t lengthOf(const XmlpNode *node, uint32_t level, bool isFormatted)
{
    Counter counter = {};
    const bool isDone = node == nullptr || putTree(&counter, node, level, isFormatted) == 0;
    return isDone ? counter.length : UINT64_MAX;
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
    Writer writer = {dst};
    const bool isDone = node == nullptr || putTree(&writer, node, level, isFormatted) == 0;
    return isDone ? writer.dst : nullptr;
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
    Counter counter = {};
    const bool isCounted = putDocument(&counter, doc->tree, compact != 0) == 0;
    *pLen = isCounted ? static_cast<uint32_t>(counter.length) : UINT32_MAX;
    char *text = isCounted ? static_cast<char *>(malloc(size_t{*pLen} + 1)) : nullptr;
    Writer writer = {text};
    if (text == nullptr || putDocument(&writer, doc->tree, compact != 0) != 0) {
        free(text);
        XMLP_ERROR(1789, "malloc failed.");
        return nullptr;
    }
    *writer.dst = '\0';
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
