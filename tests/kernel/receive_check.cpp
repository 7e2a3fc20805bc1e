// Runs in the test guest: the receiving half of the netlink channel against a kernel that answers.

#include "appdist/appdist.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace
{

struct Message {
    nlmsghdr header;
    int32_t error;
};
static_assert(sizeof(Message) == 20);

constexpr Message message(uint32_t length, uint16_t type, uint16_t flags, int32_t error = 0)
{
    return {{length, type, flags, 0, 0}, error};
}

// Asks the kernel for the answer that it carries.
struct Request {
    nlmsghdr header;
    Message answer;
};
static_assert(sizeof(Request) == 36);

struct Case {
    const char *name;
    Message answer; // of length 0: the kernel stays silent
    int32_t timeout;
    int32_t result;
    int32_t channel_error;
};

constexpr Case cases[] = {
    {"an answer within the timeout", message(20, 77, 0), 2500000, 20, 0},
    {"an answer, blocking", message(20, 77, 0), 0, 20, 0},
    {"an answer, one poll", message(20, 77, 0), -1, 20, 0},
    {"an error message", message(20, NLMSG_ERROR, 0, -EINVAL), 2500000, 20, 0},
    {"header length below the data", message(16, 77, 0), 2500000, 20, 0},
    {"header length beyond the data", message(21, 77, 0), 0, -1, APPDIST_ERR_RECEIVED_TRUNCATED},
    {"truncation flag", message(20, 77, 0x20), 0, -1, APPDIST_ERR_RECEIVED_TRUNCATED},
    {"silence until the timeout", {}, 1100000, 0, APPDIST_ERR_TIMEOUT},
    {"silence, one poll", {}, -1, 0, APPDIST_ERR_TIMEOUT},
};

bool receives(appdist_handle *handle, const Case &row)
{
    const bool silent = row.answer.header.nlmsg_len == 0;
    const uint32_t size = silent ? sizeof(nlmsghdr) : sizeof(Request);
    const Request request = {{size, 30, NLM_F_REQUEST, 0, 0}, row.answer};
    const bool sent = appdist_netlink_sendto(handle, &request, size) == static_cast<int32_t>(size);
    Message got = {};
    appdist_errno = 0;
    const auto start = std::chrono::steady_clock::now();
    const int32_t result = appdist_receive(handle, &got, sizeof got, row.timeout);
    const std::chrono::duration<double, std::micro> waited =
        std::chrono::steady_clock::now() - start;
    return sent && result == row.result && appdist_errno == row.channel_error &&
           (!silent || waited.count() >= row.timeout) &&
           (result <= 0 || std::memcmp(&got, &row.answer, sizeof got) == 0);
}

bool refuses_other_sender(appdist_handle *handle, int protocol)
{
    const int other = socket(AF_NETLINK, SOCK_RAW, protocol);
    sockaddr_nl address = handle->local;
    const Message text = message(sizeof text, 77, 0);
    const ssize_t sent = sendto(other, &text, sizeof text, 0,
                                reinterpret_cast<sockaddr *>(&address), sizeof address);
    close(other);
    Message got = {};
    appdist_errno = 0;
    return sent == sizeof text && appdist_netlink_recvfrom(handle, &got, sizeof got, -1) == -1 &&
           appdist_errno == APPDIST_ERR_RECEIVE;
}

bool check_family(uint32_t family, int protocol)
{
    bool all = true;
    const auto expect = [&](bool good, const char *name) {
        if (!good) {
            std::printf("family %u: %s: not as expected\n", family, name);
            all = false;
        }
        return good;
    };
    appdist_handle *handle = appdist_create_handle(0, family);
    if (expect(handle, "a handle")) {
        expect(!appdist_create_handle(0, family) && appdist_errno == APPDIST_ERR_BIND,
               "a second handle");
        for (const Case &row : cases) {
            expect(receives(handle, row), row.name);
        }
        expect(refuses_other_sender(handle, protocol), "a sender that is not the kernel");
    }
    appdist_destroy_handle(handle);
    return all;
}

} // namespace

int main()
{
    const bool first = check_family(2, 22);
    return check_family(10, 13) && first ? 0 : 1;
}
