// Paths, and the frame that every path-addressed operation stands in.

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

/* ---- Frame --------------------------------------------------------------------------------- */

void _rejectParams(const XmlpFrame *frame)
{
    _xmlp_report(frame->name, frame->invalidParams, "invalid params.");
}

static bool isAccepted(const XmlpFrame *frame, const XmlpNode *node)
{
    return frame->errorNodeType == 0 ||
           (node->type <= XMLP_NODE_ITEM && (frame->types & XMLP_TYPE_BIT(node->type)) != 0);
}

XmlpNode *_lockNode(const XmlpFrame *frame, XmlpDoc *doc, const char *path)
{
    if (frame->staticXml != 0 && doc->tree->isStatic != 0) {
        _xmlp_report(frame->name, frame->staticXml, "static xml.");
        return nullptr;
    }
    _lock(doc);
    XmlpNode *node = xmlp_seekXml(doc, path);
    if (node != nullptr && isAccepted(frame, node)) {
        return node;
    }
    if (node != nullptr) {
        _xmlp_report(frame->name, frame->errorNodeType, "error node type.");
    } else if (frame->nodeNotExist != 0) {
        _xmlp_report(frame->name, frame->nodeNotExist, "node not exist.");
    }
    _unLock(doc);
    return nullptr;
}

/* ---- Records that callers exchange --------------------------------------------------------- */

int _copyNodeValue(XmlpValue *copy, const XmlpNode *node, uint32_t terminator)
{
    copy->size = node->valueSize;
    copy->data = nullptr;
    if (node->valueSize == 0) {
        return 0;
    }
    size_t size = node->valueSize;
    copy->data = static_cast<unsigned char *>(malloc(size + terminator));
    if (copy->data == nullptr) {
        return -1;
    }
    memcpy(copy->data, node->value, size);
    memset(copy->data + size, 0, terminator);
    return 0;
}

int _addAttrPairs(XmlpNode *node, const XmlpAttrPair *attrs, uint32_t count)
{
    for (uint32_t i = 0; i < count; i++) {
        if (xmlp_addNodeAttr(node, attrs[i].name, attrs[i].value) != 0) {
            return -1;
        }
    }
    return 0;
}
