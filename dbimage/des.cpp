#include "dbimage/dbimage.h"

#include <openssl/crypto.h>
#include <openssl/des.h>
#include <string.h>

static const int32_t blockSize = sizeof(DES_cblock);

int wexal_des_min_do(const void *src, int32_t srcLen, void *dst, int32_t dstLen, const void *key,
                     int encrypt)
{
    if (src == nullptr || dst == nullptr || key == nullptr ||
        int64_t{dstLen} - blockSize < srcLen) {
        return 0;
    }
    DES_cblock block;
    memcpy(block, key, sizeof block);
    DES_key_schedule schedule;
    DES_set_key_unchecked(&block, &schedule);

    const auto *in = static_cast<const unsigned char *>(src);
    auto *out = static_cast<unsigned char *>(dst);
    int written = 0;
    for (int32_t left = srcLen; left > 0; left -= blockSize) {
        const int32_t taken = left < blockSize ? left : blockSize;
        memset(block, 0, sizeof block);
        memcpy(block, in + written, static_cast<size_t>(taken));
        DES_ecb_encrypt(&block, &block, &schedule, encrypt ? DES_ENCRYPT : DES_DECRYPT);
        const int32_t given = encrypt ? blockSize : taken;
        memcpy(out + written, block, static_cast<size_t>(given));
        written += given;
    }
    OPENSSL_cleanse(block, sizeof block);
    OPENSSL_cleanse(&schedule, sizeof schedule);
    return written;
}
