// The system calls: what the kernel is asked for; and, when a call fails, what the operation then
// returns and prints, and that it closes what it opened. The calls of the channel fail in the fake
// kernel, those on files for real.

#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "apppri/apppri.h"
#include "loader/loader.h"
#include "tests/fake_kernel.h"
#include "tests/faults.h"
#include "tests/update_file.h"

// The open descriptors and allocated blocks.
static long held()
{
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(descriptors, {}) + static_cast<long>(faults::live.size());
}

// The result, the code of the channel, what is held that was not before; then all that is printed.
template <typename Call, typename... Arguments>
static std::string outcome(Call call, Arguments... arguments)
{
    const long before = held();
    int result = 0;
    appdist_errno = 0;
    testing::internal::CaptureStderr();
    std::string printed = captured([&] {
        errno = 0;
        result = call(arguments...);
        kernel.fault = {};
    });
    printed += testing::internal::GetCapturedStderr(); // which holds a descriptor until now
    return std::to_string(result) + "/" + std::to_string(appdist_errno) + "/" +
           std::to_string(held() - before) + lines(printed);
}

#define NAMED(...) #__VA_ARGS__, __VA_ARGS__

// ---- The channel -----------------------------------------------------------------------

static appdist_handle channel = {0, 0, {AF_NETLINK, 0, 1, 0}, {AF_NETLINK, 0, 0, 0}};

// Opens and closes a channel. Returns its protocol, or -1.
template <uint32_t family> static int create()
{
    appdist_handle *handle = appdist_create_handle(0, family);
    if (handle == nullptr) {
        return -1;
    }
    const auto port = static_cast<uint32_t>(getpid());
    const sockaddr_nl addresses[] = {{AF_NETLINK, 0, port, 0}, {AF_NETLINK, 0, 0, 0}};
    EXPECT_EQ(memcmp(&handle->local, addresses, sizeof(addresses)), 0);
    EXPECT_EQ(memcmp(&kernel.bound, addresses, sizeof(kernel.bound)), 0);
    EXPECT_EQ(appdist_configure(handle, "anything"), 1);
    EXPECT_EQ(appdist_destroy_handle(handle), 0);
    return kernel.protocol;
}

static int send()
{
    const appdist_message expected = {{64, 22, 1, 0, 1}, 0, 0, 1, 4, {2, 3}, {}};
    const int sent = appdist_send_params(&channel, 1, 2, 3, 4);
    EXPECT_EQ(memcmp(kernel.message.data(), &expected, sizeof(expected)), 0);
    return sent;
}

static int sendScattered()
{
    iovec part = {&channel, 5};
    const msghdr message = {nullptr, 0, &part, 1, nullptr, 0, 0};
    return appdist_netlink_sendmsg(&channel, &message, MSG_DONTWAIT);
}

// Receives to an unaligned place, and says how long nothing came.
template <int32_t timeout, uint32_t length = 20, int fd = 0> static int receive()
{
    alignas(8) unsigned char buffer[21];
    memset(buffer, 0xff, sizeof(buffer));    // with the error, which the kernel leaves as it is
    memset(buffer + 1, 0, sizeof(uint32_t)); // what is left of an earlier length
    channel.fd = fd;
    const int result = appdist_receive(&channel, buffer + 1, length, timeout);
    if (result == 20) {
        EXPECT_EQ(appdist_message_type(buffer + 1), 2);
        EXPECT_EQ(appdist_message_error(buffer + 1), 1);
    } else if (appdist_errno == APPDIST_ERR_TIMEOUT) {
        printf("%ld.%06ld", static_cast<long>(kernel.wait.tv_sec),
               static_cast<long>(kernel.wait.tv_usec));
    }
    return result;
}

