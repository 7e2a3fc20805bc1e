// Nodes: creating, linking, finding, changing and freeing them.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

static_assert(sizeof(XmlpNode) == 8 + 8 * sizeof(void *), "packed, 40 bytes on a 32-bit target");

char _xmlp_itemName[] = "item";

unsigned char *_copyBytes(const void *bytes, size_t size, size_t zeros)
{
    auto *copy = static_cast<unsigned char *>(malloc(size + zeros));
    if (copy != nullptr) {
        memcpy(copy, bytes, size);
        memset(copy + size, 0, zeros);
    }
    return copy;
}

char *_copyString(const char *bytes, size_t length)
{
    return reinterpret_cast<char *>(_copyBytes(bytes, length, 1));
}

XmlpNode *xmlp_initNode(void)
{
    auto *node = static_cast<XmlpNode *>(calloc(1, sizeof(XmlpNode)));
    if (node == nullptr) {
        XMLP_ERROR(827, "malloc failed.");
    }
    return node;
}

// Whether linking node below parent and before next would close a cycle. New nodes are not searched
// for, so that inserting stays cheap in a long list.
static bool wouldLoop(const XmlpNode *node, const XmlpNode *parent, const XmlpNode *next)
{
    bool isLinked = node->parent != nullptr || node->prev != nullptr || node->next != nullptr;
    while (isLinked && next != nullptr && next != node) {
        next = next->next;
    }
    while (node->firstChild != nullptr && parent != nullptr && parent != node) {
        parent = parent->parent;
    }
    return next == node || parent == node;
}

// Links node between prev and next below parent; it is the first or last child if one is null.
static int linkBetween(XmlpNode *node, XmlpNode *parent, XmlpNode *prev, XmlpNode *next)
{
    if (node == prev || node == next) {
        return 0; // already there
    }
    if (wouldLoop(node, parent, next)) {
        return -1;
    }
    if (prev != nullptr) {
        prev->next = node;
    } else if (parent != nullptr) {
        parent->firstChild = node;
    }
    if (next != nullptr) {
        next->prev = node;
    } else if (parent != nullptr) {
        parent->lastChild = node;
    }
    node->parent = parent;
    node->prev = prev;
    node->next = next;
    return 0;
}

int xmlp_insNodeFirst(XmlpNode *node, XmlpNode *parent)
{
    if (node == nullptr || parent == nullptr) {
        return XMLP_FAIL(849, "invalid params.");
    }
    return linkBetween(node, parent, nullptr, parent->firstChild);
}

int xmlp_insNodeLast(XmlpNode *node, XmlpNode *parent)
{
    if (node == nullptr || parent == nullptr) {
        return XMLP_FAIL(884, "invalid params.");
    }
    return linkBetween(node, parent, parent->lastChild, nullptr);
}

int xmlp_insNodeAfter(XmlpNode *node, XmlpNode *ref)
{
    if (node == nullptr || ref == nullptr) {
        return XMLP_FAIL(918, "invalid params.");
    }
    return linkBetween(node, ref->parent, ref, ref->next);
}

int xmlp_insNodeBefore(XmlpNode *node, XmlpNode *ref)
{
    if (node == nullptr || ref == nullptr) {
        return XMLP_FAIL(950, "invalid params.");
    }
    return linkBetween(node, ref->parent, ref->prev, ref);
}

int xmlp_addChildNode(XmlpNode *node, XmlpNode *parent, uint32_t position)
{
    if (node == nullptr || parent == nullptr) {
        return XMLP_FAIL(1064, "invalid params.");
    }
    if (position == 0) {
        return xmlp_insNodeFirst(node, parent);
    }
    if (position == XMLP_LAST) {
        return xmlp_insNodeLast(node, parent);
    }
    XmlpNode *ref = xmlp_getChildNode(parent, position - 1);
    if (ref == nullptr) {
        return XMLP_FAIL(1082, "child[%d] not found.", static_cast<int>(position - 1));
    }
    return xmlp_insNodeAfter(node, ref);
}

XmlpNode *xmlp_getChildNode(const XmlpNode *parent, uint32_t index)
{
    if (parent == nullptr) {
        XMLP_ERROR(983, "parent is null.");
        return nullptr;
    }
    if (index == XMLP_LAST) {
        return parent->lastChild;
    }
    XmlpNode *child = parent->firstChild;
    while (child != nullptr && index-- > 0) {
        child = child->next;
    }
    return child;
}

XmlpNode *xmlp_getChildNodeByName(const XmlpNode *parent, const char *name, uint32_t length)
{
    if (parent == nullptr || name == nullptr || length == 0 || name[0] == '\0') {
        XMLP_ERROR(1031, "invalid params.");
        return nullptr;
    }
    XmlpNode *child = parent->firstChild;
    while (child != nullptr &&
           (child->name == nullptr || xmlp_nameCmp(name, length, child->name) != 0)) {
        child = child->next;
    }
    return child;
}

