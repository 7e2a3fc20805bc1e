#include "appdist/appdist.h"

#include <errno.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/select.h>
#include <unistd.h>

static_assert(sizeof(sockaddr_nl) == 12, "netlink socket address");
static_assert(sizeof(appdist_handle) == 32, "channel handle");
static_assert(offsetof(appdist_handle, local) == 8, "channel handle");
static_assert(offsetof(appdist_handle, peer) == 20, "channel handle");

/* Smallest receive buffer: a netlink header and the error number of an error message. */
static const uint32_t receiveMin = sizeof(nlmsghdr) + sizeof(int32_t);

static const int sendBufferSize = 0x40000;

/* Header flag of a received message that was cut. */
static const uint16_t truncatedFlag = 0x20;

struct ProtocolRow {
    uint32_t family;
    int protocol;
};

static const ProtocolRow protocols[] = {
    {2, 22},
    {10, 13},
};

static const ProtocolRow *findProtocol(uint32_t family)
{
    for (const ProtocolRow &row : protocols) {
        if (row.family == family) {
            return &row;
        }
    }
    return nullptr;
}

static sockaddr_nl netlinkAddress(uint32_t portId)
{
    sockaddr_nl address = {};
    address.nl_family = AF_NETLINK;
    address.nl_pid = portId;
    return address;
}

static int fail(int32_t code)
{
    appdist_errno = code;
    return -1;
}

/* ---- Opening and closing --------------------------------------------------------------- */

enum class Opened { Ok, Failed, FailedKeepingRecord };

static Opened openSocket(appdist_handle *handle, int protocol)
{
    handle->fd = socket(AF_NETLINK, SOCK_RAW, protocol);
    if (handle->fd == -1) {
        printf("create socket failed: %s\n", strerror(errno));
        appdist_errno = APPDIST_ERR_CREATE_SOCKET;
        return Opened::Failed;
    }
    int size = sendBufferSize;
    socklen_t sizeLength = sizeof size;
    if (setsockopt(handle->fd, SOL_SOCKET, SO_SNDBUF, &size, sizeof size) < 0 ||
        getsockopt(handle->fd, SOL_SOCKET, SO_SNDBUF, &size, &sizeLength) < 0) {
        return Opened::FailedKeepingRecord;
    }
    handle->local = netlinkAddress(static_cast<uint32_t>(getpid()));
    if (bind(handle->fd, reinterpret_cast<const sockaddr *>(&handle->local),
             sizeof handle->local) == -1) {
        puts("Here?");
        appdist_errno = APPDIST_ERR_BIND;
        return Opened::Failed;
    }
    handle->peer = netlinkAddress(0);
    return Opened::Ok;
}

appdist_handle *appdist_create_handle(uint32_t, uint32_t protocol_family)
{
    auto *handle = static_cast<appdist_handle *>(calloc(1, sizeof(appdist_handle)));
    if (handle == nullptr) {
        puts("malloc error!");
        appdist_errno = APPDIST_ERR_CREATE_HANDLE;
        return nullptr;
    }
    const ProtocolRow *row = findProtocol(protocol_family);
    if (row == nullptr) {
        appdist_errno = APPDIST_ERR_PROTOCOL;
        free(handle);
        return nullptr;
    }
    const Opened opened = openSocket(handle, row->protocol);
    if (opened == Opened::Ok) {
        return handle;
    }
    close(handle->fd);
    /* Kept on purpose: the record is not freed when the send buffer size is refused. */
    if (opened == Opened::Failed) {
        free(handle);
    }
    return nullptr; // NOLINT(clang-analyzer-unix.Malloc), and -fanalyzer's leak of the record
}

int appdist_destroy_handle(appdist_handle *handle)
{
    if (handle != nullptr) {
        close(handle->fd);
        free(handle);
    }
    return 0;
}

int appdist_configure(appdist_handle *, ...)
{
    return 1;
}

/* ---- Sending --------------------------------------------------------------------------- */

static int32_t checkSent(ssize_t sent)
{
    if (sent < 0) {
        appdist_errno = APPDIST_ERR_SEND;
    }
    return static_cast<int32_t>(sent);
}

int32_t appdist_netlink_sendto(appdist_handle *handle, const void *buffer, uint32_t length)
{
    return checkSent(sendto(handle->fd, buffer, length, 0,
                            reinterpret_cast<const sockaddr *>(&handle->peer),
                            sizeof handle->peer));
}

int32_t appdist_netlink_sendmsg(appdist_handle *handle, const msghdr *message, int flags)
{
    return checkSent(sendmsg(handle->fd, message, flags));
}

/* ---- Receiving ------------------------------------------------------------------------- */

/* Waits for input. Returns 1 when there is some, else what the receive is to return. */
static int waitReadable(int fd, int32_t timeout)
{
    if (fd < 0 || fd >= FD_SETSIZE) {
        return fail(APPDIST_ERR_RECEIVE);
    }
    timeval wait = {};
    if (timeout > 0) {
        wait.tv_sec = timeout / 1000000;
        wait.tv_usec = timeout % 1000000;
    }
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    if (select(fd + 1, &readable, nullptr, nullptr, &wait) < 0) {
        return errno == EINTR ? 0 : fail(APPDIST_ERR_RECEIVE);
    }
    if (!FD_ISSET(fd, &readable)) {
        appdist_errno = APPDIST_ERR_TIMEOUT;
        return 0;
    }
    return 1;
}

/*
 * Whether the kernel marked the message as cut, or it says it is longer than what arrived. When not
 * even a header arrived, what the buffer held before counts for the rest of it.
 */
static bool isTruncated(const void *message, uint32_t received)
{
    nlmsghdr header;
    memcpy(&header, message, sizeof header);
    return (header.nlmsg_flags & truncatedFlag) != 0 || header.nlmsg_len > received;
}

int32_t appdist_netlink_recvfrom(appdist_handle *handle, void *buffer, uint32_t length,
                                 int32_t timeout)
{
    if (length < receiveMin) {
        return fail(APPDIST_ERR_RECV_BUFFER_SIZE);
    }
    if (timeout != 0) {
        const int ready = waitReadable(handle->fd, timeout);
        if (ready != 1) {
            return ready;
        }
    }
    socklen_t addressLength = sizeof handle->peer;
    const auto received =
        static_cast<int32_t>(recvfrom(handle->fd, buffer, length, 0,
                                      reinterpret_cast<sockaddr *>(&handle->peer), &addressLength));
    if (received < 0) {
        appdist_errno = APPDIST_ERR_RECEIVE;
        return received;
    }
    if (addressLength != sizeof handle->peer || handle->peer.nl_pid != 0) {
        return fail(APPDIST_ERR_RECEIVE);
    }
    if (received == 0) {
        return fail(APPDIST_ERR_EOF);
    }
    if (isTruncated(buffer, static_cast<uint32_t>(received))) {
        return fail(APPDIST_ERR_RECEIVED_TRUNCATED);
    }
    return received;
}

int32_t appdist_receive(appdist_handle *handle, void *buffer, uint32_t length, int32_t timeout)
{
    return appdist_netlink_recvfrom(handle, buffer, length, timeout);
}

/* ---- Received messages ----------------------------------------------------------------- */

uint16_t appdist_message_type(const void *buffer)
{
    nlmsghdr header;
    memcpy(&header, buffer, sizeof header);
    return header.nlmsg_type;
}

int32_t appdist_message_error(const void *buffer)
{
    uint32_t error = 0;
    memcpy(&error, static_cast<const char *>(buffer) + sizeof(nlmsghdr), sizeof error);
    return static_cast<int32_t>(0u - error);
}
