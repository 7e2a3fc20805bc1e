// Nodes: making, linking, finding, changing and freeing them.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

static_assert(sizeof(XmlpNode) == 8 + 8 * sizeof(void *), "packed, 40 bytes on a 32-bit target");

char _xmlp_itemName[] = "item";

char *_copyString(const char *bytes, size_t length)
{
    auto *copy = static_cast<char *>(malloc(length + 1));
    if (copy != nullptr) {
        memcpy(copy, bytes, length);
        copy[length] = '\0';
    }
    return copy;
}

XmlpNode *xmlp_initNode(void)
{
    auto *node = static_cast<XmlpNode *>(calloc(1, sizeof(XmlpNode)));
    if (node == nullptr) {
        XMLP_ERROR(827, "malloc failed.");
    }
    return node;
}

/* ---- Linking ------------------------------------------------------------------------------- */

// Whether the list from next on, or the way down, would go round in circles with node before next
// and below parent. A node that was never linked is not looked for.
static bool wouldLoop(const XmlpNode *node, const XmlpNode *parent, const XmlpNode *next)
{
    if (node->parent != nullptr || node->prev != nullptr || node->next != nullptr) {
        for (; next != nullptr; next = next->next) {
            if (next == node) {
                return true;
            }
        }
    }
    if (node == parent || node->firstChild != nullptr) {
        for (; parent != nullptr; parent = parent->parent) {
            if (parent == node) {
                return true;
            }
        }
    }
    return false;
}

// Puts node between two neighbours below parent; a missing neighbour makes it first or last.
static int linkBetween(XmlpNode *node, XmlpNode *parent, XmlpNode *prev, XmlpNode *next)
{
    if (node == prev || node == next) {
        return 0; // it is there already
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

/* ---- Finding ------------------------------------------------------------------------------- */

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
    if (parent == nullptr || name == nullptr) {
        return 0;
    }
    for (const XmlpNode *child = parent->firstChild; child != nullptr; child = child->next) {
        if (child->name != nullptr && strcmp(child->name, name) == 0) {
            return 1;
        }
    }
    return 0;
}

/* ---- Changing ------------------------------------------------------------------------------ */

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
    _freeNodeName(node);
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
    unsigned char *copy = nullptr;
    if (value != nullptr) {
        copy = static_cast<unsigned char *>(malloc(valueSize));
        if (copy == nullptr) {
            return XMLP_FAIL(1231, "malloc failed.");
        }
        memcpy(copy, value, valueSize);
    }
    free(pNode->value);
    pNode->value = copy;
    pNode->valueSize = valueSize;
    return 0;
}

/* ---- Freeing ------------------------------------------------------------------------------- */

void _freeNodeName(XmlpNode *node)
{
    // An item keeps the shared name when its children turn it into a struct or a list, so the
    // type does not tell.
    if (node->name != _xmlp_itemName) {
        free(node->name);
    }
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
        _freeNodeName(node);
    }
    free(node);
    return 0;
}

int xmlp_delDtree(XmlpNode *node)
{
    if (node == nullptr) {
        return XMLP_FAIL(1673, "node is null.");
    }
    // Depth first without recursion, so that no depth of tree can exhaust the stack. Children that
    // were linked a second time belong to the parent that they name.
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
    // The block begins with the name of the top element; without one, with the document node.
    XmlpNode *top = rootNode->firstChild;
    if (top != nullptr && top->name != nullptr) {
        free(top->name);
    } else {
        free(rootNode);
    }
    return 0;
}
