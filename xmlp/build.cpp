// The tree builders: a static tree in the areas of its block, a dynamic one out of allocations.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

/* ---- Names and attributes ------------------------------------------------------------------ */

// A string of the tag as the tree keeps it: the pool's, or a copy.
static char *keep(XmlpSlice slice, XmlpNamePool *pool)
{
    return pool != nullptr ? _nextAttrString(pool) : _copyString(slice.bytes, slice.length);
}

// Takes the next record of the attribute area, or allocates one.
static XmlpAttr *newAttr(XmlpAttr **area, bool isStatic)
{
    if (!isStatic) {
        return static_cast<XmlpAttr *>(calloc(1, sizeof(XmlpAttr)));
    }
    XmlpAttr *attr = (*area)++;
    *attr = {};
    return attr;
}

static int fault(int line, const char *text)
{
    _xmlp_report("_getNameAttr", line, "%s", text);
    return -1;
}

// Appends the tag's attributes to the node's empty list.
static int buildAttrs(XmlpTagReader *reader, XmlpNode *node, XmlpAttr **area, XmlpNamePool *pool,
                      XmlpAttrNames *names)
{
    XmlpAttr *last = nullptr;
    XmlpSlice name;
    XmlpSlice value;
    int more;
    while ((more = _readTagAttr(reader, &name, &value)) > 0) {
        int existed = _addAttrName(names, node->attrs, name.bytes, name.length);
        if (existed > 0) {
            _refuseAt(name.bytes);
            return fault(690, "attr name existed.");
        }
        if (existed < 0) {
            return -1;
        }
        XmlpAttr *attr = newAttr(area, pool != nullptr);
        if (attr == nullptr) {
            return fault(last == nullptr ? 672 : 771, "malloc failed.");
        }
        // The list owns it now; -fanalyzer loses sight of it and takes it for leaked.
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
    if (more < 0) {
        _refuseAt(reader->p);
    }
    return more;
}

int _getNameAttr(const char *text, const XmlpElement *element, XmlpNode *node, XmlpAttr **attrsOut,
                 uint32_t isStatic, XmlpNamePool *pool)
{
    if (text == nullptr || element == nullptr || node == nullptr ||
        (isStatic != 0 && attrsOut == nullptr)) {
        return fault(621, "invalid params.");
    }
    if (isStatic != 0 && pool == nullptr) {
        return fault(626, "invalid params.");
    }
    node->name = isStatic != 0 ? _nameAt(pool, element->place)
                               : _copyString(text + element->name, element->nameLength);
    if (node->name == nullptr) {
        return fault(645, "malloc failed.");
    }
    if (element->isBare) {
        return 0;
    }
    XmlpTagReader reader = _readerOf(text, element);
    XmlpAttrNames names = {};
    int status = buildAttrs(&reader, node, attrsOut, isStatic != 0 ? pool : nullptr, &names);
    free(names.entries);
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
    bool isItem = node->name != nullptr && node->name[0] == _xmlp_itemName[0] &&
                  strcmp(node->name, _xmlp_itemName) == 0;
    XmlpNode *parent = node->parent;
    if (isItem && parent->type == XMLP_NODE_STRUCT) {
        XMLP_ERROR(822, "single element is named item.");
        return -1;
    }
    if (!isItem && parent->type == XMLP_NODE_LIST) {
        XMLP_ERROR(840, "tag name is not item.");
        return -1;
    }
    if (parent->name != nullptr) { // the document node stays untyped
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
    int parentLine; // an element whose parent is not open
    int endLine;    // an end before its beginning
    int valueLine;
    const char *text;
    XmlpNamePool *pool; // null for a dynamic tree
    char *values;
    XmlpAttr *attrs;
};
} // namespace

// The text between the tags of a leaf; none elsewhere.
static XmlpSlice textOf(const char *text, const XmlpElement *element)
{
    if (!element->isLeaf || element->end == 0) {
        return {text, 0};
    }
    uint32_t from = element->close + 1;
    return {text + from, element->end - from};
}

uint32_t _valueLength(const char *text, const XmlpElement *element)
{
    XmlpSlice slice = textOf(text, element);
    return element->hasEntity ? xmlp_unTransStrLen(slice.bytes, slice.length) : slice.length;
}

// Gives a leaf the text between its tags.
static int takeValue(Builder *builder, const XmlpElement *element, XmlpNode *node)
{
    XmlpSlice slice = textOf(builder->text, element);
    if (slice.length == 0) {
        return 0;
    }
    uint32_t size = _valueLength(builder->text, element);
    if (size == 0) {
        _refuseAt(_badEntity(slice.bytes, slice.length));
        _xmlp_report(builder->name, builder->valueLine, "invalid value.");
        return -1;
    }
    char *value = builder->values;
    if (builder->pool != nullptr) {
        builder->values += size;
    } else {
        value = static_cast<char *>(malloc(size));
        if (value == nullptr) {
            return -1;
        }
    }
    if (element->hasEntity) {
        xmlp_unTransStr(value, slice.bytes, slice.length);
    } else {
        memcpy(value, slice.bytes, size);
    }
    node->value = reinterpret_cast<unsigned char *>(value);
    node->valueSize = size;
    if (node->type == XMLP_NODE_NONE) {
        node->type = XMLP_NODE_VALUE;
    }
    return 0;
}

// Makes the node of an element that was linked complete.
static int fillNode(Builder *builder, const XmlpElement *element, XmlpNode *node)
{
    uint32_t isStatic = builder->pool != nullptr ? 1 : 0;
    if (_getNameAttr(builder->text, element, node, &builder->attrs, isStatic, builder->pool) != 0) {
        return -1;
    }
    if (_setType(node, isStatic) != 0) {
        _refuseAt(builder->text + element->name);
        return -1;
    }
    return takeValue(builder, element, node);
}

static int fault(const Builder *builder, int line)
{
    _xmlp_report(builder->name, line, "error xml tag.");
    return -1;
}

// Builds the nodes of all elements below root. nodes holds the records of a static tree.
static int buildTree(Builder *builder, const XmlpElementList *list, XmlpNode *root, XmlpNode *nodes)
{
    XmlpNode *open = root; // the innermost node that the next element may lie in
    uint32_t number = 0;   // of its element
    for (uint32_t i = 0; i < list->count; i++) {
        const XmlpElement *element = &list->items[i];
        while (number != element->parent && number != 0) {
            number = list->items[number - 1].parent;
            open = open->parent;
        }
        if (number != element->parent) {
            return fault(builder, builder->parentLine);
        }
        if (element->end != 0 && element->end <= element->close) {
            return fault(builder, builder->endLine);
        }
        XmlpNode *node = nodes != nullptr ? &nodes[i] : xmlp_initNode();
        if (node == nullptr) {
            return -1;
        }
        if (nodes != nullptr) {
            *node = {};
        }
        xmlp_insNodeLast(node, open);
        if (fillNode(builder, element, node) != 0) {
            return -1;
        }
        open = node;
        number = i + 1;
    }
    return 0;
}

XmlpNode *_makeStree(const char *text, const XmlpElementList *list, XmlpNamePool *pool,
                     char *values, XmlpAttr *attrs, XmlpNode *nodes)
{
    if (text == nullptr || list == nullptr || pool == nullptr || values == nullptr ||
        attrs == nullptr || nodes == nullptr) {
        XMLP_ERROR(877, "invalid params.");
        return nullptr;
    }
    Builder builder = {__func__, 893, 975, 904, text, pool, values, attrs};
    nodes[0] = {};
    return buildTree(&builder, list, &nodes[0], &nodes[1]) == 0 ? &nodes[0] : nullptr;
}

XmlpNode *_makeDtree(const char *text, const XmlpElementList *list)
{
    if (text == nullptr || list == nullptr) {
        XMLP_ERROR(1144, "invalid params.");
        return nullptr;
    }
    Builder builder = {__func__, 1162, 1162, 1180, text, nullptr, nullptr, nullptr};
    XmlpNode *root = xmlp_initNode();
    if (root != nullptr && buildTree(&builder, list, root, nullptr) != 0) {
        xmlp_delDtree(root);
        root = nullptr;
    }
    return root;
}
