// The netlink channel: opening, sending, receiving.

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

// Smallest receive buffer: a netlink header and the error number of an error message.
static constexpr uint32_t receiveMin = sizeof(nlmsghdr) + sizeof(int32_t);

static constexpr int sendBufferSize = 0x40000;

// Header flag of a received message that was cut.
static constexpr uint16_t truncatedFlag = 0x20;

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

// Releases a handle whose socket could not be opened or bound.
static appdist_handle *giveUp(appdist_handle *handle, int32_t code)
{
    appdist_errno = code;
    appdist_destroy_handle(handle);
    return nullptr;
}

appdist_handle *appdist_create_handle(uint32_t, uint32_t protocol_family)
{
    auto *handle = static_cast<appdist_handle *>(calloc(1, sizeof(appdist_handle)));
    if (handle == nullptr) {
        puts("malloc error!");
        return giveUp(handle, APPDIST_ERR_CREATE_HANDLE);
    }
    if (protocol_family != 2 && protocol_family != 10) {
        appdist_errno = APPDIST_ERR_PROTOCOL;
        free(handle);
        return nullptr;
    }
    handle->fd = socket(AF_NETLINK, SOCK_RAW, protocol_family == 2 ? 22 : 13);
    if (handle->fd == -1) {
        printf("create socket failed: %s\n", strerror(errno));
        return giveUp(handle, APPDIST_ERR_CREATE_SOCKET);
    }
    int size = sendBufferSize;
    socklen_t sizeLength = sizeof(size);
    if (setsockopt(handle->fd, SOL_SOCKET, SO_SNDBUF, &size, sizeof(size)) < 0 ||
        getsockopt(handle->fd, SOL_SOCKET, SO_SNDBUF, &size, &sizeLength) < 0) {
        // Kept on purpose: the record is not freed, and no error is set.
        close(handle->fd); // NOLINT(clang-analyzer-unix.Malloc)
        return nullptr;
    }
    handle->local = netlinkAddress(static_cast<uint32_t>(getpid()));
    if (bind(handle->fd, reinterpret_cast<const sockaddr *>(&handle->local),
             sizeof(handle->local)) == -1) {
        puts("Here?");
        return giveUp(handle, APPDIST_ERR_BIND);
    }
    handle->peer = netlinkAddress(0);
    return handle;
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
                            sizeof(handle->peer)));
}

int32_t appdist_netlink_sendmsg(appdist_handle *handle, const msghdr *message, int flags)
{
    return checkSent(sendmsg(handle->fd, message, flags));
}

// Waits for input. Returns 1 when there is some, else what the receive is to return.
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
    socklen_t addressLength = sizeof(handle->peer);
    const auto received =
        static_cast<int32_t>(recvfrom(handle->fd, buffer, length, 0,
                                      reinterpret_cast<sockaddr *>(&handle->peer), &addressLength));
    if (received < 0) {
        appdist_errno = APPDIST_ERR_RECEIVE;
        return received;
    }
    if (addressLength != sizeof(handle->peer) || handle->peer.nl_pid != 0) {
        return fail(APPDIST_ERR_RECEIVE);
    }
    if (received == 0) {
        return fail(APPDIST_ERR_EOF);
    }
    // When not even a header arrived, what the buffer held before counts for the rest of it.
    nlmsghdr header;
    memcpy(&header, buffer, sizeof(header));
    if ((header.nlmsg_flags & truncatedFlag) != 0 ||
        header.nlmsg_len > static_cast<uint32_t>(received)) {
        return fail(APPDIST_ERR_RECEIVED_TRUNCATED);
    }
    return received;
}

int32_t appdist_receive(appdist_handle *handle, void *buffer, uint32_t length, int32_t timeout)
{
    return appdist_netlink_recvfrom(handle, buffer, length, timeout);
}

uint16_t appdist_message_type(const void *buffer)
{
    nlmsghdr header;
    memcpy(&header, buffer, sizeof(header));
    return header.nlmsg_type;
}

int32_t appdist_message_error(const void *buffer)
{
    uint32_t error;
    memcpy(&error, static_cast<const char *>(buffer) + sizeof(nlmsghdr), sizeof(error));
    return static_cast<int32_t>(0u - error);
}
