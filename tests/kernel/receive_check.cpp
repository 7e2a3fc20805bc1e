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

constexpr Message request = message(20, 30, NLM_F_REQUEST);

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

int failures = 0;

void expect(bool good, uint32_t family, const char *name, const char *what)
{
    if (!good) {
        std::printf("family %u: %s: %s\n", family, name, what);
        ++failures;
    }
}

bool set_answer(const Message &answer)
{
    std::FILE *file = std::fopen("/proc/tarn-sink/answer", "w");
    return file && std::fwrite(&answer, sizeof answer, 1, file) == 1 && std::fclose(file) == 0;
}

void check_case(appdist_handle *handle, uint32_t family, const Case &row)
{
    const auto check = [&](bool good, const char *what) { expect(good, family, row.name, what); };

    const bool silent = row.answer.header.nlmsg_len == 0;
    check(silent || set_answer(row.answer), "answer not accepted");
    check(appdist_netlink_sendto(handle, &request, sizeof request) == sizeof request, "not sent");

    Message got = {};
    appdist_errno = 0;
    const auto start = std::chrono::steady_clock::now();
    const int32_t result = appdist_receive(handle, &got, sizeof got, row.timeout);
    const std::chrono::duration<double, std::micro> waited =
        std::chrono::steady_clock::now() - start;

    check(result == row.result, "wrong result");
    check(appdist_errno == row.channel_error, appdist_last_error_text());
    check(!silent || waited.count() >= row.timeout, "gave up too early");
    if (result > 0) {
        check(std::memcmp(&got, &row.answer, sizeof got) == 0, "other bytes than were sent");
        check(appdist_message_type(&got) == row.answer.header.nlmsg_type, "wrong type");
        check(appdist_message_error(&got) == -row.answer.error, "wrong error number");
    }
}

void check_other_sender(appdist_handle *handle, uint32_t family, int protocol)
{
    const int other = socket(AF_NETLINK, SOCK_RAW, protocol);
    sockaddr_nl address = handle->local;
    const ssize_t sent = sendto(other, &request, sizeof request, 0,
                                reinterpret_cast<sockaddr *>(&address), sizeof address);
    close(other);
    Message got = {};
    appdist_errno = 0;
    const int32_t result = appdist_netlink_recvfrom(handle, &got, sizeof got, -1);
    expect(sent == sizeof request && result == -1 && appdist_errno == APPDIST_ERR_RECEIVE, family,
           "a sender that is not the kernel", "not refused");
}

void check_family(uint32_t family, int protocol)
{
    appdist_handle *handle = appdist_create_handle(0, family);
    expect(handle, family, "create", "failed");
    if (!handle) {
        return;
    }
    expect(!appdist_create_handle(0, family) && appdist_errno == APPDIST_ERR_BIND, family,
           "a second handle", "not refused");
    for (const Case &row : cases) {
        check_case(handle, family, row);
    }
    check_other_sender(handle, family, protocol);
    appdist_destroy_handle(handle);
}

} // namespace

int main()
{
    check_family(2, 22);
    check_family(10, 13);
    return failures == 0 ? 0 : 1;
}
