// The last error of the channel, and the messages of all of them.

#include "appdist/appdist.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

int32_t appdist_errno;

static constexpr const char *messages[] = {
    "Unknown error",
    "Implementation error",
    "Unable to create netlink handle",
    "Unable to create netlink socket",
    "Unable to bind netlink socket",
    "Unable to allocate buffer",
    "Failed to receive netlink message",
    "Received EOF on netlink socket",
    "Invalid peer address length",
    "Sent message truncated",
    "Received message truncated",
    "Received error from netlink",
    "Failed to send netlink message",
    "Operation not supported",
    "Receive buffer size invalid",
    "Timeout",
    "Invalid protocol specified",
};

static_assert(sizeof(messages) / sizeof(messages[0]) == APPDIST_ERR_PROTOCOL + 1, "one a code");

const char *appdist_strerror(int32_t code)
{
    return messages[code >= 0 && code <= APPDIST_ERR_PROTOCOL ? code : APPDIST_ERR_IMPLEMENTATION];
}

const char *appdist_last_error_text(void)
{
    return appdist_errno != 0 ? appdist_strerror(appdist_errno) : "";
}

int appdist_print_error(const char *prefix)
{
    const int systemError = errno; // before writing can change it
    fputs(prefix != nullptr ? prefix : "ERROR", stderr);
    if (appdist_errno != 0) {
        fprintf(stderr, ": %s", appdist_last_error_text());
    }
    if (systemError != 0) {
        fprintf(stderr, ": %s", strerror(systemError));
    }
    return fputc('\n', stderr);
}
