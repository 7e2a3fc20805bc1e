// tinyxml2, with its default options.

#include "bench/library.h"

#include <tinyxml2.h>

namespace bench
{

namespace
{

::tinyxml2::XMLDocument *documentOf(void *document)
{
    return static_cast<::tinyxml2::XMLDocument *>(document);
}

void release(void *document)
{
    delete documentOf(document);
}

void *load(std::string_view text)
{
    auto *document = new ::tinyxml2::XMLDocument;
    if (document->Parse(text.data(), text.size()) != ::tinyxml2::XML_SUCCESS) {
        release(document);
        return nullptr;
    }
    return document;
}

template <bool isCompact> size_t serialize(void *document)
{
    ::tinyxml2::XMLPrinter printer(nullptr, isCompact);
    documentOf(document)->Print(&printer);
    return static_cast<size_t>(printer.CStrSize()) - 1;
}

} // namespace

const Library tinyxml2 = {"tinyxml2", load, release, serialize<true>, serialize<false>};

} // namespace bench