uint32_t xmlp_getChildNodeCount(const XmlpNode *node)
{
    if (node == nullptr) {
        XMLP_ERROR(1105, "node is null.");
        return 0;
    }
    uint32_t count = 0;
    for (const XmlpNode *child = node->firstChild; child != nullptr; child = child->next) {
        count++;
    }
    return count;
}

int _hasChildName(const XmlpNode *parent, const char *name)
{
    const XmlpNode *child = parent != nullptr && name != nullptr ? parent->firstChild : nullptr;
    while (child != nullptr && (child->name == nullptr || strcmp(child->name, name) != 0)) {
        child = child->next;
    }
    return child != nullptr;
}

// An item that gets children becomes a struct or a list but keeps the shared name, so its type does
// not tell whether it owns the name.
static void freeName(XmlpNode *node)
{
    if (node->name != _xmlp_itemName) {
        free(node->name);
    }
}

int xmlp_setNodeName(XmlpNode *node, const char *name)
{
    if (node == nullptr || name == nullptr || name[0] == '\0') {
        return XMLP_FAIL(1162, "invalid params.");
    }
    size_t length = strlen(name);
    if (!xmlp_isValidName(name, static_cast<uint32_t>(length))) {
        return XMLP_FAIL(1168, "invalid name.");
    }
    if (_hasChildName(node->parent, name)) {
        return XMLP_FAIL(1173, "node name existed.");
    }
    char *copy = _copyString(name, length);
    if (copy == nullptr) {
        return XMLP_FAIL(1181, "malloc failed.");
    }
    freeName(node);
    node->name = copy;
    return 0;
}

int xmlp_setNodeValue(XmlpNode *pNode, const void *value, uint32_t valueSize)
{
    if (pNode == nullptr) {
        return XMLP_FAIL(1207, "pNode is null.");
    }
    if (value == nullptr && valueSize > 0) {
        return XMLP_FAIL(1212, "value is null but valueSize > 0.");
    }
    if (value != nullptr && valueSize == 0) {
        return XMLP_FAIL(1217, "value is not null but valueSize is 0.");
    }
    if (pNode->firstChild != nullptr) {
        return XMLP_FAIL(1222, "pNode is not leaf node.");
    }
    unsigned char *copy = value != nullptr ? _copyBytes(value, valueSize, 0) : nullptr;
    if (copy == nullptr && value != nullptr) {
        return XMLP_FAIL(1231, "malloc failed.");
    }
    free(pNode->value);
    pNode->value = copy;
    pNode->valueSize = valueSize;
    return 0;
}

static void unlink(const XmlpNode *node)
{
    XmlpNode *parent = node->parent;
    if (node->prev != nullptr) {
        node->prev->next = node->next;
    }
    if (node->next != nullptr) {
        node->next->prev = node->prev;
    }
    if (parent != nullptr && parent->firstChild == node) {
        parent->firstChild = node->next;
    }
    if (parent != nullptr && parent->lastChild == node) {
        parent->lastChild = node->prev;
    }
}

int xmlp_delNode(XmlpNode *node)
{
    if (node == nullptr || node->firstChild != nullptr) {
        return XMLP_FAIL(1624, "invalid params.");
    }
    unlink(node);
    _freeAttrList(node->attrs);
    if (node->valueSize != 0) {
        free(node->value);
    }
    if (node->type != XMLP_NODE_ITEM) {
        freeName(node);
    }
    free(node);
    return 0;
}

int xmlp_delDtree(XmlpNode *node)
{
    if (node == nullptr) {
        return XMLP_FAIL(1673, "node is null.");
    }
    // No recursion, so that a deep tree cannot exhaust the stack. A child that was linked twice
    // belongs to the parent that it points to.
    XmlpNode *leaf = node;
    for (;;) {
        while (leaf->firstChild != nullptr && leaf->firstChild->parent == leaf) {
            leaf = leaf->firstChild;
        }
        leaf->firstChild = nullptr;
        if (leaf == node) {
            return xmlp_delNode(node);
        }
        XmlpNode *parent = leaf->parent;
        xmlp_delNode(leaf);
        leaf = parent;
    }
}

int xmlp_delStree(XmlpNode *rootNode)
{
    if (rootNode == nullptr) {
        return XMLP_FAIL(1695, "rootNode is null.");
    }
    // The block begins with the name of the top element or, if there is none, the document node.
    const XmlpNode *top = rootNode->firstChild;
    if (top != nullptr && top->name != nullptr) {
        free(top->name);
    } else {
        free(rootNode);
    }
    return 0;
}
