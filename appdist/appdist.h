/*
 * appdist - the netlink channel to the kernel's traffic classifier and the messages on it.
 *
 * The channel is a raw AF_NETLINK socket of a private protocol; every datagram begins with a struct
 * nlmsghdr (see netlink(7)). Nothing here is thread-safe.
 */
#ifndef APPDIST_APPDIST_H
#define APPDIST_APPDIST_H

#include <linux/netlink.h>
#include <stdint.h>
#include <sys/socket.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    APPDIST_ERR_UNKNOWN = 0,
    APPDIST_ERR_IMPLEMENTATION = 1,
    APPDIST_ERR_CREATE_HANDLE = 2,
    APPDIST_ERR_CREATE_SOCKET = 3,
    APPDIST_ERR_BIND = 4,
    APPDIST_ERR_ALLOC_BUFFER = 5,
    APPDIST_ERR_RECEIVE = 6,
    APPDIST_ERR_EOF = 7,
    APPDIST_ERR_PEER_ADDR_LEN = 8,
    APPDIST_ERR_SENT_TRUNCATED = 9,
    APPDIST_ERR_RECEIVED_TRUNCATED = 10,
    APPDIST_ERR_NETLINK_ERROR = 11,
    APPDIST_ERR_SEND = 12,
    APPDIST_ERR_NOT_SUPPORTED = 13,
    APPDIST_ERR_RECV_BUFFER_SIZE = 14,
    APPDIST_ERR_TIMEOUT = 15,
    APPDIST_ERR_PROTOCOL = 16
};

/* Code of the last failure, 0 before the first. */
extern int32_t appdist_errno;

/* Returns the message of a code; that of APPDIST_ERR_IMPLEMENTATION for one outside the table. */
const char *appdist_strerror(int32_t code);

/* Returns the message of appdist_errno, "" while it is 0. */
const char *appdist_last_error_text(void);

/*
 * Writes "prefix: channel error: system error" and a newline to standard error, omitting errors
 * that are not set; a null prefix reads "ERROR". Returns what writing the newline returned.
 */
int appdist_print_error(const char *prefix);

/* One open channel, 32 bytes. */
typedef struct appdist_handle {
    int32_t fd;
    uint32_t reserved;
    struct sockaddr_nl local; /* bound; its port id is the process id */
    struct sockaddr_nl peer;  /* where sends go; each receive writes the sender here */
} appdist_handle;

/*
 * Opens a channel. flags is ignored; protocol_family is 2 (netlink protocol 22) or 10 (netlink
 * protocol 13). Returns a handle for appdist_destroy_handle, or null with appdist_errno set, except
 * when the send buffer size cannot be set or read.
 */
appdist_handle *appdist_create_handle(uint32_t flags, uint32_t protocol_family);

/* Closes the channel and frees the handle, which may be null. Returns 0. */
int appdist_destroy_handle(appdist_handle *handle);

/*
 * Send one datagram, from a buffer or a scatter list. Return the result of sendto or sendmsg; a
 * negative one sets APPDIST_ERR_SEND.
 */
int32_t appdist_netlink_sendto(appdist_handle *handle, const void *buffer, uint32_t length);
int32_t appdist_netlink_sendmsg(appdist_handle *handle, const struct msghdr *message, int flags);

/*
 * Receives one datagram from the kernel into length (at least 20) bytes at buffer. timeout is in
 * microseconds: 0 blocks, a negative one polls once. Returns the number of bytes received; 0 on a
 * timeout (APPDIST_ERR_TIMEOUT) or a signal; a negative number with appdist_errno set.
 */
int32_t appdist_netlink_recvfrom(appdist_handle *handle, void *buffer, uint32_t length,
                                 int32_t timeout);

/* The same as appdist_netlink_recvfrom. */
int32_t appdist_receive(appdist_handle *handle, void *buffer, uint32_t length, int32_t timeout);

/* Returns the type of the netlink message at buffer, which holds at least 16 bytes. */
uint16_t appdist_message_type(const void *buffer);

/* Returns the positive error number of the netlink error message (at least 20 bytes) at buffer. */
int32_t appdist_message_error(const void *buffer);

/* Accepts a handle and further arguments, ignores them and returns 1. */
int appdist_configure(appdist_handle *handle, ...);

/*
 * The head of a message to the classifier, which is one netlink datagram. Integers are in host byte
 * order. What follows is the records.
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

/*
 * Each sends one message, as one datagram: the rules of g_appmngr_appDb; the DNS keywords of
 * g_appmngr_appDns; length bytes at buffer, as records of one byte; four parameters, which lie in
 * the message in the order a, d, b, c. They return the number of bytes sent; what the send returned
 * when it failed, reported on standard output; 0 when there is nothing to send or, reported, memory
 * is short or the length does not fit the header.
 */
int32_t appdist_send_app_rules(appdist_handle *handle);
int32_t appdist_send_dns_rules(appdist_handle *handle);
int32_t appdist_send_buffer(appdist_handle *handle, const void *buffer, int32_t length);
int32_t appdist_send_params(appdist_handle *handle, uint32_t a, uint32_t b, uint32_t c, uint32_t d);

/*
 * Build the messages of the senders of the same name. Of handle, which need not be open, only the
 * port id of its local address is used. They return a message for the caller to free, or null where
 * the sender would return 0.
 */
appdist_message *appdist_new_app_rules(const appdist_handle *handle);
appdist_message *appdist_new_dns_rules(const appdist_handle *handle);
appdist_message *appdist_new_buffer(const appdist_handle *handle, const void *buffer,
                                    int32_t length);

#ifdef __cplusplus
}
#endif

#endif
