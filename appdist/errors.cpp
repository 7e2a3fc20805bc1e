#include "appdist/appdist.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

int32_t appdist_errno = 0;

struct ErrorRow {
    int32_t code;
    const char *message;
};

/* Indexed by code. */
static constexpr ErrorRow errors[] = {
    {APPDIST_ERR_UNKNOWN, "Unknown error"},
    {APPDIST_ERR_IMPLEMENTATION, "Implementation error"},
    {APPDIST_ERR_CREATE_HANDLE, "Unable to create netlink handle"},
    {APPDIST_ERR_CREATE_SOCKET, "Unable to create netlink socket"},
    {APPDIST_ERR_BIND, "Unable to bind netlink socket"},
    {APPDIST_ERR_ALLOC_BUFFER, "Unable to allocate buffer"},
    {APPDIST_ERR_RECEIVE, "Failed to receive netlink message"},
    {APPDIST_ERR_EOF, "Received EOF on netlink socket"},
    {APPDIST_ERR_PEER_ADDR_LEN, "Invalid peer address length"},
    {APPDIST_ERR_SENT_TRUNCATED, "Sent message truncated"},
    {APPDIST_ERR_RECEIVED_TRUNCATED, "Received message truncated"},
    {APPDIST_ERR_NETLINK_ERROR, "Received error from netlink"},
    {APPDIST_ERR_SEND, "Failed to send netlink message"},
    {APPDIST_ERR_NOT_SUPPORTED, "Operation not supported"},
    {APPDIST_ERR_RECV_BUFFER_SIZE, "Receive buffer size invalid"},
    {APPDIST_ERR_TIMEOUT, "Timeout"},
    {APPDIST_ERR_PROTOCOL, "Invalid protocol specified"},
};

static constexpr int32_t errorCount = sizeof errors / sizeof errors[0];

static constexpr bool areInOrder()
{
    for (int32_t code = 0; code < errorCount; code++) {
        if (errors[code].code != code) {
            return false;
        }
    }
    return errorCount == APPDIST_ERR_PROTOCOL + 1;
}

static_assert(areInOrder(), "a row for each code");

const char *appdist_strerror(int32_t code)
{
    if (code < 0 || code >= errorCount) {
        code = APPDIST_ERR_IMPLEMENTATION;
    }
    return errors[code].message;
}

const char *appdist_last_error_text(void)
{
    return appdist_errno != 0 ? appdist_strerror(appdist_errno) : "";
}

int appdist_print_error(const char *prefix)
{
    const int systemError = errno; /* before writing can change it */
    fputs(prefix != nullptr ? prefix : "ERROR", stderr);
    if (appdist_errno != 0) {
        fprintf(stderr, ": %s", appdist_last_error_text());
    }
    if (systemError != 0) {
        fprintf(stderr, ": %s", strerror(systemError));
    }
    return fputc('\n', stderr);
}
