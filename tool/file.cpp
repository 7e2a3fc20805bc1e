// Reading and writing whole files.

#include "tool/file.h"

#include "check/database.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <list>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace tool
{

namespace
{

using Stream = std::unique_ptr<FILE, int (*)(FILE *)>;

check::Failure systemFailure(const std::string &file)
{
    return check::Failure(file, std::strerror(errno));
}

std::string readAll(FILE *stream, const std::string &name)
{
    std::string contents;
    std::string block(65536, '\0');
    size_t count = 0;
    while ((count = fread(block.data(), 1, block.size(), stream)) > 0) {
        contents.append(block, 0, count);
    }
    if (ferror(stream) != 0) {
        throw systemFailure(name);
    }
    return contents;
}

void writeAll(int descriptor, const std::string &contents, const std::string &name)
{
    size_t done = 0;
    while (done < contents.size()) {
        const ssize_t count = write(descriptor, contents.data() + done, contents.size() - done);
        if (count >= 0) {
            done += static_cast<size_t>(count);
        } else if (errno != EINTR) {
            throw systemFailure(name);
        }
    }
}

// A temporary file next to the one that it is to replace; deleted if it never does.
class ReplacementFile
{
public:
    explicit ReplacementFile(const std::string &target)
        : target_(target), path_(target + ".XXXXXX"), descriptor_(mkstemp(path_.data()))
    {
        if (descriptor_ < 0) {
            throw systemFailure(target_);
        }
    }

    ReplacementFile(const ReplacementFile &) = delete;
    ReplacementFile &operator=(const ReplacementFile &) = delete;

    ~ReplacementFile()
    {
        close(descriptor_);
        if (!path_.empty()) {
            unlink(path_.c_str());
        }
    }

    void write(const std::string &contents, mode_t mode)
    {
        writeAll(descriptor_, contents, target_);
        if (fchmod(descriptor_, mode) != 0 || fsync(descriptor_) != 0) {
            throw systemFailure(target_);
        }
    }

    void replaceTarget()
    {
        if (rename(path_.c_str(), target_.c_str()) != 0) {
            throw systemFailure(target_);
        }
        path_.clear();
    }

private:
    std::string target_;
    std::string path_;
    int descriptor_;
};

mode_t newFileMode()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

InputFile readStandardInput()
{
    static bool isUsed = false;
    const std::string name = "standard input";
    if (isUsed) {
        throw check::Failure(name, "can be used for one file only");
    }
    isUsed = true;
    return {name, readAll(stdin, name)};
}

} // namespace

InputFile readFile(const std::string &path)
{
    if (path == "-") {
        return readStandardInput();
    }
    const Stream stream(fopen(path.c_str(), "rb"), fclose);
    if (!stream) {
        throw systemFailure(path);
    }
    return {path, readAll(stream.get(), path)};
}

void writeFile(const std::string &path, const std::string &contents)
{
    if (path == "-") {
        writeStandardOutput(contents);
        return;
    }
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode)) {
        writeFiles({{path, contents}});
        return;
    }
    const Stream stream(fopen(path.c_str(), "wb"), fclose);
    if (!stream) {
        throw systemFailure(path);
    }
    writeAll(fileno(stream.get()), contents, path);
}

void writeFiles(const std::vector<OutputFile> &files)
{
    std::list<ReplacementFile> replacements;
    for (const OutputFile &file : files) {
        struct stat status = {};
        const bool exists = stat(file.path.c_str(), &status) == 0;
        if (exists && !S_ISREG(status.st_mode)) {
            throw check::Failure(file.path, "not a regular file");
        }
        // A symbolic link stays one: the file it points to is replaced.
        replacements.emplace_back(exists ? std::filesystem::canonical(file.path).string()
                                         : file.path);
        replacements.back().write(file.contents, exists ? status.st_mode & 0777 : newFileMode());
    }
    for (ReplacementFile &replacement : replacements) {
        replacement.replaceTarget();
    }
}

void writeStandardOutput(const std::string &contents)
{
    fwrite(contents.data(), 1, contents.size(), stdout);
    if (fflush(stdout) != 0 || ferror(stdout) != 0) {
        throw systemFailure("standard output");
    }
}

void printJson(const Json &document)
{
    writeStandardOutput(jsonText(document, 2) + "\n");
}

} // namespace tool
