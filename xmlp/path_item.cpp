// Operations on the items of the list that a path leads to.

#include "xmlp/xmlp_internal.h"

#include <stdlib.h>

namespace
{
// The items that a call addresses.
struct Selection {
    uint32_t mode;
    const uint32_t *pos;
    uint32_t count;
};
} // namespace

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

// Whether all addressed items exist; they do if the last one does. Reports it otherwise.
static bool checkItems(const XmlpOperation &operation, const XmlpNode *list, const Selection &items)
{
    if (items.mode != XMLP_POS_RUN && items.mode != XMLP_POS_LIST) {
        _xmlp_report(operation.name, operation.unkownMode, "unkown mode.");
        return false;
    }
    if (items.mode == XMLP_POS_LIST && _checkOrder(items.pos, items.count) != 0) {
        return false;
    }
    uint64_t last = items.mode == XMLP_POS_RUN ? uint64_t{items.pos[0]} + items.count - 1
                                               : items.pos[items.count - 1];
    // The end of an empty run at 0 wraps around to XMLP_LAST, so it needs an item, too.
    bool exist = (last < XMLP_LAST || last == UINT64_MAX) &&
                 xmlp_getChildNode(list, static_cast<uint32_t>(last)) != nullptr;
    if (!exist && operation.posOverRange != 0) {
        _xmlp_report(operation.name, operation.posOverRange, "pos over range.");
    }
    return exist;
}

// Calls work(item, index) for the addressed items, which exist, until it fails; work may free its
// item. Returns the number of items done.
template <typename Work>
static uint32_t walkItems(const XmlpNode *list, const Selection &items, Work work)
{
    XmlpNode *next = list->firstChild;
    uint32_t nextPosition = 0;
    for (uint32_t i = 0; i < items.count; i++) {
        uint32_t position = items.mode == XMLP_POS_RUN ? items.pos[0] + i : items.pos[i];
        for (; nextPosition < position; nextPosition++) {
            next = next->next;
        }
        XmlpNode *item = next;
        next = item->next;
        nextPosition++;
        if (work(item, i) != 0) {
            return i;
        }
    }
    return items.count;
}

// A whole operation that returns the number of items done. complete is false if an argument beside
// doc, path and items is missing.
template <typename Work>
static uint32_t forItems(const XmlpOperation &operation, XmlpDoc *doc, const char *path,
                         const Selection &items, bool complete, Work work)
{
    complete = complete && items.pos != nullptr && items.count != 0;
    const XmlpNode *list = _openPath(operation, doc, path, complete);
    if (list == nullptr) {
        return 0;
    }
    uint32_t done = checkItems(operation, list, items) ? walkItems(list, items, work) : 0;
    _unLock(doc);
    return done;
}

int xmlp_isItemExist(XmlpDoc *doc, const char *path, uint32_t position)
{
    const XmlpNode *list = _openPath({__func__, 932, 0, 940, 945}, doc, path, true);
    if (list == nullptr) {
        return 0;
    }
    int exists = position != XMLP_LAST && xmlp_getChildNode(list, position) != nullptr;
    _unLock(doc);
    return exists;
}

