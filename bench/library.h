/*
 * The XML libraries that are compared, each behind one record. library_NAME.cpp uses the
 * library NAME as its manual shows.
 */
#ifndef BENCH_LIBRARY_H
#define BENCH_LIBRARY_H

#include <cstddef>
#include <string_view>

namespace bench
{

/* An operation that a library does not have is null. */
struct Library {
    const char *name;

    /* Reads a text, which must stay, into a document; null if it is rejected. */
    void *(*load)(std::string_view text);
    void (*release)(void *document);

    /* Writes the document to a text in memory and discards it. Returns its length. */
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
