// Runs in the test guest: the receiving half of the netlink channel against a kernel that answers.
// Prints the result and the channel's error of each step, and what else is wrong.

#include "appdist/appdist.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <unistd.h>

struct Message {
    nlmsghdr header;
    int32_t content;
};

struct Request {
    nlmsghdr header;
    Message answer; // that the kernel is to send
};

constexpr nlmsghdr asking = {sizeof(Request), 30, NLM_F_REQUEST, 0, 0};
constexpr nlmsghdr silencing = {sizeof(nlmsghdr), 30, NLM_F_REQUEST, 0, 0}; // without an answer

constexpr struct {
    const char *name;
    Request request;
    int32_t timeout;
} steps[] = {{"answer in time", {asking, {{20, 77, 0, 0, 0}, 1}}, 2500000},
             {"blocking answer", {asking, {{20, 77, 0, 0, 0}, 2}}, 0},
             {"polled answer", {asking, {{20, NLMSG_ERROR, 0, 0, 0}, 3}}, -1},
             {"refused header", {asking, {{21, 77, 0, 0, 0}, 4}}, 0},
             {"silence in time", {silencing, {}}, 1100000},
             {"polled silence", {silencing, {}}, -1}};

static void receive(appdist_handle *handle, const char *name, const Message &expected,
                    int32_t timeout)
{
    Message got = {};
    appdist_errno = 0;
    const auto start = std::chrono::steady_clock::now();
    const int32_t result = appdist_receive(handle, &got, sizeof got, timeout);
    const auto end = std::chrono::steady_clock::now();
    const bool good = result > 0 ? std::memcmp(&got, &expected, sizeof got) == 0
                                 : result < 0 || end - start >= std::chrono::microseconds(timeout);
    std::printf("; %s %d/%d%s", name, result, appdist_errno, good ? "" : " wrong");
}

static void check(uint32_t family, int protocol)
{
    appdist_handle *const handle = appdist_create_handle(0, family);
    const bool again = appdist_create_handle(0, family) != nullptr;
    std::printf("second handle %d/%d", again, appdist_errno);
    for (const auto &step : steps) {
        appdist_netlink_sendto(handle, &step.request, step.request.header.nlmsg_len);
        receive(handle, step.name, step.request.answer, step.timeout);
    }
    const Message message = {};
    const int other = socket(AF_NETLINK, SOCK_RAW, protocol);
    sendto(other, &message, sizeof message, 0, reinterpret_cast<sockaddr *>(&handle->local),
           sizeof handle->local);
    close(other);
    receive(handle, "other sender", message, 0);
    std::puts("");
    appdist_destroy_handle(handle);
}

int main()
{
    check(2, 22);
    check(10, 13);
}
