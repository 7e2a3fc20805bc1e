/*
 * What holds of every document.
 */
#pragma once

#include "fuzz/input.h"
#include "tests/document.h"

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

/*
 * The document read again from its text, which must then give the same text; null when the parser
 * rejects it (an edited document may hold what no text can) or a broken character might hide
 * brackets.
 */
inline Document readBack(const Document &doc, int compact)
{
    const std::string text = dumped(doc, compact);
    const auto isAscii = [](char byte) { return static_cast<signed char>(byte) >= 0; };
    const bool isPlain = std::all_of(text.begin(), text.end(), isAscii);
    Document again = loaded(isPlain ? text : "", 1);
    if (again != nullptr) {
        EXPECT_EQ(dumped(again, compact), text);
    }
    return again;
}
