/*
 * The documents that are measured: texts in files, which are mapped rather than allocated, so that
 * the allocator serves only what is measured.
 */
#ifndef BENCH_DOCUMENTS_H
#define BENCH_DOCUMENTS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace bench
{

/*
 * Texts of one kind and size, to be used in turn: a processor would learn the branches of a single
 * short text, while in real use a text is read once.
 */
struct Document {
    std::string kind; /* one of the generator's */
    std::string size; /* "25KB" to "2MB", thousands and millions of bytes */
    size_t bytes;
    std::vector<std::string_view> texts;
    std::vector<std::string_view> images; /* that the first texts of a database are packed into */

    /* Its name in benchmarks, such as "database/200KB". */
    std::string name() const
    {
        return kind + "/" + size;
    }
};

/* All kinds in all sizes; empty until they are opened. */
std::vector<Document> &documents();

/* Writes the texts and the images to files in the folder. Returns whether all went well. */
bool writeDocuments(const std::string &folder);

/* Opens what writeDocuments wrote there. Returns whether all of it is there. */
bool openDocuments(const std::string &folder);

/* The image that the text is packed into. */
std::string packImage(std::string_view text);

} // namespace bench

#endif
