/*
 * What holds of every document.
 */
#pragma once

#include "fuzz/input.h"
#include "tests/document.h"
#include "xmlp/xmlp_internal.h"

/* All that a text can say of a document. */
inline std::string describe(const Document &doc)
{
    std::string all(reinterpret_cast<const char *>(doc->tree->header), doc->tree->headerLen);
    const XmlpNode *child = nodesOf(doc)[0]->firstChild;
    for (; child != nullptr; child = child->next) {
        all += "[" + describe(child, false) + "]";
    }
    return all;
}

/* Whether the parser takes what the serializer writes for a node. */
inline bool isReadable(const XmlpNode *node)
{
    const auto isNamedItem = [](const XmlpNode *any) { return strcmp(any->name, "item") == 0; };
    const auto nameLength = static_cast<uint32_t>(strlen(node->name));
    const bool isValue = node->type == XMLP_NODE_VALUE || node->type == XMLP_NODE_ITEM;
    // An item that lost its children stays what they made of it; as an item of "/", a structure
    // that has no children yet can be given a value.
    bool isReadable = nameLength > 0 && (node->valueSize == 0 || isValue) &&
                      (isEmpty(node) ? !isNamedItem(node) || node->type == XMLP_NODE_ITEM
                                     : xmlp_isValidName(node->name, nameLength) != 0);
    std::string earlier;
    for (const XmlpAttr *attr = node->attrs; attr != nullptr; attr = attr->next) {
        const std::string name = std::string("\n") + attr->name; // refused as a beginning of one
        isReadable = isReadable && earlier.find(name) == std::string::npos &&
                     !(isEmpty(node) && attr->value && strchr(attr->value, '/'));
        earlier += name;
    }
    for (const XmlpNode *child = node->firstChild; child != nullptr; child = child->next) {
        isReadable = isReadable && isNamedItem(child) == (node->type == XMLP_NODE_LIST);
    }
    return isReadable;
}

/*
 * A readable document must be the same again after writing and reading. In others than ASCII ones,
 * a broken character may hide marks from the parser.
 */
inline void expectReadBack(const Document &doc, int compact)
{
    const std::vector<const XmlpNode *> nodes = nodesOf(doc);
    const std::string text = dumped(doc, compact);
    const XmlpNode *top = nodes[0]->firstChild;
    const bool isPlainTop = top != nullptr && top->next == nullptr && top->name[0] != '?' &&
                            top->type != XMLP_NODE_ITEM && strcmp(top->name, "item") != 0;
    const auto isAscii = [](char byte) { return static_cast<signed char>(byte) >= 0; };
    if (isPlainTop && std::all_of(nodes.begin() + 1, nodes.end(), isReadable) &&
        std::all_of(text.begin(), text.end(), isAscii)) {
        EXPECT_EQ(describe(loaded(text, 1)), describe(doc));
    }
}
