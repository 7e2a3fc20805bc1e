/*
 * The channel and its messages against a fake kernel: the system calls of the library are
 * replaced at link time, and each test says which one fails or what it delivers.
 */
#include "appdist/appdist.h"

#include "appmngr/appmngr_model.h"
#include "capture.h"

#include <errno.h>
#include <string.h>
#include <sys/select.h>
#include <unistd.h>

#include <array>
#include <vector>

using Bytes = std::vector<unsigned char>;

static const int fakeFd = 77;

static struct FakeKernel {
    const char *failing = ""; /* the call that returns -1 */
    int error = 0;            /* and leaves this in errno */
    bool nothingSent = false;
    bool readable = true;
    Bytes datagram;
    sockaddr_nl sender = {AF_NETLINK, 0, 0, 0};
    socklen_t senderLength = 12;
    /* What it saw. */
    void *record = nullptr;
    int protocol = -1;
    sockaddr_nl bound = {};
    Bytes message;
    timeval wait = {};
    std::vector<int> closed;
} kernel;

static int answer(const char *call, int result)
{
    errno = kernel.error;
    return strcmp(call, kernel.failing) != 0 ? result : -1;
}

extern "C" {

void *__real_calloc(size_t count, size_t size);
int __real_close(int fd);

void *__wrap_calloc(size_t count, size_t size)
{
    kernel.record = answer("calloc", 0) == 0 ? __real_calloc(count, size) : nullptr;
    return kernel.record;
}

int __wrap_socket(int domain, int type, int protocol)
{
    EXPECT_TRUE(domain == AF_NETLINK && type == SOCK_RAW);
    kernel.protocol = protocol;
    return answer("socket", fakeFd);
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
    memcpy(&kernel.bound, address, sizeof kernel.bound);
    return answer("bind", 0);
}

int __wrap_close(int fd)
{
    if (fd != fakeFd && fd != -1) {
        return __real_close(fd);
    }
    kernel.closed.push_back(fd);
    return 0;
}

ssize_t __wrap_sendto(int, const void *buffer, size_t length, int, const sockaddr *to, socklen_t)
{
    EXPECT_EQ(to->sa_family, AF_NETLINK);
    const auto *bytes = static_cast<const unsigned char *>(buffer);
    kernel.message.assign(bytes, bytes + length);
    return answer("sendto", kernel.nothingSent ? 0 : static_cast<int>(length));
}

int __wrap_select(int count, fd_set *readable, fd_set *, fd_set *, timeval *wait)
{
    EXPECT_TRUE(count == fakeFd + 1 && FD_ISSET(fakeFd, readable));
    kernel.wait = *wait;
    if (!kernel.readable) {
        FD_ZERO(readable);
    }
    return answer("select", kernel.readable);
}

ssize_t __wrap_recvfrom(int, void *buffer, size_t, int, sockaddr *from, socklen_t *fromLength)
{
    memcpy(from, &kernel.sender, sizeof kernel.sender);
    *fromLength = kernel.senderLength;
    std::copy(kernel.datagram.begin(), kernel.datagram.end(), static_cast<unsigned char *>(buffer));
    return answer("recvfrom", static_cast<int>(kernel.datagram.size()));
}

} /* extern "C" */

/* The 20 bytes of a netlink error message. */
static Bytes errorMessage(uint32_t length, uint16_t type, uint16_t flags, int32_t errorNumber)
{
    Bytes bytes(20);
    memcpy(&bytes[0], &length, 4);
    memcpy(&bytes[4], &type, 2);
    memcpy(&bytes[6], &flags, 2);
    memcpy(&bytes[16], &errorNumber, 4);
    return bytes;
}

class Appdist : public testing::Test
{
protected:
    void SetUp() override
    {
        kernel = FakeKernel();
        appdist_errno = 0;
    }

    appdist_handle handle = {fakeFd, 0, {AF_NETLINK, 0, 0xa5a5a5a5, 0}, {AF_NETLINK, 0, 0, 0}};
};

