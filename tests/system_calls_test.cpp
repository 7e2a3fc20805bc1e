// System calls that fail: what each operation then returns and prints, and that it closes what it
// opened. The calls of the channel fail in the fake kernel, those on files for real.

#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "appmngr/appmngr_internal.h"
#include "apppri/list.h"
#include "capture.h"
#include "dbimage/dbimage.h"
#include "fake_kernel.h"
#include "loader/image.h"
#include "loader/loader.h"

#include <unistd.h>

#include <filesystem>

using std::filesystem::directory_iterator;

static void *record; // the last that calloc gave

extern "C" void *__real_calloc(size_t count, size_t size);

extern "C" void *__wrap_calloc(size_t count, size_t size)
{
    return record = __real_calloc(count, size);
}

// The result, the code of the channel, the descriptors left open; then all that is printed.
template <typename Action> static std::string outcome(Action action)
{
    const auto before = std::distance(directory_iterator("/proc/self/fd"), {});
    int result = 0;
    appdist_errno = 0;
    testing::internal::CaptureStderr();
    std::string printed = captured([&] {
        errno = 0;
        result = action();
        kernel.fault = {};
    });
    printed += testing::internal::GetCapturedStderr();
    const auto after = std::distance(directory_iterator("/proc/self/fd"), {});
    return std::to_string(result) + "/" + std::to_string(appdist_errno) + "/" +
           std::to_string(after - before) + " " + printed;
}

// ---- The channel -----------------------------------------------------------------------

static appdist_handle channel = {0, 0, {AF_NETLINK, 0, 1, 0}, {AF_NETLINK, 0, 0, 0}};

static int create()
{
    appdist_handle *handle = appdist_create_handle(0, 2);
    if (handle == nullptr && appdist_errno == 0) {
        free(record); // the library does not, on purpose
    }
    const int opened = handle != nullptr;
    return opened + appdist_destroy_handle(handle);
}

static int send()
{
    return appdist_send_params(&channel, 1, 2, 3, 4);
}

static int sendScattered()
{
    iovec part = {&channel, 5};
    const msghdr message = {nullptr, 0, &part, 1, nullptr, 0, 0};
    return appdist_netlink_sendmsg(&channel, &message, MSG_DONTWAIT);
}

template <int32_t timeout, uint32_t length = 20> static int receive()
{
    unsigned char buffer[20];
    return appdist_receive(&channel, buffer, length, timeout);
}

TEST(SystemCalls, ofTheChannel)
{
    appmngr_rule rule = {};
    appmngr_dnsRule keyword = {};
    apppri_sort sorts = {};
    g_appmngr_appDb.rule = &rule;
    g_appmngr_appDns.rule = &keyword;
    g_appmngr_appDb.ruleCount = g_appmngr_appDns.count = 1;
    apppri_db.appSortList = _apppri_startList(&sorts);

    const auto upload = _appmngr_sendMsgToKernel, sendMap = apppri_sendMsgToKernel;
    const std::string noSocket = "create socket failed: Protocol not supported\n";
    const std::string refused = "app netlink sendto fail, ret:-1\nConnection refused\n";
    const std::string nothing = "app netlink sendto fail, ret:0\n", noBind = "Here?\n";
    const std::string at = "[Error](_appmngr_sendMsgToKernel) ";
    const std::string mapAt = "[apppri_db_error](apppri_sendMsgToKernel) ";
    const std::string noHandle = ": appdist Failed to initialize handle\n";
    const std::string notSent = ": send db to kernel failed";
    const std::tuple<int (*)(), Fault, std::string> rows[] = {
        {create, {}, "1/0/0 "},
        {create, {"socket", EPROTONOSUPPORT}, "0/3/0 " + noSocket},
        {create, {"setsockopt", EPERM}, "0/0/0 "},
        {create, {"getsockopt", EPERM}, "0/0/0 "},
        {create, {"bind", EADDRINUSE}, "0/4/0 " + noBind},
        {create, {"close", EINTR}, "1/0/0 "},
        {send, {}, "64/0/0 "},
        {send, {"sendto", ECONNREFUSED}, "-1/12/0 " + refused},
        {send, {"sendto", 0, 0}, "0/0/0 " + nothing},
        {send, {"sendto", 0, 10}, "10/0/0 "},
        {sendScattered, {}, "5/0/0 "},
        {sendScattered, {"sendmsg", ENOBUFS}, "-1/12/0 "},
        {sendScattered, {"sendmsg", 0, 3}, "3/0/0 "},
        {receive<0, 19>, {}, "-1/14/0 "},
        {receive<0>, {"select"}, "20/0/0 "}, // waits in the receive itself
        {receive<1>, {}, "20/0/0 "},
        {receive<1>, {"select", EINTR}, "0/0/0 "},
        {receive<1>, {"select", EBADF}, "-1/6/0 "},
        {receive<1>, {"select", 0, 0}, "0/15/0 "},
        {receive<1>, {"recvfrom", ENOBUFS}, "-1/6/0 "},
        {receive<1>, {"recvfrom", 0, 0}, "-1/7/0 "},
        {receive<1>, {"recvfrom", 0, 19}, "-1/10/0 "},
        {receive<1>, {"sender", 0, 1}, "-1/6/0 "},
        {receive<1>, {"sender size", 0, 8}, "-1/6/0 "},
        {receive<1>, {"length", 0, 21}, "-1/10/0 "},
        {receive<1>, {"flags", 0, 0x20}, "-1/10/0 "},
        {upload, {"sendto", 0, 1}, "0/0/0 "},
        {upload, {"socket", EPROTONOSUPPORT}, "-1/3/0 " + noSocket + at + "2532" + noHandle},
        {upload, {"bind", EADDRINUSE}, "-1/4/0 " + noBind + at + "2532" + noHandle},
        {upload, {"sendto", ECONNREFUSED}, "-1/12/0 " + refused + at + "2540" + notSent + "\n"},
        {upload, {"sendto", 0, 0, 2}, "-1/0/0 " + nothing + at + "2547" + notSent + "\n"},
        {sendMap, {"sendto", 0, 1}, "0/0/0 "},
        {sendMap, {"bind", EPERM}, "-1/4/0 " + noBind + mapAt + "1452" + noHandle + "\r\n"},
        {sendMap, {"sendto", 0, 0}, "-1/0/0 " + nothing + mapAt + "1459" + notSent + "\r\n\r\n"},
    };
    for (const auto &[operation, fault, expected] : rows) {
        SCOPED_TRACE(fault.where);
        kernel.fault = fault;
        EXPECT_EQ(outcome(operation), expected);
    }
    g_appmngr_appDb = {};
    g_appmngr_appDns = {};
    apppri_db.appSortList = nullptr;
}

