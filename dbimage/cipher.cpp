// DES, MD5 and the database key.

#include "dbimage/dbimage.h"

#include "database_key.h"

#include <openssl/crypto.h>
#include <openssl/des.h>
#include <openssl/md5.h>
#include <string.h>

static_assert(MD5_DIGEST_LENGTH == DBIMAGE_DIGEST_SIZE, "digest");

const unsigned char g_appmngr_databaseKey[8] = {TARN_DATABASE_KEY_BYTES};

int wexal_des_min_do(const void *src, int32_t srcLen, void *dst, int32_t dstLen, const void *key,
                     int encrypt)
{
    static constexpr int32_t blockSize = sizeof(DES_cblock);
    if (src == nullptr || dst == nullptr || key == nullptr ||
        int64_t{dstLen} - blockSize < srcLen) {
        return 0;
    }
    DES_cblock block;
    memcpy(block, key, sizeof(block));
    DES_key_schedule schedule;
    DES_set_key_unchecked(&block, &schedule);

    const auto *in = static_cast<const unsigned char *>(src);
    auto *out = static_cast<unsigned char *>(dst);
    int written = 0;
    for (int32_t left = srcLen; left > 0; left -= blockSize) {
        const int32_t count = left < blockSize ? left : blockSize;
        memset(block, 0, sizeof(block));
        memcpy(block, in + written, static_cast<size_t>(count));
        DES_ecb_encrypt(&block, &block, &schedule, encrypt ? DES_ENCRYPT : DES_DECRYPT);
        const int32_t outCount = encrypt ? blockSize : count;
        memcpy(out + written, block, static_cast<size_t>(outCount));
        written += outCount;
    }
    OPENSSL_cleanse(block, sizeof(block));
    OPENSSL_cleanse(&schedule, sizeof(schedule));
    return written;
}

void md5_digest(void *digest, const void *data, uint32_t len)
{
    MD5(static_cast<const unsigned char *>(data), len, static_cast<unsigned char *>(digest));
}

int md5_verify(const void *expected, const void *data, uint32_t len)
{
    unsigned char digest[DBIMAGE_DIGEST_SIZE];
    md5_digest(digest, data, len);
    return memcmp(expected, digest, sizeof(digest)) == 0;
}