TEST(SystemCalls, ChannelReportsWhatFailsAndClosesItsSocket)
{
    appmngr_rule rule = {};
    appmngr_dnsRule keyword = {};
    apppri_sort sorts = {};
    g_appmngr_appDb.rule = &rule;
    g_appmngr_appDns.rule = &keyword;
    g_appmngr_appDb.ruleCount = g_appmngr_appDns.count = 1;
    sorts.next = sorts.prev = apppri_db.appSortList = &sorts; // an empty list

    const auto upload = _appmngr_sendMsgToKernel, sendMap = apppri_sendMsgToKernel;
    const auto sendNothing = [] { return appdist_send_buffer(&channel, "", -1); };
    const auto sendTooMany = [] {
        g_appmngr_appDb.ruleCount = 7206372; // 2^32 bytes and some: no length for the header
        return appdist_send_app_rules(&channel);
    };
    const std::string noSocket = "; create socket failed: Protocol not supported\n";
    const std::string refused = "; app netlink sendto fail, ret:-1\nConnection refused\n";
    const std::string nothing = "; app netlink sendto fail, ret:0\n", noBind = "; Here?\n";
    const std::string noHandle = " appdist Failed to initialize handle";
    const std::string at = "; _appmngr_sendMsgToKernel:", notSent = " send db to kernel failed";
    const std::tuple<const char *, int (*)(), Fault, std::string> rows[] = {
        {NAMED(create<2>), {}, "22/0/0"},
        {NAMED(create<10>), {}, "13/0/0"},
        {NAMED(create<3>), {}, "-1/16/0"},
        {NAMED(create<2>), {"socket", EPROTONOSUPPORT}, "-1/3/0" + noSocket},
        {NAMED(create<2>), {"setsockopt", EPERM}, "-1/0/1"}, // the record is kept, on purpose
        {NAMED(create<2>), {"getsockopt", EPERM}, "-1/0/1"}, // the same
        {NAMED(create<2>), {"bind", EADDRINUSE}, "-1/4/0" + noBind},
        {NAMED(create<2>), {"close", EINTR}, "22/0/0"},
        {NAMED(send), {}, "64/0/0"},
        {NAMED(send), {"sendto", ECONNREFUSED}, "-1/12/0" + refused},
        {NAMED(send), {"sendto", 0, 0}, "0/0/0" + nothing},
        {NAMED(send), {"sendto", 0, 10}, "10/0/0"},
        {NAMED(sendNothing), {}, "0/0/0"},
        {NAMED(sendScattered), {}, "5/0/0"},
        {NAMED(sendScattered), {"sendmsg", ENOBUFS}, "-1/12/0"},
        {NAMED(receive<0, 19>), {}, "-1/14/0"},
        {NAMED(receive<0>), {"select"}, "20/0/0"}, // waits in the receive itself
        {NAMED(receive<1>), {}, "20/0/0"},
        {NAMED(receive<1, 20, -1>), {}, "-1/6/0"}, // outside of the set that select takes
        {NAMED(receive<1, 20, FD_SETSIZE>), {}, "-1/6/0"},
        {NAMED(receive<1>), {"select", EINTR}, "0/0/0"},
        {NAMED(receive<1>), {"select", EBADF}, "-1/6/0"},
        {NAMED(receive<2000001>), {"select", 0, 0}, "0/15/0; 2.000001"},
        {NAMED(receive<-2500000>), {"select", 0, 0}, "0/15/0; 0.000000"},
        {NAMED(receive<1>), {"recvfrom", ENOBUFS}, "-1/6/0"},
        {NAMED(receive<1>), {"recvfrom", 0, 0}, "-1/7/0"},
        {NAMED(receive<1>), {"recvfrom", 0, 19}, "-1/10/0"},
        {NAMED(receive<1>), {"recvfrom", 0, 1}, "-1/10/0"}, // the flags that were there before
        {NAMED(receive<1>), {"sender", 0, 1}, "-1/6/0"},
        {NAMED(receive<1>), {"sender size", 0, 8}, "-1/6/0"},
        {NAMED(receive<1>), {"length", 0, 21}, "-1/10/0"},
        {NAMED(receive<1>), {"flags", 0, 0x20}, "-1/10/0"},
        {NAMED(upload), {"sendto", 0, 1}, "0/0/0"},
        {NAMED(upload), {"bind", EADDRINUSE}, "-1/4/0" + noBind + at + "2532" + noHandle},
        {NAMED(upload), {"sendto", ECONNREFUSED}, "-1/12/0" + refused + at + "2540" + notSent},
        {NAMED(upload), {"sendto", 0, 0, 2}, "-1/0/0" + nothing + at + "2547" + notSent},
        {NAMED(sendMap), {"sendto", 0, 1}, "0/0/0"},
        {NAMED(sendMap),
         {"bind", EPERM},
         "-1/4/0" + noBind + "[apppri_db_error](apppri_sendMsgToKernel) 1452:" + noHandle +
             "\n\r\n"},
        {NAMED(sendMap),
         {"sendto", 0, 0},
         "-1/0/0" + nothing + "; apppri_sendMsgToKernel:1459" + notSent + "\r\n"},
        {NAMED(sendTooMany), {}, "0/0/0;  malloc mem eroor"},
    };
    for (const auto &[name, operation, fault, expected] : rows) {
        kernel.fault = fault;
        EXPECT_EQ(outcome(operation), expected) << name << ", " << fault.where;
    }
    g_appmngr_appDb = {};
    g_appmngr_appDns = {};
    apppri_db.appSortList = nullptr;
}

