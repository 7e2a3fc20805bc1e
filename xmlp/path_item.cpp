// Operations on the items of the list that a path leads to.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>
#include <string.h>

namespace
{
// The items that a call addresses.
struct Selection {
    uint32_t mode;
    const uint32_t *pos;
    uint32_t count;
};
} // namespace

constexpr unsigned types = XMLP_TYPE_BIT(XMLP_NODE_LIST) | XMLP_TYPE_BIT(XMLP_NODE_NONE);

// Lines of: invalid params, static xml, node not exist, error node type; unkown mode, pos over
// range. Every one of them takes a list, and a node without children that could become one.
constexpr XmlpFrame isItemExist = {"xmlp_isItemExist", 932, 0, 940, 945, types};
constexpr XmlpFrame getItemValue = {"xmlp_getItemValue", 984, 0, 993, 998, types, 1016, 1021};
constexpr XmlpFrame setItemValue = {"xmlp_setItemValue", 1131, 1136, 1144, 1149, types, 1167, 1172};
constexpr XmlpFrame addItem = {"xmlp_addItem", 1237, 1242, 1250, 1259, types, 0, 1300};
constexpr XmlpFrame deleteItem = {"xmlp_deleteItem", 1344, 1357, 1365, 1371, types, 1405, 1411};
constexpr XmlpFrame getItemAttr = {"xmlp_getItemAttr", 1474, 0, 1482, 1487, types, 1505, 1510};
constexpr XmlpFrame setItemAttr = {"xmlp_setItemAttr", 1578, 1583, 1591, 1596, types, 1614, 1619};
constexpr XmlpFrame addItemAttr = {"xmlp_addItemAttr", 1687, 1692, 0, 1705, types, 1723, 0};
constexpr XmlpFrame deleteItemAttr = {
    "xmlp_deleteItemAttr", 1796, 1801, 1809, 1814, types, 1832, 1837};
constexpr XmlpFrame getItemValueByAttr = {"xmlp_getItemValueByAttr", 1908, 0, 1916, 1921, types};

/* ---- Addressing ---------------------------------------------------------------------------- */

int _checkOrder(const uint32_t *pos, uint32_t count)
{
    if (pos == nullptr || count == 0) {
        return -1;
    }
    for (uint32_t i = 1; i < count; i++) {
        if (pos[i] <= pos[i - 1]) {
            return XMLP_FAIL(255, "error order in pos.");
        }
    }
    return 0;
}

// Unlike xmlp_getChildNode, which takes XMLP_LAST for the last child.
static XmlpNode *itemAt(const XmlpNode *list, uint64_t position)
{
    return position < XMLP_LAST ? xmlp_getChildNode(list, static_cast<uint32_t>(position))
                                : nullptr;
}

// The last addressed item, or null after reporting; when it exists, the others do.
static XmlpNode *lastItem(const XmlpFrame &frame, const XmlpNode *list, const Selection &items)
{
    uint64_t position = 0;
    if (items.mode == XMLP_POS_RUN) {
        position = uint64_t{items.pos[0]} + items.count - 1;
    } else if (items.mode != XMLP_POS_LIST) {
        _xmlp_report(frame.name, frame.unkownMode, "unkown mode.");
        return nullptr;
    } else if (_checkOrder(items.pos, items.count) != 0) {
        return nullptr;
    } else {
        position = items.pos[items.count - 1];
    }
    // A run of none at 0 ends before the first item, at the number that stands for the last one.
    XmlpNode *last = position == UINT64_MAX ? list->lastChild : itemAt(list, position);
    if (last == nullptr && frame.posOverRange != 0) {
        _xmlp_report(frame.name, frame.posOverRange, "pos over range.");
    }
    return last;
}

// How far addressed item number i lies behind the one before.
static uint32_t distance(const Selection &items, uint32_t i)
{
    return items.mode == XMLP_POS_RUN ? 1 : items.pos[i] - items.pos[i - 1];
}

