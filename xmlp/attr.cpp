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

static bool isNamed(const XmlpAttr *attr, const char *name)
{
    return attr->name != nullptr && strcmp(attr->name, name) == 0;
}

static XmlpAttr *findAttr(const XmlpNode *node, const char *name)
{
    XmlpAttr *attr = node->attrs;
    while (attr != nullptr && !isNamed(attr, name)) {
        attr = attr->next;
    }
    return attr;
}

static bool isValidName(const char *name)
{
    return xmlp_isValidName(name, static_cast<uint32_t>(strlen(name))) != 0;
}

static bool isValidValue(const char *value)
{
    return value == nullptr ||
           xmlp_isValidAttrValue(value, static_cast<uint32_t>(strlen(value))) != 0;
}

namespace
{
// The lines under which xmlp_addNodeAttr reports a failed allocation.
struct AllocLines {
    int record;
    int name;
    int value;
};
} // namespace

static XmlpAttr *makeAttr(const char *name, const char *value, const AllocLines &lines)
{
    auto *attr = static_cast<XmlpAttr *>(calloc(1, sizeof(XmlpAttr)));
    int failed = lines.record;
    if (attr != nullptr) {
        attr->name = _copyString(name, strlen(name));
        failed = attr->name != nullptr ? 0 : lines.name;
        if (attr->name != nullptr && value != nullptr) {
            attr->value = _copyString(value, strlen(value));
            failed = attr->value != nullptr ? 0 : lines.value;
        }
    }
    if (failed != 0) {
        _freeAttrList(attr);
        attr = nullptr;
        _xmlp_report("xmlp_addNodeAttr", failed, "malloc failed.");
    }
    return attr;
}

int xmlp_addNodeAttr(XmlpNode *node, const char *name, const char *value)
{
    static constexpr AllocLines firstLines = {1314, 1320, 1331};
    static constexpr AllocLines appendLines = {1363, 1369, 1380};

    if (node == nullptr || name == nullptr || name[0] == '\0') {
        return XMLP_FAIL(1296, "invalid params.");
    }
    if (!isValidName(name)) {
        return XMLP_FAIL(1301, "invalid attribute name %s.", name);
    }
    if (!isValidValue(value)) {
        return XMLP_FAIL(1306, "invalid attribute value.");
    }
    if (node->attrs == nullptr) {
        node->attrs = makeAttr(name, value, firstLines);
        return node->attrs != nullptr ? 0 : -1;
    }
    XmlpAttr *last = node->attrs;
    for (; last->next != nullptr; last = last->next) {
        if (isNamed(last, name)) {
            return XMLP_FAIL(1350, "attribute existed.");
        }
    }
    if (isNamed(last, name)) {
        return XMLP_FAIL(1357, "attribute existed.");
    }
    last->next = makeAttr(name, value, appendLines); // -fanalyzer loses sight of it: no leak
    return last->next != nullptr ? 0 : -1;
}

int xmlp_delNodeAttr(XmlpNode *node, const char *name)
{
    if (node == nullptr || name == nullptr || name[0] == '\0') {
        return XMLP_FAIL(1412, "invalid params.");
    }
    if (node->attrs == nullptr) {
        return XMLP_FAIL(1417, "attribute not exist.");
    }
    XmlpAttr *before = nullptr;
    XmlpAttr *attr = node->attrs;
    while (attr != nullptr && !isNamed(attr, name)) {
        before = attr;
        attr = attr->next;
    }
    if (attr == nullptr) {
        return XMLP_FAIL(1448, "attribute not exist.");
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
    if (!isValidName(name)) {
        return XMLP_FAIL(1475, "invalid attribute name."); // without the name, on purpose
    }
    if (!isValidValue(value)) {
        return XMLP_FAIL(1480, "invalid attribute value.");
    }
    XmlpAttr *attr = findAttr(node, name);
    if (attr == nullptr) {
        return XMLP_FAIL(1511, "attribute not exist.");
    }
    char *copy = nullptr;
    if (value != nullptr) {
        copy = _copyString(value, strlen(value));
        if (copy == nullptr) {
            return XMLP_FAIL(1497, "malloc failed.");
        }
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
    char *copy = nullptr;
    if (attr->value != nullptr) {
        copy = _copyString(attr->value, strlen(attr->value));
        if (copy == nullptr) {
            return XMLP_FAIL(1549, "malloc failed.");
        }
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
    if (attr == nullptr) {
        return 0;
    }
    if (attr->value == nullptr || value == nullptr) {
        return attr->value == nullptr && value == nullptr;
    }
    return strcmp(attr->value, value) == 0;
}
