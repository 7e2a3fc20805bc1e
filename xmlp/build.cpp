// The tree builders: a static tree in the areas of its block, a dynamic one out of allocations.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

/* ---- Names and attributes ------------------------------------------------------------------ */

// A string of the tag as the tree keeps it: the pool's, or a copy.
static char *keep(XmlpSlice slice, const XmlpNamePool *pool)
{
    return pool != nullptr ? _findName(pool, slice.bytes, slice.length)
                           : _copyString(slice.bytes, slice.length);
}

// Takes the next record of the attribute area, or allocates one.
static XmlpAttr *newAttr(XmlpAttr **area, bool isStatic)
{
    return isStatic ? (*area)++ : static_cast<XmlpAttr *>(calloc(1, sizeof(XmlpAttr)));
}

static int fault(int line, const char *text)
{
    _xmlp_report("_getNameAttr", line, "%s", text);
    return -1;
}

// Appends the tag's attributes to the node's empty list.
static int buildAttrs(XmlpTagReader *reader, XmlpNode *node, XmlpAttr **area,
                      const XmlpNamePool *pool, XmlpAttrNames *names)
{
    XmlpAttr *last = nullptr;
    XmlpSlice name;
    XmlpSlice value;
    int more;
    while ((more = _readTagAttr(reader, &name, &value)) > 0) {
        int existed = _addAttrName(names, node->attrs, name.bytes, name.length);
        if (existed != 0) {
            return existed > 0 ? fault(690, "attr name existed.") : -1;
        }
        XmlpAttr *attr = newAttr(area, pool != nullptr);
        if (attr == nullptr) {
            return fault(last == nullptr ? 672 : 771, "malloc failed.");
        }
        if (last == nullptr) {
            node->attrs = attr;
        } else {
            last->next = attr;
        }
        last = attr;
        attr->name = keep(name, pool);
        if (attr->name == nullptr) {
            return fault(708, "malloc failed.");
        }
        if (value.length > 0) {
            attr->value = keep(value, pool);
            if (attr->value == nullptr) {
                return fault(744, "malloc failed.");
            }
        }
    }
    return more;
}

int _getNameAttr(const char *tag, char terminator, XmlpNode *node, XmlpAttr **attrsOut,
                 uint32_t isStatic, const XmlpNamePool *pool)
{
    if (tag == nullptr || node == nullptr || (isStatic != 0 && attrsOut == nullptr)) {
        return fault(621, "invalid params.");
    }
    if (isStatic != 0 && pool == nullptr) {
        return fault(626, "invalid params.");
    }
    pool = isStatic != 0 ? pool : nullptr;
    XmlpTagReader reader = {tag, terminator};
    node->name = keep(_readTagName(&reader), pool);
    if (node->name == nullptr) {
        return fault(645, "malloc failed.");
    }
    XmlpAttrNames names = {};
    int status = buildAttrs(&reader, node, attrsOut, pool, &names);
    _freePairMap(&names.tree);
    if (status != 0 && isStatic == 0) {
        _freeAttrList(node->attrs);
        node->attrs = nullptr;
    }
    return status;
}

/* ---- Types --------------------------------------------------------------------------------- */

int _setType(XmlpNode *node, uint32_t isStatic)
{
    if (node == nullptr || node->parent == nullptr) {
        XMLP_ERROR(811, "invalid params.");
        return -1;
    }
    bool isItem = node->name != nullptr && strcmp(node->name, _xmlp_itemName) == 0;
    XmlpNode *parent = node->parent;
    if (isItem && parent->type == XMLP_NODE_STRUCT) {
        XMLP_ERROR(822, "single element is named item.");
        return -1;
    }
    if (!isItem && parent->type == XMLP_NODE_LIST) {
        XMLP_ERROR(840, "tag name is not item.");
        return -1;
    }
    if (parent->parent != nullptr) { // the document node stays untyped
        parent->type = isItem ? XMLP_NODE_LIST : XMLP_NODE_STRUCT;
    }
    if (isItem) {
        node->type = XMLP_NODE_ITEM;
        if (isStatic == 0) {
            _freeNodeName(node);
            node->name = _xmlp_itemName;
        }
    }
    return 0;
}

/* ---- Trees --------------------------------------------------------------------------------- */

namespace
{
// Where the parts of a tree come from, and how its builder reports faults.
struct Builder {
    const char *name;
    int tagLine;   // "<" inside a tag
    int closeLine; // ">" outside of one, or an end tag too many
    int valueLine;
    const XmlpNamePool *pool; // null for a dynamic tree
    char *values;
    XmlpAttr *attrs;
    XmlpNode *nodes;
};
} // namespace

