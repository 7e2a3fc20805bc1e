// Operations on the one node that a path leads to.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>

constexpr unsigned leafTypes = XMLP_TYPE_BIT(XMLP_NODE_VALUE) | XMLP_TYPE_BIT(XMLP_NODE_NONE);
constexpr unsigned valueType = XMLP_TYPE_BIT(XMLP_NODE_VALUE);
constexpr unsigned parentTypes = XMLP_TYPE_BIT(XMLP_NODE_STRUCT) | XMLP_TYPE_BIT(XMLP_NODE_NONE);

// Lines of: invalid params, static xml, node not exist, error node type.
constexpr XmlpFrame isExist = {"xmlp_isExist", 388, 0, 0, 0, 0};
constexpr XmlpFrame getValue = {"xmlp_getValue", 420, 0, 428, 433, leafTypes};
constexpr XmlpFrame setValue = {"xmlp_setValue", 484, 489, 496, 502, valueType};
constexpr XmlpFrame setName = {"xmlp_setName", 530, 535, 542, 0, 0};
constexpr XmlpFrame addNode = {"xmlp_add", 579, 584, 591, 601, parentTypes};
constexpr XmlpFrame getChildCount = {"xmlp_getChildCount", 690, 0, 697, 0, 0};
constexpr XmlpFrame deleteNode = {"xmlp_delete", 721, 726, 733, 0, 0};
constexpr XmlpFrame getAttr = {"xmlp_getAttr", 776, 0, 783, 0, 0};
constexpr XmlpFrame setAttr = {"xmlp_setAttr", 811, 816, 823, 0, 0};
constexpr XmlpFrame addAttr = {"xmlp_addAttr", 851, 856, 863, 0, 0};
constexpr XmlpFrame deleteAttr = {"xmlp_deleteAttr", 891, 896, 903, 0, 0};

// The end of a frame.
static int unlocked(XmlpDoc *doc, int status)
{
    _unLock(doc);
    return status;
}

int xmlp_isExist(const XmlpDoc *doc, const char *path)
{
    return _checkParams(&isExist, doc, path, true) == 0 && xmlp_seekXml(doc, path) != nullptr;
}

/* ---- Value and name ------------------------------------------------------------------------ */

XmlpValue *xmlp_getValue(XmlpDoc *doc, const char *path)
{
    const XmlpNode *node = _openPath(&getValue, doc, path, true);
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
    XmlpNode *node = _openPath(&setValue, doc, path, true);
    return node != nullptr ? unlocked(doc, xmlp_setNodeValue(node, value, valueSize)) : -1;
}

int xmlp_setName(XmlpDoc *doc, const char *path, const char *name)
{
    XmlpNode *node = _openPath(&setName, doc, path, name != nullptr);
    return node != nullptr ? unlocked(doc, xmlp_setNodeName(node, name)) : -1;
}

/* ---- Children ------------------------------------------------------------------------------ */

static int fillNode(XmlpNode *node, const char *name, const XmlpValue *value,
                    const XmlpAttrPair *attrs, uint32_t attrCount)
{
    if (xmlp_setNodeName(node, name) != 0) {
        return -1;
    }
    if (value != nullptr) {
        if (xmlp_setNodeValue(node, value->data, value->size) != 0) {
            return -1;
        }
        node->type = XMLP_NODE_VALUE;
    }
    return _addAttrPairs(node, attrs, attrCount);
}

static int addChild(XmlpNode *parent, uint32_t position, const char *name, const XmlpValue *value,
                    const XmlpAttrPair *attrs, uint32_t attrCount)
{
    XmlpNode *node = xmlp_initNode();
    if (node == nullptr) {
        return -1;
    }
    if (fillNode(node, name, value, attrs, attrCount) != 0 ||
        xmlp_addChildNode(node, parent, position) != 0) {
        xmlp_delNode(node);
        return -1;
    }
    return 0;
}

int xmlp_add(XmlpDoc *doc, const char *path, uint32_t position, const char *name,
             const XmlpValue *value, const XmlpAttrPair *attrs, uint32_t attrCount)
{
    bool complete = name != nullptr && (attrs != nullptr || attrCount == 0);
    XmlpNode *parent = _openPath(&addNode, doc, path, complete);
    if (parent == nullptr) {
        return -1;
    }
    parent->type = XMLP_NODE_STRUCT;
    return unlocked(doc, addChild(parent, position, name, value, attrs, attrCount));
}

uint32_t xmlp_getChildCount(XmlpDoc *doc, const char *path)
{
    const XmlpNode *node = _openPath(&getChildCount, doc, path, true);
    if (node == nullptr) {
        return 0;
    }
    uint32_t count = xmlp_getChildNodeCount(node);
    _unLock(doc);
    return count;
}

int xmlp_delete(XmlpDoc *doc, const char *path)
{
    XmlpNode *node = _openPath(&deleteNode, doc, path, true);
    if (node == nullptr) {
        return -1;
    }
    if (node == doc->tree->root) {
        XMLP_ERROR(739, "not allow to delete root node.");
        return unlocked(doc, -1);
    }
    return unlocked(doc, xmlp_delDtree(node));
}

/* ---- Attributes ---------------------------------------------------------------------------- */

int xmlp_getAttr(XmlpDoc *doc, const char *path, XmlpAttrPair *pair)
{
    const XmlpNode *node = _openPath(&getAttr, doc, path, pair != nullptr);
    return node != nullptr ? unlocked(doc, xmlp_getNodeAttr(node, pair->name, &pair->value)) : -1;
}

int xmlp_setAttr(XmlpDoc *doc, const char *path, const XmlpAttrPair *pair)
{
    XmlpNode *node = _openPath(&setAttr, doc, path, pair != nullptr);
    return node != nullptr ? unlocked(doc, xmlp_setNodeAttr(node, pair->name, pair->value)) : -1;
}

int xmlp_addAttr(XmlpDoc *doc, const char *path, const XmlpAttrPair *pair)
{
    XmlpNode *node = _openPath(&addAttr, doc, path, pair != nullptr);
    return node != nullptr ? unlocked(doc, xmlp_addNodeAttr(node, pair->name, pair->value)) : -1;
}

int xmlp_deleteAttr(XmlpDoc *doc, const char *path, const char *name)
{
    XmlpNode *node = _openPath(&deleteAttr, doc, path, name != nullptr);
    return node != nullptr ? unlocked(doc, xmlp_delNodeAttr(node, name)) : -1;
}