TEST_F(Appdist, OpensBindsAndCloses)
{
    for (const auto &[family, protocol] : {std::pair{2u, 22}, std::pair{10u, 13}}) {
        SetUp();
        appdist_handle *open = appdist_create_handle(0, family);
        ASSERT_NE(open, nullptr);
        EXPECT_EQ(kernel.protocol, protocol);
        EXPECT_EQ(kernel.bound.nl_pid, static_cast<uint32_t>(getpid()));
        EXPECT_EQ(memcmp(&open->local, &kernel.bound, sizeof kernel.bound), 0);
        EXPECT_EQ(memcmp(&open->peer, &kernel.sender, sizeof kernel.sender), 0);
        EXPECT_EQ(appdist_destroy_handle(open), 0);
        EXPECT_EQ(kernel.closed, std::vector<int>{fakeFd});
    }
    EXPECT_EQ(appdist_destroy_handle(nullptr), 0);
}

TEST_F(Appdist, OpenFailures)
{
    using Case = std::tuple<const char *, uint32_t, int32_t, const char *, std::vector<int>>;
    const Case cases[] = {
        {"calloc", 2, 2, "malloc error!\n", {}},
        {"", 3, 16, "", {}},
        {"socket", 2, 3, "create socket failed: Protocol not supported\n", {-1}},
        {"setsockopt", 2, 0, "", {fakeFd}},
        {"getsockopt", 2, 0, "", {fakeFd}},
        {"bind", 2, 4, "Here?\n", {fakeFd}},
    };
    for (const auto &[failing, family, code, text, closed] : cases) {
        SCOPED_TRACE(failing);
        SetUp();
        kernel.failing = failing;
        kernel.error = EPROTONOSUPPORT;
        appdist_handle *open = &handle;
        EXPECT_EQ(captured([&open, f = family] { open = appdist_create_handle(0, f); }), text);
        EXPECT_EQ(open, nullptr);
        EXPECT_EQ(appdist_errno, code);
        EXPECT_EQ(kernel.closed, closed);
        if (code == 0) {
            free(kernel.record); /* not freed by the library, on purpose */
        }
    }
}

TEST_F(Appdist, Receives)
{
    const std::tuple<void (*)(), int32_t, int32_t, int32_t> cases[] = {
        {[] {}, 0, 20, 0},
        {[] {}, 1, 20, 0},
        {[] { kernel.failing = "select", kernel.error = EINTR; }, 1, 0, 0},
        {[] { kernel.failing = "select", kernel.error = EBADF; }, 1, -1, 6},
        {[] { kernel.readable = false; }, 1, 0, 15},
        {[] { kernel.failing = "recvfrom"; }, 0, -1, 6},
        {[] { kernel.senderLength = 8; }, 0, -1, 6},
        {[] { kernel.sender.nl_pid = 1; }, 0, -1, 6},
        {[] { kernel.datagram.clear(); }, 0, -1, 7},
        {[] { kernel.datagram = errorMessage(20, 2, 0x20, 0); }, 0, -1, 10},
        {[] { kernel.datagram = errorMessage(21, 2, 0, 0); }, 0, -1, 10},
    };
    Bytes buffer(20);
    for (const auto &[arrange, timeout, result, code] : cases) {
        SetUp();
        kernel.datagram = errorMessage(20, 2, 0x1f, 0);
        arrange();
        EXPECT_EQ(appdist_receive(&handle, buffer.data(), 20, timeout), result) << code;
        EXPECT_EQ(appdist_errno, code);
    }
    EXPECT_EQ(appdist_netlink_recvfrom(&handle, nullptr, 19, 0), -1);
    EXPECT_EQ(appdist_errno, APPDIST_ERR_RECV_BUFFER_SIZE);
}

TEST_F(Appdist, WaitsAsLongAsTold)
{
    kernel.readable = false;
    Bytes buffer(20);
    appdist_receive(&handle, buffer.data(), 20, 2500000);
    EXPECT_TRUE(kernel.wait.tv_sec == 2 && kernel.wait.tv_usec == 500000);
    appdist_receive(&handle, buffer.data(), 20, -2500000);
    EXPECT_TRUE(kernel.wait.tv_sec == 0 && kernel.wait.tv_usec == 0);
    handle.fd = FD_SETSIZE;
    EXPECT_EQ(appdist_receive(&handle, buffer.data(), 20, 1), -1);
    EXPECT_EQ(appdist_errno, APPDIST_ERR_RECEIVE);
}

TEST_F(Appdist, ReadsUnalignedMessages)
{
    Bytes bytes = errorMessage(20, 0x1234, 0, -5);
    bytes.insert(bytes.begin(), 0);
    EXPECT_EQ(appdist_message_type(&bytes[1]), 0x1234);
    EXPECT_EQ(appdist_message_error(&bytes[1]), 5);
}