TEST(SystemCalls, ErrorsHaveTexts)
{
    const std::tuple<const char *, int32_t, int, std::string> rows[] = {
        {nullptr, 0, 0, "ERROR\n"},
        {"load", APPDIST_ERR_TIMEOUT, 0, "load: Timeout\n"},
        {"load", APPDIST_ERR_PROTOCOL, 0, "load: Invalid protocol specified\n"},
        {"load", APPDIST_ERR_PROTOCOL + 1, 0, "load: Implementation error\n"},
        {"", APPDIST_ERR_BIND, EPERM, ": Unable to bind netlink socket: Operation not permitted\n"},
        {"", -1, 0, ": Implementation error\n"},
    };
    for (const auto &[prefix, code, systemError, line] : rows) {
        SCOPED_TRACE(line);
        appdist_errno = code;
        testing::internal::CaptureStderr();
        errno = systemError;
        EXPECT_EQ(appdist_print_error(prefix), '\n');
        EXPECT_EQ(testing::internal::GetCapturedStderr(), line);
    }
    EXPECT_STREQ(appdist_strerror(0), "Unknown error");
}

// ---- Files -----------------------------------------------------------------------------

TEST(SystemCalls, LoadsReportFilesThatCannotBeRead)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    close(ends[1]);
    const auto loads = [](const std::string &path) {
        const std::string opened = outcome(appmngr_checkDbPath, path.c_str());
        const std::string loaded = outcome(appmngr_load_database);
        return opened + " " + loaded + " " + outcome(apppri_database_init);
    };
    const std::string failed = "; _appmngr_readFromDatabase:2569 _appmngr_readAppDb failed";
    const std::string sorts = "; apppri_readAppSortFromDB:1870 apppri_readDBFromFlash error."
                              "; apppri_database_init:2044 apppri_readAppSortFromDB failed.";
    const std::string noFile =
        "-1/0/0 -1/0/0" + failed +
        "; read db flash fail\n: No such file or directory\n"
        " -1/0/0; [Error](apppri_readDBFromFlash) 1023: read db flash fail\n" +
        sorts;
    const std::string noText =
        "0/0/0 -1/0/0; _appmngr_readAppDb:2167 Size of buffer \"204800\" is too small." + failed +
        " -1/0/0; [Error](apppri_readDBFromFlash) 1045: Size of buffer \"65536\" is too small.\n" +
        sorts;
    EXPECT_EQ(loads("/nonexistent"), noFile);
    EXPECT_EQ(loads("/"), noText); // a directory cannot be read
    EXPECT_EQ(loads("/proc/self/fd/" + std::to_string(ends[0])), noText); // no offsets in a pipe
    EXPECT_EQ(loads("/dev/null"), noText);
    close(ends[0]);
}

TEST(SystemCalls, SealingReportsFilesThatCannotBeUsed)
{
    enterFolder("system_calls_test");
    umask(0);
    const std::string text(16382, 't');
    std::ofstream("in") << text;
    std::ofstream("large") << text << "t";
    // Three of the failures leave the input open, on purpose.
    const std::tuple<const char *, const char *, std::string> rows[] = {
        {"none", "out", "-1/0/0; open input file: No such file or directory\n"},
        {".", "out", "-1/0/1; read: Is a directory\n"},
        {"large", "out", "-1/0/1"},
        {"in", ".", "-1/0/1; open output file: Is a directory\n"},
        {"in", "/dev/full", "0/0/0; write: No space left on device\n"},
        {"in", "out", "0/0/0"},
    };
    for (const auto &[from, to, expected] : rows) {
        EXPECT_EQ(outcome(md5_des_sealFile, from, to, 1), expected) << from << " " << to;
    }
    const auto sealFromDescriptor0 = [] {
        const int input = dup(STDIN_FILENO);
        close(STDIN_FILENO);
        return md5_des_sealFile("in", "out", 1) + dup2(input, STDIN_FILENO) + close(input);
    };
    EXPECT_EQ(outcome(sealFromDescriptor0), "0/0/0");
    EXPECT_EQ(contents("out"), digestOf(text) + des(text, 1));
    EXPECT_EQ(std::filesystem::status("out").permissions(), std::filesystem::perms{0644});

    // The export does not look whether there is room.
    std::filesystem::create_symlink("/dev/full", "database.json");
    EXPECT_EQ(outcome([] { return appmngr_exportJson(), 0; }),
              "0/0/0; Create JSON-Format database success!\n");
}