// Works on one addressed item after the other with work(item, index), up to the first failure.
// Returns the number done.
template <typename Work>
static uint32_t walkItems(const XmlpNode *list, const Selection &items, Work work)
{
    uint32_t done = 0;
    XmlpNode *item = xmlp_getChildNode(list, items.pos[0]);
    while (work(item, done) == 0 && ++done < items.count) {
        for (uint32_t step = distance(items, done); step > 0; step--) {
            item = item->next;
        }
    }
    return done;
}

// The whole of an operation that gives the number of items done. args are what it needs besides.
template <typename Work>
static uint32_t forItems(const XmlpFrame &frame, XmlpDoc *doc, const char *path,
                         const Selection &items, const void *args, Work work)
{
    bool complete = args != nullptr && items.pos != nullptr && items.count != 0;
    const XmlpNode *list = _openPath(&frame, doc, path, complete);
    if (list == nullptr) {
        return 0;
    }
    uint32_t done = 0;
    if (lastItem(frame, list, items) != nullptr) {
        done = walkItems(list, items, work);
    }
    _unLock(doc);
    return done;
}

/* ---- Values -------------------------------------------------------------------------------- */

int xmlp_isItemExist(XmlpDoc *doc, const char *path, uint32_t position)
{
    const XmlpNode *list = _openPath(&isItemExist, doc, path, true);
    if (list == nullptr) {
        return 0;
    }
    int exists = itemAt(list, position) != nullptr;
    _unLock(doc);
    return exists;
}

XmlpValue *xmlp_getItemValue(XmlpDoc *doc, const char *path, uint32_t mode, const uint32_t *pos,
                             uint32_t count, uint32_t *outCount)
{
    bool complete = pos != nullptr && count != 0 && outCount != nullptr;
    if (_checkParams(&getItemValue, doc, path, complete) != 0) {
        return nullptr;
    }
    *outCount = 0;
    const XmlpNode *list = _lockNode(&getItemValue, doc, path);
    if (list == nullptr) {
        return nullptr;
    }
    const Selection items = {mode, pos, count};
    XmlpValue *values = nullptr;
    if (lastItem(getItemValue, list, items) != nullptr) {
        values = static_cast<XmlpValue *>(calloc(count, sizeof(XmlpValue)));
        if (values == nullptr) {
            XMLP_ERROR(1027, "malloc failed.");
        } else {
            *outCount = walkItems(list, items, [&](const XmlpNode *item, uint32_t i) {
                const int status = _copyNodeValue(&values[i], item, 1);
                if (status != 0) {
                    int line = i == 0 ? 1039 : mode == XMLP_POS_RUN ? 1061 : 1088;
                    _xmlp_report(getItemValue.name, line, "malloc failed.");
                }
                return status;
            });
        }
    }
    _unLock(doc);
    return values;
}

uint32_t xmlp_setItemValue(XmlpDoc *doc, const char *path, uint32_t mode, const XmlpValue *values,
                           const uint32_t *pos, uint32_t count)
{
    return forItems(setItemValue, doc, path, {mode, pos, count}, values,
                    [values](XmlpNode *item, uint32_t i) {
                        return xmlp_setNodeValue(item, values[i].data, values[i].size);
                    });
}

static bool hasAttrs(const XmlpNode *item, const XmlpAttrPair *pairs, uint32_t pairCount)
{
    for (uint32_t i = 0; i < pairCount; i++) {
        if (!xmlp_isNodeAttr(item, pairs[i].name, pairs[i].value)) {
            return false;
        }
    }
    return true;
}

// The first matching item from item on.
static const XmlpNode *nextMatch(const XmlpNode *item, const XmlpAttrPair *pairs,
                                 uint32_t pairCount)
{
    while (item != nullptr && !hasAttrs(item, pairs, pairCount)) {
        item = item->next;
    }
    return item;
}

