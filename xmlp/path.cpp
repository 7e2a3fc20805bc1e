// Paths, and the operations on the single node that a path leads to.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

XmlpNode *xmlp_seekXml(const XmlpDoc *doc, const char *path)
{
    if (doc == nullptr || path == nullptr) {
        XMLP_ERROR(1871, "invalid params.");
        return nullptr;
    }
    if (path[0] != '/') {
        return nullptr;
    }
    XmlpNode *node = doc->tree->root;
    if (path[1] == '\0') {
        return node;
    }
    while (node != nullptr && path[0] == '/') {
        const char *component = path + 1;
        size_t length = strcspn(component, "/");
        node = xmlp_getChildNodeByName(node, component, static_cast<uint32_t>(length));
        path = component + length;
    }
    return node;
}

XmlpNode *_lockNode(const XmlpOperation &operation, XmlpDoc *doc, const char *path)
{
    if (operation.staticXml != 0 && doc->tree->isStatic != 0) {
        _xmlp_report(operation.name, operation.staticXml, "static xml.");
        return nullptr;
    }
    _lock(doc);
    XmlpNode *node = xmlp_seekXml(doc, path);
    if (node == nullptr) {
        if (operation.nodeNotExist != 0) {
            _xmlp_report(operation.name, operation.nodeNotExist, "node not exist.");
        }
    } else if (operation.errorNodeType != 0 && node->type != operation.type &&
               node->type != operation.otherType) {
        _xmlp_report(operation.name, operation.errorNodeType, "error node type.");
    } else {
        return node;
    }
    _unLock(doc);
    return nullptr;
}

template <typename Result> static Result unlocked(XmlpDoc *doc, Result result)
{
    _unLock(doc);
    return result;
}

int _copyNodeValue(XmlpValue *copy, const XmlpNode *node, uint32_t zeros)
{
    copy->size = node->valueSize;
    copy->data = copy->size != 0 ? _copyBytes(node->value, copy->size, zeros) : nullptr;
    return copy->data != nullptr || copy->size == 0 ? 0 : -1;
}

int _addAttrPairs(XmlpNode *node, const XmlpAttrPair *pairs, uint32_t count)
{
    int status = pairs != nullptr || count == 0 ? 0 : -1;
    for (uint32_t i = 0; status == 0 && i < count; i++) {
        status = xmlp_addNodeAttr(node, pairs[i].name, pairs[i].value);
    }
    return status;
}

int xmlp_isExist(const XmlpDoc *doc, const char *path)
{
    if (doc == nullptr || path == nullptr) {
        XMLP_ERROR(388, "invalid params.");
        return 0;
    }
    return xmlp_seekXml(doc, path) != nullptr;
}

XmlpValue *xmlp_getValue(XmlpDoc *doc, const char *path)
{
    const XmlpNode *node =
        _openPath({__func__, 420, 0, 428, 433, 0, 0, XMLP_NODE_VALUE}, doc, path, true);
    if (node == nullptr) {
        return nullptr;
    }
    auto *value = static_cast<XmlpValue *>(malloc(sizeof(XmlpValue)));
    if (value == nullptr) {
        XMLP_ERROR(440, "malloc failed.");
    } else if (_copyNodeValue(value, node, 1) != 0) {
        XMLP_ERROR(448, "malloc failed.");
        free(value);
        value = nullptr;
    }
    _unLock(doc);
    return value;
}

int xmlp_setValue(XmlpDoc *doc, const char *path, const void *value, uint32_t valueSize)
{
    XmlpNode *node = _openPath(
        {__func__, 484, 489, 496, 502, 0, 0, XMLP_NODE_VALUE, XMLP_NODE_VALUE}, doc, path, true);
    return node != nullptr ? unlocked(doc, xmlp_setNodeValue(node, value, valueSize)) : -1;
}

int xmlp_setName(XmlpDoc *doc, const char *path, const char *name)
{
    XmlpNode *node = _openPath({__func__, 530, 535, 542}, doc, path, name != nullptr);
    return node != nullptr ? unlocked(doc, xmlp_setNodeName(node, name)) : -1;
}

static int fillNode(XmlpNode *node, const char *name, const XmlpValue *value,
                    const XmlpAttrPair *attrs, uint32_t attrCount)
{
    if (xmlp_setNodeName(node, name) != 0 ||
        (value != nullptr && xmlp_setNodeValue(node, value->data, value->size) != 0)) {
        return -1;
    }
    node->type = value != nullptr ? XMLP_NODE_VALUE : XMLP_NODE_NONE;
    return _addAttrPairs(node, attrs, attrCount);
}

int xmlp_add(XmlpDoc *doc, const char *path, uint32_t position, const char *name,
             const XmlpValue *value, const XmlpAttrPair *attrs, uint32_t attrCount)
{
    XmlpNode *parent = _openPath({__func__, 579, 584, 591, 601, 0, 0, XMLP_NODE_STRUCT}, doc, path,
                                 name != nullptr && (attrs != nullptr || attrCount == 0));
    if (parent == nullptr) {
        return -1;
    }
    parent->type = XMLP_NODE_STRUCT;
    XmlpNode *node = xmlp_initNode();
    bool added = node != nullptr && fillNode(node, name, value, attrs, attrCount) == 0 &&
                 xmlp_addChildNode(node, parent, position) == 0;
    if (!added && node != nullptr) {
        xmlp_delNode(node);
    }
    return unlocked(doc, added ? 0 : -1);
}

uint32_t xmlp_getChildCount(XmlpDoc *doc, const char *path)
{
    const XmlpNode *node = _openPath({__func__, 690, 0, 697}, doc, path, true);
    return node != nullptr ? unlocked(doc, xmlp_getChildNodeCount(node)) : 0;
}

int xmlp_delete(XmlpDoc *doc, const char *path)
{
    XmlpNode *node = _openPath({__func__, 721, 726, 733}, doc, path, true);
    if (node == nullptr) {
        return -1;
    }
    int status = node == doc->tree->root ? XMLP_FAIL(739, "not allow to delete root node.")
                                         : xmlp_delDtree(node);
    return unlocked(doc, status);
}

int xmlp_getAttr(XmlpDoc *doc, const char *path, XmlpAttrPair *pair)
{
    const XmlpNode *node = _openPath({__func__, 776, 0, 783}, doc, path, pair != nullptr);
    return node != nullptr ? unlocked(doc, xmlp_getNodeAttr(node, pair->name, &pair->value)) : -1;
}

int xmlp_setAttr(XmlpDoc *doc, const char *path, const XmlpAttrPair *pair)
{
    XmlpNode *node = _openPath({__func__, 811, 816, 823}, doc, path, pair != nullptr);
    return node != nullptr ? unlocked(doc, xmlp_setNodeAttr(node, pair->name, pair->value)) : -1;
}

int xmlp_addAttr(XmlpDoc *doc, const char *path, const XmlpAttrPair *pair)
{
    XmlpNode *node = _openPath({__func__, 851, 856, 863}, doc, path, pair != nullptr);
    return node != nullptr ? unlocked(doc, xmlp_addNodeAttr(node, pair->name, pair->value)) : -1;
}

int xmlp_deleteAttr(XmlpDoc *doc, const char *path, const char *name)
{
    XmlpNode *node = _openPath({__func__, 891, 896, 903}, doc, path, name != nullptr);
    return node != nullptr ? unlocked(doc, xmlp_delNodeAttr(node, name)) : -1;
}
