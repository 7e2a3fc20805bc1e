/*
 * What is in a file of any kind: XML text, image or update container.
 */
#ifndef CHECK_CONTENT_H
#define CHECK_CONTENT_H

#include "check/database.h"
#include "dbimage/dbimage.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace check
{

enum class FileKind { Text, Image, Container };

/* What the file looks like; an image if it looks like nothing else. */
FileKind kindOf(const std::string &file);

/* The images of both databases in an image file, in the order of the table. */
using Images = std::array<Image, 2>;
Images readImages(const std::string &file);

/* Whether one of them is something like an image. */
bool isPlausible(const Images &images);

/* Whether an image file has anything where the image of a database would be. */
bool hasImage(const std::string &file, const Database &database);

/* A file in an update container. */
struct ContainedFile {
    uint32_t type;
    uint32_t size;                            /* in bytes, encrypted */
    const Database *database;                 /* null if devices ignore files of this type */
    std::optional<dbimage_fileHeader> header; /* if it could be decrypted */
    std::string image;                        /* what follows the header, with its length field */
};

/*
 * Decrypts the files of a container as a device does. A damaged container has no files, or fewer;
 * fault is null for one that is divided as it should be.
 */
std::vector<ContainedFile> readContainer(const std::string &container, const dbimage_fault **fault);

/* The same for a file that must be an intact container, or throws Failure. */
std::vector<ContainedFile> requireContainer(const InputFile &file);

/* The text of a file in a container. Throws Failure for container when it cannot be had. */
std::string containedText(const ContainedFile &file, const std::string &container);

/*
 * The text of a database in a file of any kind; the last one in a container. Nothing if there is no
 * such database. Throws Failure if it is damaged, however much a device would make of it.
 */
std::optional<std::string> findText(const InputFile &file, const Database &database);

/* The same, but throws Failure if there is no such database. */
std::string textOf(const InputFile &file, const Database &database);

} // namespace check

#endif
