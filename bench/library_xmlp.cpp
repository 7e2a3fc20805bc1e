// xmlp, with a static and with a dynamic tree.

#include "bench/library.h"
#include "xmlp/xmlp.h"

#include <cstdint>
#include <cstdlib>

namespace bench
{

namespace
{

template <uint32_t isStatic> void *load(std::string_view text)
{
    return xmlp_loadDoc(text.data(), static_cast<uint32_t>(text.size()), isStatic);
}

void release(void *document)
{
    xmlp_releaseDoc(static_cast<XmlpDoc *>(document));
}

template <int isCompact> size_t serialize(void *document)
{
    uint32_t length = 0;
    char *text = xmlp_dumpDoc(static_cast<XmlpDoc *>(document), isCompact, &length);
    free(text);
    return text != nullptr ? length : 0;
}

} // namespace

#ifdef XMLP_NO_VECTOR
#define BUILD "-no-vector"
#else
#define BUILD ""
#endif

const Library xmlpStatic = {"xmlp_static" BUILD, load<1>, release, serialize<1>, serialize<0>};
const Library xmlpDynamic = {"xmlp_dynamic" BUILD, load<0>, release, serialize<1>, serialize<0>};

} // namespace bench
