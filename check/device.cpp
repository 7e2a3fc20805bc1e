// Runs of the product: where their lines go, and tables that are filled but never sent.

#include "check/device.h"

#include "appmngr/appmngr.h"
#include "apppri/apppri.h"
#include "check/content.h"
#include "check/output.h"
#include "loader/loader.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>

namespace check
{

namespace
{

// Leaves out what the device has no room for.
int load(const Database &database, const std::string &text)
{
    int status = database.allocateBuffers();
    if (status == 0) {
        const size_t length = std::min<size_t>(text.size(), database.textLimit);
        memcpy(*database.textBuffer, text.data(), length);
        (*database.textBuffer)[length] = '\0';
        status = database.analyze();
    }
    database.freeBuffers();
    return status;
}

// Says what it frees, which is no news.
void clear(const Database &database)
{
    const RedirectedDiagnostics nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
    database.clear();
}

// Diagnostics name elements and values of the text as they are.
std::string printableLines(std::string_view lines)
{
    std::string shown;
    while (!lines.empty()) {
        const size_t end = std::min(lines.find_first_of("\r\n"), lines.size());
        const size_t next = std::min(lines.find_first_not_of("\r\n", end), lines.size());
        shown += printable(lines.substr(0, end)) + std::string(lines.substr(end, next - end));
        lines.remove_prefix(next);
    }
    return shown;
}

void require(const InputFile &file, const Database &database)
{
    if (!loadIfThere(file, database)) {
        throw Failure(file.name, "has no " + std::string(database.name));
    }
}

} // namespace

RedirectedDiagnostics::RedirectedDiagnostics(int descriptor) : standardOutput_(dup(STDOUT_FILENO))
{
    fflush(stdout);
    const bool redirected = standardOutput_ >= 0 && dup2(descriptor, STDOUT_FILENO) >= 0;
    const std::string reason = std::strerror(errno);
    if (descriptor > STDERR_FILENO) {
        close(descriptor);
    }
    if (!redirected) {
        throw Failure("standard output", reason);
    }
}

RedirectedDiagnostics::~RedirectedDiagnostics()
{
    fflush(stdout);
    dup2(standardOutput_, STDOUT_FILENO);
    close(standardOutput_);
}

Run captureRun(const std::function<int()> &action)
{
    // A file in memory, which disappears when it is closed.
    const std::unique_ptr<FILE, int (*)(FILE *)> file(
        fdopen(memfd_create("diagnostics", MFD_CLOEXEC), "w+"), fclose);
    if (!file) {
        throw Failure("memory file", std::strerror(errno));
    }
    Run run;
    {
        const RedirectedDiagnostics redirection(dup(fileno(file.get())));
        run.status = action();
    }
    const off_t size = lseek(fileno(file.get()), 0, SEEK_END);
    run.lines.resize(static_cast<size_t>(std::max<off_t>(size, 0)));
    run.lines.resize(pread(fileno(file.get()), run.lines.data(), run.lines.size(), 0) == size
                         ? run.lines.size()
                         : 0);
    return run;
}

Run runLoad(const Database &database, const std::string &text)
{
    clear(database);
    Run run = captureRun([&] { return load(database, text); });
    clear(database);
    return run;
}

Run runUpdate(const std::string &container)
{
    return captureRun([&container] {
        // What is longer is too long all the same.
        const size_t length = std::min<size_t>(container.size(), INT32_MAX);
        return appmngr_db_writeFromDatabase(container.data(), static_cast<int32_t>(length));
    });
}

std::string versionText(const dbimage_fileHeader &header)
{
    return fmt::format("{}.{}.{}", header.version[0], header.version[1], header.version[2]);
}

std::string magicText(const dbimage_fileHeader &header)
{
    return fmt::format("0x{:08x}", ntohl(header.magic));
}

std::string firstDiagnostic(const Run &run)
{
    for (size_t at = 0; at < run.lines.size();) {
        const size_t end = std::min(run.lines.find_first_of("\r\n", at), run.lines.size());
        std::string line = run.lines.substr(at, end - at);
        if (line[0] == '[') {
            return line;
        }
        at = end + 1;
    }
    return "";
}

bool loadIfThere(const InputFile &file, const Database &database)
{
    const std::optional<std::string> text = findText(file, database);
    if (!text) {
        return false;
    }
    clear(database);
    const Run run = captureRun([&] { return load(database, *text); });
    fputs(printableLines(run.lines).c_str(), stderr);
    if (run.status != 0) {
        throw Failure(file.name, "the " + std::string(database.name) + " cannot be loaded");
    }
    return true;
}

void loadApplicationTables(const InputFile &file)
{
    require(file, applicationDatabase);
}

void loadPriorityModel(const InputFile &file)
{
    require(file, priorityDatabase);
    if (apppri_db.appSortList == nullptr) {
        throw Failure(file.name, "the priority database has no sorts");
    }
}

std::vector<unsigned char> priorityMap()
{
    std::vector<unsigned char> map(g_apppri_profile.mapSize);
    apppri_initPrimapFromDB(map.data());
    return map;
}

} // namespace check