static XmlpNode *newNode(Builder *builder)
{
    return builder->pool != nullptr ? builder->nodes++ : xmlp_initNode();
}

// Adds an element, whose tag is given, as the last child of parent. Returns it, or null.
static XmlpNode *addElement(Builder *builder, XmlpNode *parent, const char *tag, char terminator)
{
    uint32_t isStatic = builder->pool != nullptr ? 1 : 0;
    XmlpNode *node = newNode(builder);
    if (node == nullptr) {
        return nullptr;
    }
    xmlp_insNodeLast(node, parent);
    if (_getNameAttr(tag, terminator, node, &builder->attrs, isStatic, builder->pool) != 0 ||
        _setType(node, isStatic) != 0) {
        return nullptr;
    }
    return node;
}

// Gives a leaf the text between its tags.
static int takeValue(Builder *builder, XmlpNode *node, const char *text, uint32_t length)
{
    if (length == 0) {
        return 0;
    }
    uint32_t size = xmlp_unTransStrLen(text, length);
    if (size == 0) {
        _xmlp_report(builder->name, builder->valueLine, "invalid value.");
        return -1;
    }
    char *value = builder->values;
    if (builder->pool == nullptr) {
        value = static_cast<char *>(malloc(size));
        if (value == nullptr) {
            return -1;
        }
    } else {
        builder->values += size;
    }
    xmlp_unTransStr(value, text, length);
    node->value = reinterpret_cast<unsigned char *>(value);
    node->valueSize = size;
    if (node->type == XMLP_NODE_NONE) {
        node->type = XMLP_NODE_VALUE;
    }
    return 0;
}

static int fault(const Builder *builder, int line)
{
    _xmlp_report(builder->name, line, "error xml tag.");
    return -1;
}

// Builds all elements of the text below root.
static int buildTree(Builder *builder, XmlpNode *root, const char *text, const char *end)
{
    enum { BETWEEN, START_TAG, END_TAG, IN_TEXT } state = BETWEEN;
    const char *from = nullptr; // where the tag or the text begins
    XmlpNode *open = root;
    for (const char *p = _nextMark(text, end); p < end; p = _nextMark(p + 1, end)) {
        if (*p == '<') {
            if (state == START_TAG || state == END_TAG) {
                return fault(builder, builder->tagLine);
            }
            if (end - p > 1 && p[1] == '/') {
                if (state == IN_TEXT &&
                    takeValue(builder, open, from, static_cast<uint32_t>(p - from)) != 0) {
                    return -1;
                }
                state = END_TAG;
            } else {
                state = START_TAG;
                from = p + 1;
            }
        } else if (state == START_TAG) {
            bool isEmpty = p[-1] == '/';
            XmlpNode *node = addElement(builder, open, from, isEmpty ? '/' : '>');
            if (node == nullptr) {
                return -1;
            }
            open = isEmpty ? open : node;
            state = isEmpty ? BETWEEN : IN_TEXT;
            from = p + 1;
        } else if (state == END_TAG && open != root) {
            open = open->parent;
            state = BETWEEN;
        } else {
            return fault(builder, builder->closeLine);
        }
    }
    return 0;
}

XmlpNode *_makeStree(const char *text, uint32_t length, const XmlpNamePool *pool, char *values,
                     XmlpAttr *attrs, XmlpNode *nodes)
{
    if (text == nullptr || pool == nullptr || values == nullptr || attrs == nullptr ||
        nodes == nullptr) {
        XMLP_ERROR(877, "invalid params.");
        return nullptr;
    }
    Builder builder = {__func__, 893, 975, 904, pool, values, attrs, nodes};
    XmlpNode *root = newNode(&builder);
    return buildTree(&builder, root, text, text + length) == 0 ? root : nullptr;
}

XmlpNode *_makeDtree(const char *text, uint32_t length)
{
    if (text == nullptr) {
        XMLP_ERROR(1144, "invalid params.");
        return nullptr;
    }
    Builder builder = {__func__, 1162, 1162, 1180, nullptr, nullptr, nullptr, nullptr};
    XmlpNode *root = xmlp_initNode();
    if (root != nullptr && buildTree(&builder, root, text, text + length) != 0) {
        xmlp_delDtree(root);
        root = nullptr;
    }
    return root;
}
