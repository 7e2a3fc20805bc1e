/*
 * Update containers and the database files in them, put together from their parts.
 */
#pragma once

#include "dbimage/dbimage.h"
#include "tests/capture.h"

/* The low 32 bits, big-endian. */
inline std::string word(uint64_t value)
{
    const uint32_t word = htonl(static_cast<uint32_t>(value));
    return {reinterpret_cast<const char *>(&word), sizeof(word)};
}

inline std::string digestOf(const std::string &bytes)
{
    unsigned char digest[DBIMAGE_DIGEST_SIZE];
    md5_digest(digest, bytes.data(), static_cast<uint32_t>(bytes.size()));
    return {reinterpret_cast<const char *>(digest), sizeof(digest)};
}

inline const std::string databaseKey(reinterpret_cast<const char *>(g_appmngr_databaseKey), 8);

inline std::string des(const std::string &input, int encrypt, const std::string &key = databaseKey)
{
    const auto length = static_cast<int32_t>(input.size());
    std::string output(input.size() + 8, '\0');
    const int written =
        wexal_des_min_do(input.data(), length, output.data(), length + 8,
                         reinterpret_cast<const unsigned char *>(key.data()), encrypt);
    return output.substr(0, static_cast<size_t>(written));
}

inline std::string encrypted(const std::string &body)
{
    return des(digestOf(body) + body, 1);
}

inline std::string databaseFile(const std::string &payload, uint32_t version, uint32_t magic = 0,
                                uint32_t reserved = 0)
{
    return encrypted(word(payload.size()) + word(version) + word(magic) + word(reserved) + payload);
}

/* A file in a container. */
inline std::string entry(char type, const std::string &file)
{
    return std::string(1, type) + "..." + word(file.size()) + file;
}

inline std::string container(int count, const std::string &entries)
{
    return digestOf(entries) + static_cast<char>(count) + entries;
}
