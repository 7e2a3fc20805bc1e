/*
 * XML documents, from text and back.
 */
#pragma once

#include "tests/capture.h"
#include "xmlp/xmlp.h"

using Document = std::unique_ptr<XmlpDoc, decltype(&xmlp_releaseDoc)>;

/* Loads from an allocation of exactly the text's size, so that a look past its end is seen. */
inline Document loaded(const std::string &text, uint32_t isStatic)
{
    const std::unique_ptr<char[]> exact(new char[text.size()]);
    text.copy(exact.get(), text.size());
    const auto size = static_cast<uint32_t>(text.size());
    return {xmlp_loadDoc(exact.get(), size, isStatic), xmlp_releaseDoc};
}

/* The document as text. */
inline std::string dumped(const Document &doc, int compact)
{
    uint32_t length = 0;
    const std::unique_ptr<char, decltype(&free)> text(xmlp_dumpDoc(doc.get(), compact, &length),
                                                      free);
    EXPECT_EQ(text.get()[length], '\0');
    return {text.get(), length};
}

/*
 * name:type attr=value attr'value'[child][child]; unless it is exact, only what can be read again
 * from a text.
 */
inline std::string describe(const XmlpNode *node, bool isExact)
{
    const auto textOf = [](const char *text) { return std::string(text != nullptr ? text : ""); };
    const bool isEmpty = node->firstChild == nullptr && node->valueSize == 0;
    const bool isTyped = isExact || !isEmpty || node->type == XMLP_NODE_ITEM;
    std::string all = textOf(node->name) + ":" + std::to_string(isTyped ? node->type : 0);
    for (const XmlpAttr *attr = node->attrs; attr != nullptr; attr = attr->next) {
        all +=
            " " + textOf(attr->name) + (attr->value || !isExact ? "=" : "") + textOf(attr->value);
    }
    if (node->valueSize > 0) {
        all += "'" + std::string(node->value, node->value + node->valueSize) + "'";
    }
    for (const XmlpNode *child = node->firstChild; child != nullptr; child = child->next) {
        all += "[" + describe(child, isExact) + "]";
    }
    return all;
}

/* All nodes, level by level; every link must have its counterpart. */
inline std::vector<const XmlpNode *> nodesOf(const Document &doc)
{
    std::vector<const XmlpNode *> nodes = {doc->tree->root};
    for (size_t i = 0; i < nodes.size(); i++) {
        const XmlpNode *last = nullptr;
        for (const XmlpNode *child = nodes[i]->firstChild; child != nullptr; child = child->next) {
            EXPECT_TRUE(child->parent == nodes[i] && child->prev == last && child->name != nullptr);
            nodes.push_back(last = child);
        }
        EXPECT_TRUE(nodes[i]->lastChild == last);
        EXPECT_EQ(nodes[i]->value != nullptr, nodes[i]->valueSize != 0);
    }
    return nodes;
}
