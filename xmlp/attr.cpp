// The attributes of a node.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

static_assert(sizeof(XmlpAttr) == 3 * sizeof(void *), "packed, 12 bytes on a 32-bit target");

void _freeAttrList(XmlpAttr *attrs)
{
    while (attrs != nullptr) {
        XmlpAttr *next = attrs->next;
        free(attrs->name);
        free(attrs->value);
        free(attrs);
        attrs = next;
    }
}

int _hasAttrName(const XmlpAttr *attrs, const char *name, uint32_t length)
{
    for (; attrs != nullptr; attrs = attrs->next) {
        if (attrs->name != nullptr && (length == 0 || attrs->name[0] == name[0]) &&
            strncmp(attrs->name, name, length) == 0) {
            return 1;
        }
    }
    return 0;
}

uint32_t xmlp_getNodeAttrCount(const XmlpNode *node)
{
    if (node == nullptr) {
        XMLP_ERROR(1133, "node is null.");
        return 0;
    }
    uint32_t count = 0;
    for (const XmlpAttr *attr = node->attrs; attr != nullptr; attr = attr->next) {
        count++;
    }
    return count;
}

// Stores in *before the attribute before the one that it returns; the last one if it returns null.
static XmlpAttr *findAttr(const XmlpNode *node, const char *name, XmlpAttr **before = nullptr)
{
    XmlpAttr *attr = node->attrs;
    while (attr != nullptr && (attr->name == nullptr || strcmp(attr->name, name) != 0)) {
        if (before != nullptr) {
            *before = attr;
        }
        attr = attr->next;
    }
    return attr;
}

static bool isValidValue(const char *value)
{
    return value == nullptr ||
           xmlp_isValidAttrValue(value, static_cast<uint32_t>(strlen(value))) != 0;
}

// Returns null for a null value, too.
static char *copyValue(const char *value)
{
    return value != nullptr ? _copyString(value, strlen(value)) : nullptr;
}

int xmlp_addNodeAttr(XmlpNode *node, const char *name, const char *value)
{
    if (node == nullptr || name == nullptr || name[0] == '\0') {
        return XMLP_FAIL(1296, "invalid params.");
    }
    if (!xmlp_isValidName(name, static_cast<uint32_t>(strlen(name)))) {
        return XMLP_FAIL(1301, "invalid attribute name %s.", name);
    }
    if (!isValidValue(value)) {
        return XMLP_FAIL(1306, "invalid attribute value.");
    }
    XmlpAttr *last = nullptr;
    XmlpAttr *attr = findAttr(node, name, &last);
    if (attr != nullptr) {
        return XMLP_FAIL(attr->next != nullptr ? 1350 : 1357, "attribute existed.");
    }
    attr = static_cast<XmlpAttr *>(calloc(1, sizeof(XmlpAttr)));
    if (attr == nullptr) {
        return XMLP_FAIL(last == nullptr ? 1314 : 1363, "malloc failed.");
    }
    attr->name = _copyString(name, strlen(name));
    if (attr->name == nullptr) {
        _freeAttrList(attr);
        return XMLP_FAIL(last == nullptr ? 1320 : 1369, "malloc failed.");
    }
    attr->value = copyValue(value);
    if (attr->value == nullptr && value != nullptr) {
        _freeAttrList(attr);
        return XMLP_FAIL(last == nullptr ? 1331 : 1380, "malloc failed.");
    }
    if (last == nullptr) {
        node->attrs = attr;
    } else {
        last->next = attr;
    }
    return 0;
}

int xmlp_delNodeAttr(XmlpNode *node, const char *name)
{
    if (node == nullptr || name == nullptr || name[0] == '\0') {
        return XMLP_FAIL(1412, "invalid params.");
    }
    XmlpAttr *before = nullptr;
    XmlpAttr *attr = findAttr(node, name, &before);
    if (attr == nullptr) {
        return XMLP_FAIL(before == nullptr ? 1417 : 1448, "attribute not exist.");
    }
    if (before == nullptr) {
        node->attrs = attr->next;
    } else {
        before->next = attr->next;
    }
    attr->next = nullptr;
    _freeAttrList(attr);
    return 0;
}

int xmlp_setNodeAttr(XmlpNode *node, const char *name, const char *value)
{
    if (node == nullptr || name == nullptr || name[0] == '\0') {
        return XMLP_FAIL(1470, "invalid params.");
    }
    if (!xmlp_isValidName(name, static_cast<uint32_t>(strlen(name)))) {
        return XMLP_FAIL(1475, "invalid attribute name."); // without the name, on purpose
    }
    if (!isValidValue(value)) {
        return XMLP_FAIL(1480, "invalid attribute value.");
    }
    XmlpAttr *attr = findAttr(node, name);
    if (attr == nullptr) {
        return XMLP_FAIL(1511, "attribute not exist.");
    }
    char *copy = copyValue(value);
    if (copy == nullptr && value != nullptr) {
        return XMLP_FAIL(1497, "malloc failed.");
    }
    free(attr->value);
    attr->value = copy;
    return 0;
}

int xmlp_getNodeAttr(const XmlpNode *node, const char *name, char **out)
{
    if (node == nullptr || name == nullptr || out == nullptr) {
        return XMLP_FAIL(1532, "invalid params.");
    }
    const XmlpAttr *attr = findAttr(node, name);
    if (attr == nullptr) {
        return XMLP_FAIL(1558, "attribute not exist.");
    }
    char *copy = copyValue(attr->value);
    if (copy == nullptr && attr->value != nullptr) {
        return XMLP_FAIL(1549, "malloc failed.");
    }
    *out = copy;
    return 0;
}

int xmlp_isNodeAttr(const XmlpNode *node, const char *name, const char *value)
{
    if (node == nullptr || name == nullptr) {
        XMLP_ERROR(1579, "invalid params.");
        return 0;
    }
    const XmlpAttr *attr = findAttr(node, name);
    if (attr == nullptr || attr->value == nullptr || value == nullptr) {
        return attr != nullptr && attr->value == value; // both null
    }
    return strcmp(attr->value, value) == 0;
}
