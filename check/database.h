/*
 * The databases that an image file holds: packing a text into an image and getting it back.
 */
#ifndef CHECK_DATABASE_H
#define CHECK_DATABASE_H

#include <cstdint>
#include <stdexcept>
#include <string>

namespace check
{

struct InputFile {
    std::string name; /* for messages */
    std::string contents;
};

/* The error that ends a subcommand with status 1, reported as "tarn-db-tool: FILE: reason". */
class Failure : public std::runtime_error
{
public:
    Failure(const std::string &file, const std::string &reason)
        : std::runtime_error(file + ": " + reason)
    {
    }
};

/* One of the databases that an image file holds. Sizes and offsets in bytes. */
struct Database {
    const char *name;
    uint32_t offset;    /* where its image begins in the file */
    uint32_t textLimit; /* longest text that the device has room for */
};

extern const Database applicationDatabase;
extern const Database priorityDatabase;

/*
 * Returns the image of a text: length field, header and stream. Throws Failure, saying by how
 * much, when the text or its image is too long.
 */
std::string packDatabase(const InputFile &text, const Database &database);

/*
 * Returns the text that a database of an image file holds. Throws Failure when there is none or
 * when it is damaged, however much the device would make of it.
 */
std::string unpackDatabase(const InputFile &image, const Database &database);

} // namespace check

#endif
