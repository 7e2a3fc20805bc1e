// libxml2, as a tree without blank nodes.

#include "bench/library.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

namespace bench
{

namespace
{

xmlDoc *documentOf(void *document)
{
    return static_cast<xmlDoc *>(document);
}

void *load(std::string_view text)
{
    return xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                         XML_PARSE_NOBLANKS);
}

void release(void *document)
{
    xmlFreeDoc(documentOf(document));
}

template <int isFormatted> size_t serialize(void *document)
{
    xmlChar *text = nullptr;
    int length = 0;
    xmlDocDumpFormatMemoryEnc(documentOf(document), &text, &length, "UTF-8", isFormatted);
    xmlFree(text);
    return static_cast<size_t>(length);
}

} // namespace

const Library libxml2 = {"libxml2", load, release, serialize<0>, serialize<1>};

} // namespace bench
