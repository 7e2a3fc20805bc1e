// expat, events only: it builds no document.

#include "bench/library.h"

#include <expat.h>

namespace bench
{

namespace
{

void onStart(void * /*user*/, const XML_Char * /*name*/, const XML_Char ** /*attributes*/) {}

void onEnd(void * /*user*/, const XML_Char * /*name*/) {}

void onText(void * /*user*/, const XML_Char * /*text*/, int /*length*/) {}

void *load(std::string_view text)
{
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetElementHandler(parser, onStart, onEnd);
    XML_SetCharacterDataHandler(parser, onText);
    if (XML_Parse(parser, text.data(), static_cast<int>(text.size()), 1) != XML_STATUS_OK) {
        XML_ParserFree(parser);
        return nullptr;
    }
    return parser;
}

void release(void *document)
{
    XML_ParserFree(static_cast<XML_Parser>(document));
}

} // namespace

const Library expat = {"expat", load, release, nullptr, nullptr};

} // namespace bench