static void freeValues(XmlpValue *values, uint32_t count)
{
    for (uint32_t i = 0; i < count; i++) {
        free(values[i].data);
    }
    free(values);
}

static XmlpValue *copyMatches(const XmlpNode *list, const XmlpAttrPair *pairs, uint32_t pairCount,
                              uint32_t *outCount)
{
    uint32_t count = 0;
    for (const XmlpNode *item = list->firstChild;
         (item = nextMatch(item, pairs, pairCount)) != nullptr; item = item->next) {
        count++;
    }
    if (count == 0) {
        *outCount = 0;
        return nullptr;
    }
    auto *values = static_cast<XmlpValue *>(calloc(count, sizeof(XmlpValue)));
    if (values == nullptr) {
        _xmlp_report(getItemValueByAttr.name, 1947, "malloc failed.");
        return nullptr;
    }
    uint32_t filled = 0;
    for (const XmlpNode *item = list->firstChild;
         (item = nextMatch(item, pairs, pairCount)) != nullptr; item = item->next) {
        if (_copyNodeValue(&values[filled], item, 0) != 0) {
            _xmlp_report(getItemValueByAttr.name, 1968, "malloc failed.");
            freeValues(values, filled);
            return nullptr;
        }
        filled++;
    }
    *outCount = count;
    return values;
}

XmlpValue *xmlp_getItemValueByAttr(XmlpDoc *doc, const char *path, const XmlpAttrPair *pairs,
                                   uint32_t pairCount, uint32_t *outCount)
{
    bool complete = pairs != nullptr && pairCount != 0 && outCount != nullptr;
    const XmlpNode *list = _openPath(&getItemValueByAttr, doc, path, complete);
    if (list == nullptr) {
        return nullptr;
    }
    XmlpValue *values = copyMatches(list, pairs, pairCount, outCount);
    _unLock(doc);
    return values;
}

/* ---- Adding and deleting ------------------------------------------------------------------- */

static int fillItem(XmlpNode *node, const XmlpItem *item)
{
    if (item->attrs == nullptr && item->attrCount != 0) {
        return -1;
    }
    if (item->value != nullptr && item->valueSize != 0) {
        node->value = static_cast<unsigned char *>(malloc(item->valueSize));
        if (node->value == nullptr) {
            _xmlp_report("_item2Node", 212, "malloc failed.");
            return -1;
        }
        memcpy(node->value, item->value, item->valueSize);
        node->valueSize = item->valueSize;
    }
    return _addAttrPairs(node, item->attrs, item->attrCount);
}

XmlpNode *_item2Node(const XmlpItem *item)
{
    if (item == nullptr) {
        XMLP_ERROR(197, "item is null.");
        return nullptr;
    }
    XmlpNode *node = xmlp_initNode();
    if (node != nullptr && fillItem(node, item) != 0) {
        xmlp_delNode(node);
        node = nullptr;
    }
    return node;
}

// Inserts a new item behind before or, without one, at position. Returns it, or null.
static XmlpNode *insertItem(XmlpNode *list, XmlpNode *before, uint32_t position,
                            const XmlpItem *item)
{
    XmlpNode *node = _item2Node(item);
    if (node == nullptr) {
        return nullptr;
    }
    node->name = _xmlp_itemName;
    node->type = XMLP_NODE_ITEM;
    if (before == nullptr && position != 0 && position != XMLP_LAST) {
        before = xmlp_getChildNode(list, position - 1);
        if (before == nullptr) {
            _xmlp_report(addItem.name, addItem.posOverRange, "pos over range.");
            xmlp_delNode(node);
            return nullptr;
        }
    }
    if (before != nullptr) {
        xmlp_insNodeAfter(node, before);
    } else {
        xmlp_addChildNode(node, list, position);
    }
    return node;
}

