// The product's own code at work: where its lines go, tables that are filled but never sent.

#include "check/device.h"

#include "appmngr/appmngr.h"
#include "apppri/apppri.h"
#include "dbimage/dbimage.h"
#include "loader/loader.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace check
{

namespace
{

// A file in memory that disappears when it is closed.
class MemoryFile
{
public:
    MemoryFile() : descriptor_(memfd_create("output", MFD_CLOEXEC))
    {
        if (descriptor_ < 0) {
            throw Failure("memory file", std::strerror(errno));
        }
    }

    ~MemoryFile()
    {
        close(descriptor_);
    }

    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    int duplicate() const
    {
        return dup(descriptor_);
    }

    std::string contents() const
    {
        const off_t size = lseek(descriptor_, 0, SEEK_END);
        std::string text(static_cast<size_t>(std::max<off_t>(size, 0)), '\0');
        const ssize_t count = pread(descriptor_, text.data(), text.size(), 0);
        text.resize(static_cast<size_t>(std::max<ssize_t>(count, 0)));
        return text;
    }

private:
    int descriptor_;
};

class DiagnosticsInMemory : public RedirectedDiagnostics
{
public:
    explicit DiagnosticsInMemory(const MemoryFile &file) : RedirectedDiagnostics(file.duplicate())
    {
    }
};

// Puts text, NUL-terminated, into a buffer of the product; what it has no room for is left out.
void fillBuffer(char *buffer, size_t size, const std::string &text)
{
    const size_t length = std::min(text.size(), size - 1);
    memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}

// Says what it frees, which is no news.
void releaseTables()
{
    const DiscardedDiagnostics redirection;
    appmngr_dbReInit();
}

bool isDiagnostic(const std::string &line)
{
    return line.compare(0, 1, "[") == 0;
}

void releaseTables()
{
    const DiscardedDiagnostics silence;
    appmngr_dbReInit();
}

bool fillTables(const std::string &text)
{
    const DiagnosticsOnStandardError redirection;
    bool filled = false;
    if (appmngr_file_alloc() == 0) {
        memcpy(g_appmngr_xmlBuf, text.c_str(), text.size() + 1);
        filled = appmngr_analyzeDbFile() == 0;
    }
    appmngr_file_free();
    return filled;
}

bool fillModel(const std::string &text)
{
    const DiagnosticsOnStandardError redirection;
    apppri_DBReInit();
    bool filled = false;
    if (apppri_DBResAlloc() == 0) {
        memcpy(apppri_db.xmlBuf, text.c_str(), text.size() + 1);
        filled = apppri_analyzeDBFile() == 0;
    }
    apppri_DBResFree();
    return filled;
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

DiagnosticsOnStandardError::DiagnosticsOnStandardError() : RedirectedDiagnostics(STDERR_FILENO) {}

DiscardedDiagnostics::DiscardedDiagnostics()
    : RedirectedDiagnostics(open("/dev/null", O_WRONLY | O_CLOEXEC))
{
}

LoaderRun captureRun(const std::function<int()> &action)
{
    const MemoryFile file;
    int status = 0;
    {
        const DiagnosticsInMemory redirection(file);
        status = action();
    }
    return {status, file.contents()};
}

LoaderRun loadApplicationText(const std::string &text)
{
    releaseTables();
    LoaderRun run = captureRun([&text] {
        int status = appmngr_file_alloc();
        if (status == 0) {
            fillBuffer(g_appmngr_xmlBuf, g_appmngr_settings.xmlBufSize, text);
            status = appmngr_analyzeDbFile();
        }
        appmngr_file_free();
        return status;
    });
    releaseTables();
    return run;
}

LoaderRun loadPriorityText(const std::string &text)
{
    apppri_DBReInit();
    LoaderRun run = captureRun([&text] {
        int status = apppri_DBResAlloc();
        if (status == 0) {
            fillBuffer(apppri_db.xmlBuf, g_apppri_profile.bufSize, text);
            status = apppri_analyzeDBFile();
        }
        apppri_DBResFree();
        return status;
    });
    apppri_DBReInit();
    return run;
}

LoaderRun writeContainer(const std::string &container)
{
    return captureRun([&container] {
        // What is longer is too long all the same.
        const size_t length = std::min<size_t>(container.size(), INT32_MAX);
        return appmngr_db_writeFromDatabase(container.data(), static_cast<int32_t>(length));
    });
}

std::string firstDiagnostic(const LoaderRun &run)
{
    for (size_t at = 0; at < run.lines.size();) {
        const size_t end = std::min(run.lines.find_first_of("\r\n", at), run.lines.size());
        std::string line = run.lines.substr(at, end - at);
        if (isDiagnostic(line)) {
            return line;
        }
        at = end + 1;
    }
    return "";
}

void loadApplicationTables(const InputFile &image)
{
    const std::string text = unpackDatabase(image, applicationDatabase);
    releaseTables();
    if (!fillTables(text)) {
        throw Failure(image.name, "the application database cannot be loaded");
    }
}

void loadPriorityModel(const InputFile &image)
{
    if (!fillModel(unpackDatabase(image, priorityDatabase))) {
        throw Failure(image.name, "the priority database cannot be loaded");
    }
    if (apppri_db.appSortList == nullptr) {
        throw Failure(image.name, "the priority database has no sorts");
    }
}

std::vector<unsigned char> priorityMap()
{
    std::vector<unsigned char> map(g_apppri_profile.mapSize);
    apppri_initPrimapFromDB(map.data());
    return map;
}

} // namespace check
