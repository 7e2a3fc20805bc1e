/*
 * The XML libraries that are compared, each behind one record. A file library_NAME.cpp adapts the
 * library NAME in the way that its own manual shows.
 */
#ifndef BENCH_LIBRARY_H
#define BENCH_LIBRARY_H

#include <cstddef>
#include <string_view>

namespace bench
{

// An operation that a library does not have is null.
struct Library {
    const char *name;

    // Reads a text, which must stay, into a document; null when it is refused.
    void *(*load)(std::string_view text);
    void (*release)(void *document);

    // Writes the document as a text in memory that is thrown away. Returns its length.
    size_t (*compact)(void *document);
    size_t (*formatted)(void *document);
};

extern const Library xmlpStatic;
extern const Library xmlpDynamic;
extern const Library pugixml;
extern const Library rapidxml;
extern const Library expat;
extern const Library libxml2;
extern const Library tinyxml2;

} // namespace bench

#endif