// ---- Files -----------------------------------------------------------------------------

TEST(SystemCalls, ofLoads)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[1]);
    const std::string emptyPipe = "/proc/self/fd/" + std::to_string(ends[0]);
    const std::string failed =
        "[Error](_appmngr_readFromDatabase) 2569: _appmngr_readAppDb failed\n";
    const std::string tooSmall =
        "[Error](_appmngr_readAppDb) 2167: Size of buffer \"204800\" is too small.\n" + failed;
    const std::string flash = "-1/0/0 [Error](apppri_readDBFromFlash) ";
    const std::string priorityFailed =
        "[apppri_db_error](apppri_readAppSortFromDB) 1870: apppri_readDBFromFlash error.\r\n"
        "[apppri_db_error](apppri_database_init) 2044: apppri_readAppSortFromDB failed.\r\n";
    const auto loads = [](const char *path) {
        std::string outcomes = outcome([path] { return appmngr_checkDbPath(path); });
        outcomes += outcome(appmngr_load_database);
        return outcomes += outcome(apppri_database_init);
    };
    EXPECT_EQ(loads("/nonexistent"), "-1/0/0 -1/0/0 " + failed +
                                         "read db flash fail\n: No such file or directory\n" +
                                         flash + "1023: read db flash fail\n" + priorityFailed);
    // No reading of a directory, no offset in a pipe, no bytes: an image of length 0.
    for (const char *path : {"/", emptyPipe.c_str(), "/dev/null"}) {
        EXPECT_EQ(loads(path), "0/0/0 -1/0/0 " + tooSmall + flash +
                                   "1045: Size of buffer \"65536\" is too small.\n" +
                                   priorityFailed);
    }
    close(ends[0]);
}

TEST(SystemCalls, ofSealing)
{
    const std::string folder = testing::TempDir() + "system_calls", in = folder + "/in";
    std::filesystem::create_directories(folder);
    std::ofstream(in) << "short";
    std::ofstream(folder + "/large") << std::string(16383, 't');
    // Three of the failures leave the input open, on purpose.
    const std::array<std::string, 3> rows[] = {
        {folder + "/none", in, "-1/0/0 open input file: No such file or directory\n"},
        {folder, in, "-1/0/1 read: Is a directory\n"},
        {folder + "/large", in, "-1/0/1 "},
        {in, folder, "-1/0/1 open output file: Is a directory\n"},
        {in, "/dev/full", "0/0/0 write: No space left on device\n"},
        {in, "/dev/null", "0/0/0 "},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(outcome([&] { return md5_des_sealFile(row[0].c_str(), row[1].c_str(), 1); }),
                  row[2]);
    }
}

// Neither the export nor a listing looks whether there is room.
TEST(SystemCalls, onAFullDisk)
{
    std::filesystem::create_directories(testing::TempDir() + "system_calls");
    std::filesystem::current_path(testing::TempDir() + "system_calls");
    std::filesystem::remove("database.json");
    std::filesystem::create_symlink("/dev/full", "database.json");
    EXPECT_EQ(outcome([] { return appmngr_exportJson(), 0; }),
              "0/0/0 Create JSON-Format database success!\n");
    EXPECT_EQ(outcome([] {
                  FILE *const kept = std::exchange(stdout, fopen("/dev/full", "w"));
                  const int result = appmngr_showDb();
                  EXPECT_EQ(fclose(std::exchange(stdout, kept)), EOF);
                  return result;
              }),
              "0/0/0 ");
}
