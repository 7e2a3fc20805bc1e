// Operations of the path interface, one after the other, on a document.
//
// The input is a byte whose lowest bit asks for a static document, its text up to a NUL, and calls:
// the number of an operation and of the node it works on, mode and count, a position, two texts.

#include "fuzz/document.h"

static bool drop(XmlpValue *values, const uint32_t *count)
{
    for (uint32_t i = 0; values != nullptr && i < *count; i++) {
        free(values[i].data);
    }
    free(values);
    return false;
}

static std::string pathOf(const XmlpNode *node)
{
    std::string path;
    for (; node->parent != nullptr; node = node->parent) {
        path = "/" + std::string(node->name) + path;
    }
    return path.empty() ? "/" : path;
}

// Makes the next call. Returns whether the document may be another one afterwards.
static bool call(const Document &document, Input *input)
{
    XmlpDoc *const doc = document.get();
    const unsigned operation = input->byte();
    const unsigned nodeNumber = input->byte();
    const unsigned modeAndCount = input->byte();
    const uint32_t position = input->byte();
    const std::string first = input->text();
    std::string second = input->text();

    const std::vector<const XmlpNode *> nodes = nodesOf(document);
    const std::string where =
        nodeNumber < 250 ? pathOf(nodes[nodeNumber % nodes.size()]) : first; // may lead nowhere
    const char *path = where.c_str();
    const char *name = first.c_str();
    char *text = second.data();
    const auto size = static_cast<uint32_t>(second.size());
    auto *bytes = size > 0 ? reinterpret_cast<unsigned char *>(text) : nullptr;

    const uint32_t mode = modeAndCount % 3;
    const uint32_t n = modeAndCount / 3 % 4;
    const uint32_t at = position == 255 ? XMLP_LAST : position % 16;
    const uint32_t pos[] = {at, at + 1 + position / 16, at + 3 + position / 16};
    const XmlpAttrPair pairs[] = {{name, text}, {"b", text}, {name, nullptr}};
    XmlpAttrPair found[] = {{name, nullptr}, {name, nullptr}, {name, nullptr}};
    const XmlpValue values[] = {{size, bytes}, {0, nullptr}, {size, bytes}};
    const XmlpItem items[] = {
        {0, pairs, size, bytes}, {1, pairs, 0, nullptr}, {2, pairs, 1, bytes}};
    uint32_t count = 1; // of the values that a getter returns
    const std::function<bool()> operations[] = {
        [&] { return xmlp_isExist(doc, path) != (xmlp_seekXml(doc, path) != nullptr); },
        [&] { return drop(xmlp_getValue(doc, path), &count); },
        [&] { return xmlp_setValue(doc, path, bytes, size) == 0; },
        [&] { // an item that is given a name of its own would keep it for ever
            const XmlpNode *node = xmlp_seekXml(doc, path);
            const bool isItem = node != nullptr && node->type == XMLP_NODE_ITEM;
            return !isItem && xmlp_setName(doc, path, name) == 0;
        },
        [&] { return xmlp_add(doc, path, at, name, size > 0 ? values : nullptr, pairs, n) == 0; },
        [&] { return xmlp_getChildCount(doc, path) > nodes.size(); },
        [&] { return xmlp_delete(doc, path) == 0; },
        [&] { return xmlp_getAttr(doc, path, found) > 0; },
        [&] { return xmlp_setAttr(doc, path, pairs) == 0; },
        [&] { return xmlp_addAttr(doc, path, pairs) == 0; },
        [&] { return xmlp_deleteAttr(doc, path, name) == 0; },
        [&] { return xmlp_isItemExist(doc, path, at) > 1; },
        [&] { return drop(xmlp_getItemValue(doc, path, mode, pos, n, &count), &count); },
        [&] { return drop(xmlp_getItemValueByAttr(doc, path, pairs, n, &count), &count); },
        [&] { return xmlp_setItemValue(doc, path, mode, values, pos, n) > 0; },
        [&] { return xmlp_addItem(doc, path, items, at, n) > 0; },
        [&] { return xmlp_deleteItem(doc, path, mode, pos, n) <= 0; }, // in part, it may be
        [&] { return xmlp_getItemAttr(doc, path, mode, found, pos, n) > n; },
        [&] { return xmlp_setItemAttr(doc, path, mode, pairs, pos, n) > 0; },
        [&] { return xmlp_addItemAttr(doc, path, mode, pairs, pos, n) > 0; },
        [&] { return xmlp_deleteItemAttr(doc, path, mode, name, pos, n) > 0; },
    };
    const bool mayChange = operations[operation % std::size(operations)]();
    for (const XmlpAttrPair &pair : found) {
        free(pair.value);
    }
    return mayChange;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    const uint32_t isStatic = input.byte() % 2;
    const Document doc = loaded(input.text(), isStatic);
    std::string before = doc != nullptr ? describe(doc) : "";
    while (doc != nullptr && !input.rest.empty()) {
        const bool mayChange = call(doc, &input);
        std::string after = describe(doc);
        if (after != before) {
            EXPECT_TRUE(mayChange && isStatic == 0);
            readBack(doc, 1);
        }
        before.swap(after);
    }
    return 0;
}