XmlpValue *xmlp_getItemValue(XmlpDoc *doc, const char *path, uint32_t mode, const uint32_t *pos,
                             uint32_t count, uint32_t *outCount)
{
    constexpr XmlpOperation operation = {"xmlp_getItemValue", 984, 0, 993, 998, 1016, 1021};
    bool complete = pos != nullptr && count != 0 && outCount != nullptr;
    if (doc != nullptr && path != nullptr && complete) {
        *outCount = 0;
    }
    const XmlpNode *list = _openPath(operation, doc, path, complete);
    if (list == nullptr) {
        return nullptr;
    }
    const Selection items = {mode, pos, count};
    XmlpValue *values = nullptr;
    if (checkItems(operation, list, items)) {
        values = static_cast<XmlpValue *>(calloc(count, sizeof(XmlpValue)));
        if (values == nullptr) {
            XMLP_ERROR(1027, "malloc failed.");
        } else {
            *outCount = walkItems(list, items, [&](const XmlpNode *item, uint32_t i) {
                int status = _copyNodeValue(&values[i], item, 1);
                if (status != 0) {
                    int line = i == 0 ? 1039 : mode == XMLP_POS_RUN ? 1061 : 1088;
                    _xmlp_report("xmlp_getItemValue", line, "malloc failed.");
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
    return forItems({__func__, 1131, 1136, 1144, 1149, 1167, 1172}, doc, path, {mode, pos, count},
                    values != nullptr, [values](XmlpNode *item, uint32_t i) {
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

static XmlpValue *copyMatches(const XmlpNode *list, const XmlpAttrPair *pairs, uint32_t pairCount,
                              uint32_t *outCount)
{
    uint32_t count = 0;
    for (const XmlpNode *item = list->firstChild; item != nullptr; item = item->next) {
        count += hasAttrs(item, pairs, pairCount) ? 1 : 0;
    }
    if (count == 0) {
        *outCount = 0;
        return nullptr;
    }
    auto *values = static_cast<XmlpValue *>(calloc(count, sizeof(XmlpValue)));
    if (values == nullptr) {
        _xmlp_report("xmlp_getItemValueByAttr", 1947, "malloc failed.");
        return nullptr;
    }
    uint32_t copied = 0;
    for (const XmlpNode *item = list->firstChild; item != nullptr; item = item->next) {
        if (hasAttrs(item, pairs, pairCount) && _copyNodeValue(&values[copied++], item, 0) != 0) {
            _xmlp_report("xmlp_getItemValueByAttr", 1968, "malloc failed.");
            while (copied > 0) {
                free(values[--copied].data);
            }
            free(values);
            return nullptr;
        }
    }
    *outCount = count;
    return values;
}

XmlpValue *xmlp_getItemValueByAttr(XmlpDoc *doc, const char *path, const XmlpAttrPair *pairs,
                                   uint32_t pairCount, uint32_t *outCount)
{
    const XmlpNode *list = _openPath({__func__, 1908, 0, 1916, 1921}, doc, path,
                                     pairs != nullptr && pairCount != 0 && outCount != nullptr);
    if (list == nullptr) {
        return nullptr;
    }
    XmlpValue *values = copyMatches(list, pairs, pairCount, outCount);
    _unLock(doc);
    return values;
}

XmlpNode *_item2Node(const XmlpItem *item)
{
    if (item == nullptr) {
        XMLP_ERROR(197, "item is null.");
        return nullptr;
    }
    XmlpNode *node = xmlp_initNode();
    if (node == nullptr) {
        return nullptr;
    }
    int status = 0;
    if (item->value != nullptr && item->valueSize != 0) {
        node->value = _copyBytes(item->value, item->valueSize, 0);
        node->valueSize = item->valueSize;
        status = node->value != nullptr ? 0 : XMLP_FAIL(212, "malloc failed.");
    }
    if (status != 0 || _addAttrPairs(node, item->attrs, item->attrCount) != 0) {
        xmlp_delNode(node);
        return nullptr;
    }
    return node;
}

uint32_t xmlp_addItem(XmlpDoc *doc, const char *path, const XmlpItem *items, uint32_t position,
                      uint32_t count)
{
    bool complete = items != nullptr && count != 0;
    for (uint32_t i = 0; complete && i < count; i++) {
        complete = items[i].attrs != nullptr || items[i].attrCount == 0;
    }
    XmlpNode *list = _openPath({__func__, 1237, 1242, 1250, 1259}, doc, path, complete);
    if (list == nullptr) {
        return 0;
    }
    list->type = XMLP_NODE_LIST;
    uint32_t added = 0;
    for (XmlpNode *before = nullptr; added < count; added++) {
        XmlpNode *node = _item2Node(&items[added]);
        if (node == nullptr) {
            break;
        }
        node->name = _xmlp_itemName;
        node->type = XMLP_NODE_ITEM;
        if (before == nullptr && position != 0 && position != XMLP_LAST) {
            before = xmlp_getChildNode(list, position - 1);
            if (before == nullptr) {
                XMLP_ERROR(1300, "pos over range.");
                xmlp_delNode(node);
                break;
            }
        }
        if (before != nullptr) {
            xmlp_insNodeAfter(node, before);
        } else {
            xmlp_addChildNode(node, list, position);
        }
        before = node;
    }
    _unLock(doc);
    return added;
}

int xmlp_deleteItem(XmlpDoc *doc, const char *path, uint32_t mode, const uint32_t *pos,
                    uint32_t count)
{
    constexpr XmlpOperation operation = {"xmlp_deleteItem", 1344, 1357, 1365, 1371, 1405, 1411};
    if (doc != nullptr && path != nullptr && pos != nullptr && count == 0 && mode != XMLP_POS_RUN &&
        pos[0] != XMLP_LAST) {
        return XMLP_FAIL(1351, "invalid params.");
    }
    const XmlpNode *list = _openPath(operation, doc, path, pos != nullptr);
    if (list == nullptr) {
        return -1;
    }
    const Selection items = {mode, pos, count};
    int status = 0;
    if (mode == XMLP_POS_RUN && pos[0] == XMLP_LAST) {
        while (status == 0 && list->firstChild != nullptr) {
            status = xmlp_delNode(list->firstChild);
        }
    } else if (checkItems(operation, list, items)) {
        walkItems(list, items, [](XmlpNode *item, uint32_t) {
            xmlp_delNode(item);
            return 0;
        });
    } else {
        status = -1;
    }
    _unLock(doc);
    return status;
}

uint32_t xmlp_getItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, XmlpAttrPair *pairs,
                          const uint32_t *pos, uint32_t count)
{
    return forItems({__func__, 1474, 0, 1482, 1487, 1505, 1510}, doc, path, {mode, pos, count},
                    pairs != nullptr, [pairs](const XmlpNode *item, uint32_t i) {
                        return xmlp_getNodeAttr(item, pairs[i].name, &pairs[i].value);
                    });
}

uint32_t xmlp_setItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, const XmlpAttrPair *pairs,
                          const uint32_t *pos, uint32_t count)
{
    return forItems({__func__, 1578, 1583, 1591, 1596, 1614, 1619}, doc, path, {mode, pos, count},
                    pairs != nullptr, [pairs](XmlpNode *item, uint32_t i) {
                        return xmlp_setNodeAttr(item, pairs[i].name, pairs[i].value);
                    });
}

uint32_t xmlp_addItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, const XmlpAttrPair *pairs,
                          const uint32_t *pos, uint32_t count)
{
    return forItems({__func__, 1687, 1692, 0, 1705, 1723}, doc, path, {mode, pos, count},
                    pairs != nullptr, [pairs](XmlpNode *item, uint32_t i) {
                        return xmlp_addNodeAttr(item, pairs[i].name, pairs[i].value);
                    });
}

uint32_t xmlp_deleteItemAttr(XmlpDoc *doc, const char *path, uint32_t mode, const char *name,
                             const uint32_t *pos, uint32_t count)
{
    return forItems({__func__, 1796, 1801, 1809, 1814, 1832, 1837}, doc, path, {mode, pos, count},
                    name != nullptr,
                    [name](XmlpNode *item, uint32_t) { return xmlp_delNodeAttr(item, name); });
}
