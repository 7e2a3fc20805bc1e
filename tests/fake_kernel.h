/*
 * A kernel for the channel to talk to. The system calls are replaced at link time, and a test says
 * what goes wrong. One source file of a program includes this.
 */
#pragma once

#include "tests/capture.h"

#include <fcntl.h>
#include <linux/netlink.h>
#include <sys/select.h>

using Bytes = std::vector<unsigned char>;

/* What a call, or a field of the datagram to be received, gives instead of what it would. */
struct Fault {
    const char *where = "";
    int error = 0; /* for errno */
    int result = -1;
    int occurrence = 1; /* of the call, from 1 */
};

static struct FakeKernel {
    Fault fault;
    /* What it saw. */
    int protocol;
    sockaddr_nl bound;
    Bytes message;
    timeval wait;
    void (*look)(const Bytes &message); /* at each one, if it is set */
} kernel;

template <typename Result> static Result answer(const char *where, Result result)
{
    Fault &fault = kernel.fault;
    if (strcmp(where, fault.where) != 0 || --fault.occurrence != 0) {
        return result;
    }
    errno = fault.error;
    return static_cast<Result>(fault.result);
}

extern "C" {

int __real_close(int fd);

/* The descriptor is a real one, so that one left open shows. */
int __wrap_socket(int domain, int type, int protocol)
{
    EXPECT_TRUE(domain == AF_NETLINK && type == SOCK_RAW);
    kernel.protocol = protocol;
    return answer("socket", 0) == 0 ? open("/dev/null", O_RDWR) : -1;
}

int __wrap_setsockopt(int, int level, int name, const void *value, socklen_t length)
{
    EXPECT_TRUE(level == SOL_SOCKET && name == SO_SNDBUF && length == sizeof(int));
    EXPECT_EQ(*static_cast<const int *>(value), 262144);
    return answer("setsockopt", 0);
}

int __wrap_getsockopt(int, int, int, void *, socklen_t *)
{
    return answer("getsockopt", 0);
}

int __wrap_bind(int, const sockaddr *address, socklen_t)
{
    memcpy(&kernel.bound, address, sizeof(kernel.bound));
    return answer("bind", 0);
}

int __wrap_close(int fd)
{
    __real_close(fd);
    return answer("close", 0);
}

ssize_t __wrap_sendto(int, const void *buffer, size_t length, int flags, const sockaddr *to,
                      socklen_t)
{
    EXPECT_TRUE(flags == 0 && to->sa_family == AF_NETLINK);
    const auto *bytes = static_cast<const unsigned char *>(buffer);
    kernel.message.assign(bytes, bytes + length);
    if (kernel.look != nullptr) {
        kernel.look(kernel.message);
    }
    return answer("sendto", static_cast<ssize_t>(length));
}

ssize_t __wrap_sendmsg(int, const msghdr *message, int flags)
{
    EXPECT_EQ(flags, MSG_DONTWAIT);
    return answer("sendmsg", static_cast<ssize_t>(message->msg_iov->iov_len));
}

int __wrap_select(int count, fd_set *readable, fd_set *, fd_set *, timeval *wait)
{
    fd_set only;
    FD_ZERO(&only);
    FD_SET(count - 1, &only);
    EXPECT_EQ(memcmp(readable, &only, sizeof(only)), 0);
    kernel.wait = *wait;
    const int ready = answer("select", 1);
    if (ready < 1) {
        FD_ZERO(readable);
    }
    return ready;
}

/* An error message, but for the error itself; one without a whole header brings nothing at all. */
ssize_t __wrap_recvfrom(int, void *buffer, size_t length, int, sockaddr *from, socklen_t *fromSize)
{
    EXPECT_EQ(length, 20u);
    const nlmsghdr header = {answer("length", 20u), 2, answer<uint16_t>("flags", 0x1f), 0, 0};
    const sockaddr_nl sender = {AF_NETLINK, 0, answer("sender", 0u), 0};
    const auto received = answer<ssize_t>("recvfrom", 20);
    memcpy(buffer, &header, received < 16 ? 0 : sizeof(header));
    memcpy(from, &sender, sizeof(sender));
    *fromSize = answer("sender size", *fromSize);
    return received;
}

} /* extern "C" */