TEST_F(Appdist, ErrorTexts)
{
    EXPECT_STREQ(appdist_strerror(0), "Unknown error");
    EXPECT_STREQ(appdist_strerror(16), "Invalid protocol specified");
    EXPECT_STREQ(appdist_strerror(17), "Implementation error");
    EXPECT_STREQ(appdist_strerror(-1), "Implementation error");
    EXPECT_STREQ(appdist_last_error_text(), "");

    const auto printed = [](const char *prefix, int32_t code, int systemError) {
        appdist_errno = code;
        testing::internal::CaptureStderr();
        errno = systemError;
        EXPECT_EQ(appdist_print_error(prefix), '\n');
        return testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ(printed(nullptr, 0, 0), "ERROR\n");
    EXPECT_EQ(printed("load", 15, 0), "load: Timeout\n");
    EXPECT_EQ(printed("", 4, EPERM), ": Unable to bind netlink socket: Operation not permitted\n");
}

/* A message as it should be: netlink header, the words from offset 20, the records. */
static Bytes message(uint16_t type, std::array<uint32_t, 4> words, const void *records = nullptr,
                     size_t size = 0)
{
    Bytes bytes = errorMessage(static_cast<uint32_t>(64 + size), type, 1, 0);
    std::fill(&bytes[12], &bytes[16], 0xa5);
    bytes.resize(64);
    memcpy(&bytes[20], words.data(), sizeof words);
    const auto *first = static_cast<const unsigned char *>(records);
    bytes.insert(bytes.end(), first, first + size);
    return bytes;
}

TEST_F(Appdist, Messages)
{
    std::vector<appmngr_rule> rules(3);
    rules[2].appId = 0x01020304;
    rules[2].reply.dpiCode[255] = 'x';
    std::vector<appmngr_dnsRule> keywords = {{7, "tube"}, {8, "mail"}};
    const Bytes map(4096, 3);
    g_appmngr_appDb.rule = rules.data();
    g_appmngr_appDns.rule = keywords.data();

    EXPECT_EQ(appdist_send_app_rules(&handle), 0);
    EXPECT_EQ(appdist_send_dns_rules(&handle), 0);
    EXPECT_EQ(appdist_send_buffer(&handle, map.data(), 0), 0);
    EXPECT_EQ(appdist_send_buffer(&handle, map.data(), -1), 0);
    EXPECT_TRUE(kernel.message.empty());

    g_appmngr_appDb.ruleCount = 3;
    EXPECT_EQ(appdist_send_app_rules(&handle), 1852);
    EXPECT_EQ(kernel.message, message(19, {3, 596}, rules.data(), 1788));
    g_appmngr_appDns.count = 2;
    EXPECT_EQ(appdist_send_dns_rules(&handle), 104);
    EXPECT_EQ(kernel.message, message(21, {2, 20}, keywords.data(), 40));
    EXPECT_EQ(appdist_send_buffer(&handle, map.data(), 4096), 4160);
    EXPECT_EQ(kernel.message, message(20, {4096, 1}, map.data(), 4096));
    EXPECT_EQ(appdist_send_params(&handle, 1, 2, 3, 4), 64);
    EXPECT_EQ(kernel.message, message(22, {1, 4, 2, 3}));

    /* Records of 2^32 bytes and some: the length does not fit the header. */
    g_appmngr_appDb.ruleCount = 7206372;
    EXPECT_EQ(captured([&] { EXPECT_EQ(appdist_send_app_rules(&handle), 0); }),
              " malloc mem eroor");
    g_appmngr_appDb = {};
    g_appmngr_appDns = {};
}

TEST_F(Appdist, SendFailures)
{
    const auto printed = [&](int32_t result) {
        return captured([&] { EXPECT_EQ(appdist_send_params(&handle, 1, 2, 3, 4), result); });
    };
    kernel.nothingSent = true;
    EXPECT_EQ(printed(0), "app netlink sendto fail, ret:0\n");
    kernel.failing = "calloc";
    EXPECT_EQ(printed(0), " malloc mem eroor");
    EXPECT_EQ(appdist_errno, 0);
    kernel.failing = "sendto";
    kernel.error = ECONNREFUSED;
    EXPECT_EQ(printed(-1), "app netlink sendto fail, ret:-1\nConnection refused\n");
    EXPECT_EQ(appdist_errno, APPDIST_ERR_SEND);
}
