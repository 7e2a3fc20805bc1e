// rapidxml in its fastest mode, on a copy of the text, since it writes into what it reads. In this
// mode it does not decode entities, and blanks between tags become nodes.

#include "bench/library.h"

#include <iterator>
#include <rapidxml/rapidxml.hpp>
#include <string>

namespace rapidxml
{
namespace internal
{
// The printing header calls these before it declares them.
template <class OutIt, class Ch> OutIt print_children(OutIt, const xml_node<Ch> *, int, int);
template <class OutIt, class Ch> OutIt print_attributes(OutIt, const xml_node<Ch> *, int);
template <class OutIt, class Ch> OutIt print_data_node(OutIt, const xml_node<Ch> *, int, int);
template <class OutIt, class Ch> OutIt print_cdata_node(OutIt, const xml_node<Ch> *, int, int);
template <class OutIt, class Ch> OutIt print_element_node(OutIt, const xml_node<Ch> *, int, int);
template <class OutIt, class Ch>
OutIt print_declaration_node(OutIt, const xml_node<Ch> *, int, int);
template <class OutIt, class Ch> OutIt print_comment_node(OutIt, const xml_node<Ch> *, int, int);
template <class OutIt, class Ch> OutIt print_doctype_node(OutIt, const xml_node<Ch> *, int, int);
template <class OutIt, class Ch> OutIt print_pi_node(OutIt, const xml_node<Ch> *, int, int);
} // namespace internal
} // namespace rapidxml
#include <rapidxml/rapidxml_print.hpp>

namespace bench
{

namespace
{

struct Parsed {
    std::string text;
    ::rapidxml::xml_document<> document;
};

Parsed *parsedOf(void *document)
{
    return static_cast<Parsed *>(document);
}

void release(void *document)
{
    delete parsedOf(document);
}

void *load(std::string_view text)
{
    auto *parsed = new Parsed;
    parsed->text = text;
    try {
        parsed->document.parse<::rapidxml::parse_fastest>(parsed->text.data());
    } catch (const ::rapidxml::parse_error &) {
        release(parsed);
        return nullptr;
    }
    return parsed;
}

template <int flags> size_t serialize(void *document)
{
    std::string text;
    ::rapidxml::print(std::back_inserter(text), parsedOf(document)->document, flags);
    return text.size();
}

} // namespace

const Library rapidxml = {"rapidxml", load, release, serialize<::rapidxml::print_no_indenting>,
                          serialize<0>};

} // namespace bench
