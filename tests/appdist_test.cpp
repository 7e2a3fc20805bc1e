/* The channel and its messages, as the kernel would see them. */
#include "appdist/appdist.h"

#include "appmngr/appmngr_model.h"
#include "fake_kernel.h"

#include <unistd.h>

static appdist_handle handle = {0, 0, {AF_NETLINK, 0, 0xa5a5a5a5, 0}, {AF_NETLINK, 0, 0, 0}};

TEST(Appdist, OpensBindsAndCloses)
{
    for (const auto &[family, protocol] : {std::pair{2u, 22}, std::pair{10u, 13}}) {
        appdist_handle *open = appdist_create_handle(0, family);
        ASSERT_NE(open, nullptr);
        EXPECT_EQ(kernel.protocol, protocol);
        EXPECT_EQ(kernel.bound.nl_pid, static_cast<uint32_t>(getpid()));
        EXPECT_EQ(memcmp(&open->local, &kernel.bound, sizeof kernel.bound), 0);
        EXPECT_EQ(memcmp(&open->peer, &handle.peer, sizeof handle.peer), 0);
        EXPECT_EQ(appdist_configure(open, "anything"), 1);
        EXPECT_EQ(appdist_destroy_handle(open), 0);
    }
    kernel.protocol = -1;
    EXPECT_EQ(appdist_create_handle(0, 3), nullptr);
    EXPECT_EQ(appdist_errno, APPDIST_ERR_PROTOCOL);
    EXPECT_EQ(kernel.protocol, -1); /* no socket was asked for */
}

TEST(Appdist, WaitsAsLongAsTold)
{
    unsigned char buffer[20];
    const std::tuple<int32_t, long, long> times[] = {{2000001, 2, 1}, {1, 0, 1}, {-2500000, 0, 0}};
    for (const auto &[timeout, seconds, microseconds] : times) {
        kernel.fault = {"select", 0, 0};
        EXPECT_EQ(appdist_receive(&handle, buffer, sizeof buffer, timeout), 0);
        EXPECT_TRUE(kernel.wait.tv_sec == seconds && kernel.wait.tv_usec == microseconds);
    }
    for (const int fd : {-1, FD_SETSIZE}) { /* outside of the set that select takes */
        appdist_handle outside = {fd, 0, handle.local, handle.peer};
        EXPECT_EQ(appdist_receive(&outside, buffer, sizeof buffer, 1), -1);
        EXPECT_EQ(appdist_errno, APPDIST_ERR_RECEIVE);
    }
}

TEST(Appdist, ErrorTexts)
{
    EXPECT_STREQ(appdist_strerror(0), "Unknown error");
    EXPECT_STREQ(appdist_strerror(16), "Invalid protocol specified");
    EXPECT_STREQ(appdist_strerror(17), "Implementation error");
    EXPECT_STREQ(appdist_strerror(-1), "Implementation error");
    const std::tuple<const char *, int32_t, int, std::string> lines[] = {
        {nullptr, 0, 0, "ERROR\n"},
        {"load", 15, 0, "load: Timeout\n"},
        {"", 4, EPERM, ": Unable to bind netlink socket: Operation not permitted\n"},
    };
    for (const auto &[prefix, code, systemError, line] : lines) {
        appdist_errno = code;
        testing::internal::CaptureStderr();
        errno = systemError;
        EXPECT_EQ(appdist_print_error(prefix), '\n');
        EXPECT_EQ(testing::internal::GetCapturedStderr(), line);
        EXPECT_STREQ(appdist_last_error_text(), code != 0 ? appdist_strerror(code) : "");
    }
}

/* A message as it should be: type, the words from offset 20, the records. */
static Bytes message(uint16_t type, std::array<uint32_t, 4> words, const void *records = nullptr,
                     size_t size = 0)
{
    const nlmsghdr header = {static_cast<uint32_t>(64 + size), type, 1, 0, 0xa5a5a5a5};
    Bytes bytes(64 + size);
    memcpy(bytes.data(), &header, sizeof header);
    memcpy(&bytes[20], words.data(), sizeof words);
    std::copy_n(static_cast<const unsigned char *>(records), size, &bytes[64]);
    return bytes;
}

TEST(Appdist, Messages)
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
    EXPECT_EQ(appdist_send_buffer(&handle, map.data(), 1), 65);
    EXPECT_EQ(appdist_send_buffer(&handle, map.data(), 4096), 4160);
    EXPECT_EQ(kernel.message, message(20, {4096, 1}, map.data(), 4096));
    EXPECT_EQ(appdist_send_params(&handle, 1, 2, 3, 4), 64);
    EXPECT_EQ(kernel.message, message(22, {1, 4, 2, 3}));

    /* Records of 2^32 bytes and some: the length does not fit the header. */
    g_appmngr_appDb.ruleCount = 7206372;
    testing::internal::CaptureStdout();
    EXPECT_EQ(appdist_send_app_rules(&handle), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), " malloc mem eroor");
    g_appmngr_appDb = {};
    g_appmngr_appDns = {};
}

TEST(Appdist, ReadsUnalignedMessages)
{
    alignas(8) const unsigned char bytes[] = "?len.\x12\x12..seq.pid.\xff\xff\xff\xff";
    EXPECT_EQ(appdist_message_type(bytes + 1), 0x1212);
    EXPECT_EQ(appdist_message_error(bytes + 1), 1);
}
