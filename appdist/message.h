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
#ifndef APPDIST_MESSAGE_H
#define APPDIST_MESSAGE_H

#include "appdist/appdist.h"

#include <stddef.h>

enum {
    APPDIST_MESSAGE_APP_RULES = 19,
    APPDIST_MESSAGE_BUFFER = 20,
    APPDIST_MESSAGE_DNS_RULES = 21,
    APPDIST_MESSAGE_PARAMS = 22
};

typedef struct appdist_message {
    struct nlmsghdr header;
    uint16_t op;
    uint16_t reserved;
    uint32_t count;
    uint32_t record_size;
    uint32_t parameter[2];
    uint32_t unused[7];
} appdist_message;

static_assert(sizeof(appdist_message) == 64, "message head");
static_assert(offsetof(appdist_message, op) == 16, "message head");
static_assert(offsetof(appdist_message, count) == 20, "message head");
static_assert(offsetof(appdist_message, record_size) == 24, "message head");
static_assert(offsetof(appdist_message, parameter) == 28, "message head");

#pragma GCC visibility push(hidden)
extern "C" {

/*
 * Build what the senders of the same name send on handle, without sending it; handle need not be
 * open, only its own address counts. The caller frees the message, records included. They return
 * null when there are no records and, reported, when memory is short or the length does not fit
 * the header.
 */
appdist_message *_appdist_new_app_rules(const appdist_handle *handle);
appdist_message *_appdist_new_dns_rules(const appdist_handle *handle);
appdist_message *_appdist_new_buffer(const appdist_handle *handle, const void *buffer,
                                     int32_t length);

} /* extern "C" */
#pragma GCC visibility pop

#endif
