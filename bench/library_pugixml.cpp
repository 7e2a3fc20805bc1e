// pugixml, with its default options.

#include "bench/library.h"

#include <pugixml.hpp>
#include <string>

namespace bench
{

namespace
{

pugi::xml_document *documentOf(void *document)
{
    return static_cast<pugi::xml_document *>(document);
}

void release(void *document)
{
    delete documentOf(document);
}

void *load(std::string_view text)
{
    auto *document = new pugi::xml_document;
    if (!document->load_buffer(text.data(), text.size())) {
        release(document);
        return nullptr;
    }
    return document;
}

struct StringWriter : pugi::xml_writer {
    void write(const void *data, size_t size) override
    {
        text.append(static_cast<const char *>(data), size);
    }

    std::string text;
};

template <unsigned flags> size_t serialize(void *document)
{
    StringWriter writer;
    documentOf(document)->save(writer, "  ", flags, pugi::encoding_utf8);
    return writer.text.size();
}

} // namespace

const Library pugixml = {"pugixml", load, release, serialize<pugi::format_raw>,
                         serialize<pugi::format_indent>};

} // namespace bench