static bool areComplete(const XmlpItem *items, uint32_t count)
{
    if (items == nullptr || count == 0) {
        return false;
    }
    for (uint32_t i = 0; i < count; i++) {
        if (items[i].attrs == nullptr && items[i].attrCount != 0) {
            return false;
        }
    }
    return true;
}

uint32_t xmlp_addItem(XmlpDoc *doc, const char *path, const XmlpItem *items, uint32_t position,
                      uint32_t count)
{
    XmlpNode *list = _openPath(&addItem, doc, path, areComplete(items, count));
    if (list == nullptr) {
        return 0;
    }
    list->type = XMLP_NODE_LIST;
    uint32_t added = 0;
    XmlpNode *before = nullptr;
    while (added < count &&
           (before = insertItem(list, before, position, &items[added])) != nullptr) {
        added++;
    }
    _unLock(doc);
    return added;
}

static int deleteAllItems(const XmlpNode *list)
{
    while (list->firstChild != nullptr) {
        if (xmlp_delNode(list->firstChild) != 0) {
            return -1;
        }
    }
    return 0;
}

// Backwards, so that the positions of the items still to go stay valid.
static int deleteItems(const XmlpNode *list, const Selection &items)
{
    XmlpNode *item = lastItem(deleteItem, list, items);
    if (item == nullptr) {
        return -1;
    }
    for (uint32_t i = items.count; i > 0; i--) {
        XmlpNode *last = item;
        for (uint32_t step = i > 1 ? distance(items, i - 1) : 0; step > 0; step--) {
            item = item->prev;
        }
        xmlp_delNode(last);
    }
    return 0;
}

int xmlp_deleteItem(XmlpDoc *doc, const char *path, uint32_t mode, const uint32_t *pos,
                    uint32_t count)
{
    if (_checkParams(&deleteItem, doc, path, pos != nullptr) != 0) {
        return -1;
    }
    if (count == 0 && mode != XMLP_POS_RUN && pos[0] != XMLP_LAST) {
        return XMLP_FAIL(1351, "invalid params.");
    }
    const XmlpNode *list = _lockNode(&deleteItem, doc, path);
    if (list == nullptr) {
        return -1;
    }
    bool all = mode == XMLP_POS_RUN && pos[0] == XMLP_LAST;
    int status = all ? deleteAllItems(list) : deleteItems(list, {mode, pos, count});
    _unLock(doc);
    return status;
}

/* ---- Attributes ---------------------------------------------------------------------------- */

uint32_t xmlp_getItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, XmlpAttrPair *pairs,
                          const uint32_t *pos, uint32_t count)
{
    return forItems(getItemAttr, doc, path, {mode, pos, count}, pairs,
                    [pairs](const XmlpNode *item, uint32_t i) {
                        return xmlp_getNodeAttr(item, pairs[i].name, &pairs[i].value);
                    });
}

uint32_t xmlp_setItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, const XmlpAttrPair *pairs,
                          const uint32_t *pos, uint32_t count)
{
    return forItems(setItemAttr, doc, path, {mode, pos, count}, pairs,
                    [pairs](XmlpNode *item, uint32_t i) {
                        return xmlp_setNodeAttr(item, pairs[i].name, pairs[i].value);
                    });
}

uint32_t xmlp_addItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, const XmlpAttrPair *pairs,
                          const uint32_t *pos, uint32_t count)
{
    return forItems(addItemAttr, doc, path, {mode, pos, count}, pairs,
                    [pairs](XmlpNode *item, uint32_t i) {
                        return xmlp_addNodeAttr(item, pairs[i].name, pairs[i].value);
                    });
}

uint32_t xmlp_deleteItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, const char *name,
                             const uint32_t *pos, uint32_t count)
{
    return forItems(deleteItemAttr, doc, path, {mode, pos, count}, name,
                    [name](XmlpNode *item, uint32_t) { return xmlp_delNodeAttr(item, name); });
}
