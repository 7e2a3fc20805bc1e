/*
 * XML documents, from text and back.
 */
#ifndef TESTS_DOCUMENT_H
#define TESTS_DOCUMENT_H

#include "tests/capture.h"
#include "xmlp/xmlp.h"

#include <cstdlib>
#include <memory>
#include <string>

using Document = std::unique_ptr<XmlpDoc, decltype(&xmlp_releaseDoc)>;

/* Loads from an allocation of exactly the text's size, so that a look past its end is seen. */
inline Document loaded(const std::string &text, uint32_t isStatic)
{
    const std::unique_ptr<char[]> exact(new char[text.size()]);
    text.copy(exact.get(), text.size());
    const auto size = static_cast<uint32_t>(text.size());
    return {xmlp_loadDoc(exact.get(), size, isStatic), xmlp_releaseDoc};
}

/* The document as text, which must be as long as it was computed to be. */
inline std::string dumped(const Document &doc, int compact)
{
    uint32_t length = 0;
    const std::unique_ptr<char, decltype(&free)> text(xmlp_dumpDoc(doc.get(), compact, &length),
                                                      free);
    EXPECT_EQ(std::char_traits<char>::length(text.get()), length);
    return text.get();
}

#endif
