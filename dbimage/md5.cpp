#include "dbimage/dbimage.h"

#include <openssl/md5.h>
#include <string.h>

static_assert(MD5_DIGEST_LENGTH == DBIMAGE_DIGEST_SIZE, "digest");

void md5_digest(void *digest, const void *data, uint32_t len)
{
    MD5(static_cast<const unsigned char *>(data), len, static_cast<unsigned char *>(digest));
}

int md5_verify(const void *expected, const void *data, uint32_t len)
{
    unsigned char digest[DBIMAGE_DIGEST_SIZE];
    md5_digest(digest, data, len);
    return memcmp(expected, digest, sizeof digest) == 0;
}
