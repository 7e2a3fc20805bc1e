#include "dbimage/dbimage.h"

#include "appmngr/appmngr_model.h"

#include <arpa/inet.h>
#include <string.h>

static const uint32_t headerSize = sizeof(dbimage_fileHeader);

int appmngr_decrypt(void *dst, uint32_t *pDstLen, const void *src, uint32_t srcLen)
{
    if (dst == nullptr || pDstLen == nullptr || src == nullptr) {
        APPMNGR_ERROR(2646, "Invalid param!\n");
        return -1;
    }
    const uint32_t capacity = *pDstLen;
    if (srcLen <= DBIMAGE_DIGEST_SIZE || capacity <= srcLen) {
        APPMNGR_ERROR(2653, "invalid length: srcLen = [%d] *pDstlen = [%d]\n",
                      static_cast<int>(srcLen), static_cast<int>(capacity));
        return -2;
    }
    memset(dst, 0, capacity);
    const int length = wexal_des_min_do(src, static_cast<int32_t>(srcLen), dst,
                                        static_cast<int32_t>(capacity), g_appmngr_databaseKey, 0);
    if (length <= DBIMAGE_DIGEST_SIZE) {
        APPMNGR_ERROR(2675, "wexal_des_min_do failed: length = [%d]\n", length);
        return -3;
    }
    unsigned char *const digested = static_cast<unsigned char *>(dst) + DBIMAGE_DIGEST_SIZE;
    uint32_t payloadLength = 0;
    memcpy(&payloadLength, digested, sizeof payloadLength);
    payloadLength = ntohl(payloadLength);
    *pDstLen = payloadLength + headerSize;

    /* The length is the file's own claim; its sum may have wrapped. */
    const uint64_t end = uint64_t{DBIMAGE_DIGEST_SIZE} + headerSize + payloadLength;
    if (end > capacity || !md5_verify(dst, digested, *pDstLen)) {
        return -4;
    }
    memmove(dst, digested, *pDstLen);
    return 1;
}
