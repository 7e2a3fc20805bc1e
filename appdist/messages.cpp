/*
 * A message to the classifier: one netlink datagram, integers in host byte order.
 *
 *      0                   4         6         8                  12                 16
 *      +-------------------+---------+---------+------------------+------------------+
 *    0 | nlmsg_len         | type    | flags 1 | nlmsg_seq 0      | nlmsg_pid        |
 *      +---------+---------+---------+---------+------------------+------------------+
 *   16 | op 0    | 0       | count             | record_size      | 0                |
 *      +---------+---------+-------------------+------------------+------------------+
 *   32 | 0                   0                   0                  0                |
 *      +-----------------------------------------------------------------------------+
 *   48 | 0                   0                   0                  0                |
 *      +-----------------------------------------------------------------------------+
 *   64 | count records of record_size bytes ...
 *
 *      type  records                              record_size
 *      19    rules                                596
 *      20    bytes                                1
 *      21    DNS keywords                         20
 *      22    none; count, record_size and the two words after them are four parameters
 */
#include "appdist/appdist.h"

#include "appmngr/appmngr_model.h"

#include <errno.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum : uint16_t {
    messageAppRules = 19,
    messageBuffer = 20,
    messageDnsRules = 21,
    messageParams = 22,
};

struct Message {
    nlmsghdr header;
    uint16_t op;
    uint16_t reserved;
    uint32_t count;
    uint32_t record_size;
    uint32_t parameter[2];
    uint32_t unused[7];
};

static_assert(sizeof(Message) == 64, "message head");
static_assert(offsetof(Message, op) == 16, "message head");
static_assert(offsetof(Message, count) == 20, "message head");
static_assert(offsetof(Message, record_size) == 24, "message head");
static_assert(offsetof(Message, parameter) == 28, "message head");

/*
 * Allocates a zeroed message with room for recordBytes and fills in its netlink header. Returns
 * null, reported, when memory is short or the length does not fit the header.
 */
static Message *newMessage(const appdist_handle *handle, uint16_t type, uint64_t recordBytes)
{
    const uint64_t size = sizeof(Message) + recordBytes;
    auto *message =
        size <= UINT32_MAX ? static_cast<Message *>(calloc(1, static_cast<size_t>(size))) : nullptr;
    if (message == nullptr) {
        printf(" malloc mem eroor");
        return nullptr;
    }
    message->header.nlmsg_len = static_cast<uint32_t>(size);
    message->header.nlmsg_type = type;
    message->header.nlmsg_flags = NLM_F_REQUEST;
    message->header.nlmsg_pid = handle->local.nl_pid;
    return message;
}

/* Sends, reports a failure and frees the message. Returns the result of the send. */
static int32_t sendMessage(appdist_handle *handle, Message *message)
{
    const int32_t sent = appdist_netlink_sendto(handle, message, message->header.nlmsg_len);
    if (sent < 1) {
        const int systemError = errno; /* before printing can change it */
        printf("app netlink sendto fail, ret:%d\n", sent);
        if (systemError != 0) {
            puts(strerror(systemError));
        }
    }
    free(message);
    return sent;
}

static int32_t sendRecords(appdist_handle *handle, uint16_t type, const void *records,
                           uint32_t count, uint32_t recordSize)
{
    if (count == 0) {
        return 0;
    }
    const uint64_t recordBytes = uint64_t{count} * recordSize;
    Message *message = newMessage(handle, type, recordBytes);
    if (message == nullptr) {
        return 0;
    }
    message->count = count;
    message->record_size = recordSize;
    memcpy(message + 1, records, static_cast<size_t>(recordBytes));
    return sendMessage(handle, message);
}

int32_t appdist_send_app_rules(appdist_handle *handle)
{
    return sendRecords(handle, messageAppRules, g_appmngr_appDb.rule, g_appmngr_appDb.ruleCount,
                       sizeof(appmngr_rule));
}

int32_t appdist_send_dns_rules(appdist_handle *handle)
{
    return sendRecords(handle, messageDnsRules, g_appmngr_appDns.rule, g_appmngr_appDns.count,
                       sizeof(appmngr_dnsRule));
}

int32_t appdist_send_buffer(appdist_handle *handle, const void *buffer, int32_t length)
{
    const uint32_t count = length > 0 ? static_cast<uint32_t>(length) : 0;
    return sendRecords(handle, messageBuffer, buffer, count, 1);
}

int32_t appdist_send_params(appdist_handle *handle, uint32_t a, uint32_t b, uint32_t c, uint32_t d)
{
    Message *message = newMessage(handle, messageParams, 0);
    if (message == nullptr) {
        return 0;
    }
    /* Kept on purpose: the parameters lie in the order a, d, b, c. */
    message->count = a;
    message->record_size = d;
    message->parameter[0] = b;
    message->parameter[1] = c;
    return sendMessage(handle, message);
}
