/*
 * The two databases of the product, and the images that hold their texts.
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

/* What ends a subcommand with status 1, reported as "tarn-db-tool: FILE: reason". */
class Failure : public std::runtime_error
{
public:
    Failure(const std::string &file, const std::string &why)
        : std::runtime_error(file + ": " + why), reason(why)
    {
    }

    const std::string reason;
};

/* A row of the table of databases. Sizes and offsets are in bytes. */
struct Database {
    const char *name;
    const char *root;   /* the name of its top element */
    uint32_t offset;    /* of its image in the image file */
    uint32_t textLimit; /* the longest text that the device has room for */
    uint8_t fileType;   /* in an update container */
    bool hasSeries;     /* a device takes an update to the versions 1.2.x only */

    /* How the device loads a text; those that return a status return 0 for success. */
    int (*allocateBuffers)();
    char **textBuffer;
    int (*analyze)();
    void (*freeBuffers)();
    int (*clear)(); /* releases what an earlier load filled */
};

extern const Database databases[2];
extern const Database &applicationDatabase;
extern const Database &priorityDatabase;

/* The database in files of this type in an update container; null if devices ignore them. */
const Database *databaseOfType(uint32_t type);

/* The image of one database in an image file. */
struct Image {
    uint64_t length;  /* that it announces for itself, its length field included */
    bool isThere;     /* the length is one that an image can have */
    bool isComplete;  /* the file has that many bytes, and the device reads them all */
    bool isIntact;    /* the stream ends where and as it should */
    uint64_t present; /* bytes that the file has of it at most */
    std::string text; /* as a device reads it; longer than the limit when it finds more than that */
};

/* Decodes the image of a database, which begins at offset, damaged or not. */
Image readImage(const std::string &file, uint32_t offset, const Database &database);

/* How many bytes a text takes up when it is compressed; an image has imageHead more. */
size_t compressedSize(const InputFile &text);
constexpr uint32_t imageHead = 18;

/*
 * Returns the image of a text: length field, header and stream. Throws Failure, saying by how
 * much, when the text or its image is too long.
 */
std::string packDatabase(const InputFile &text, const Database &database);

} // namespace check

#endif
