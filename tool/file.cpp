// Reading and writing whole files.

#include "tool/file.h"

#include "check/content.h"
#include "check/document.h"

#include <cerrno>
#include <csignal>
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

std::string readAll(FILE *stream, size_t max, const std::string &name)
{
    std::string contents(max, '\0');
    contents.resize(fread(contents.data(), 1, max, stream));
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

// Holds back the signals by which a user or the system ends a program.
class HeldSignals
{
public:
    HeldSignals()
    {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
            sigaddset(&held, signal);
        }
        sigprocmask(SIG_BLOCK, &held, &before_);
    }

    HeldSignals(const HeldSignals &) = delete;
    HeldSignals &operator=(const HeldSignals &) = delete;

    ~HeldSignals()
    {
        sigprocmask(SIG_SETMASK, &before_, nullptr);
    }

private:
    sigset_t before_ = {};
};

// Where a path leads by symbolic links, of which the last may lead to nothing.
std::filesystem::path followed(std::filesystem::path path)
{
    constexpr int linkMax = 40; // as the kernel has it
    for (int links = 0; links < linkMax && is_symlink(path); links++) {
        path = path.parent_path() / read_symlink(path);
    }
    return path;
}

// A temporary file next to the one that it is to replace; deleted if it never does.
class ReplacementFile
{
public:
    explicit ReplacementFile(const std::filesystem::path &target)
        : target_(target), path_((target.parent_path() / ".tarn-XXXXXX").string()),
          descriptor_(mkstemp(path_.data()))
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
        struct stat old = {};
        if (stat(target_.c_str(), &old) == 0) {
            mode = old.st_mode & 0777;
            static_cast<void>(fchown(descriptor_, old.st_uid, old.st_gid) == 0); // if allowed
        }
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

InputFile readStandardInput(size_t max)
{
    static bool isUsed = false;
    const std::string name = "standard input";
    if (isUsed) {
        throw check::Failure(name, "can be used for one file only");
    }
    isUsed = true;
    return {name, readAll(stdin, max, name)};
}

} // namespace

InputFile readFile(const std::string &path, size_t max)
{
    if (path == "-") {
        return readStandardInput(max);
    }
    const Stream stream(fopen(path.c_str(), "rb"), fclose);
    if (!stream) {
        throw systemFailure(path);
    }
    return {path, readAll(stream.get(), max, path)};
}

InputFile readWholeFile(const std::string &path, size_t max)
{
    InputFile file = readFile(path, max + 1);
    if (file.contents.size() > max) {
        throw check::Failure(file.name, "is larger than " + std::to_string(max) + " bytes");
    }
    return file;
}

check::Source readSource(const InputFile &file)
{
    if (check::kindOf(file.contents) != check::FileKind::Text) {
        throw check::Failure(file.name, "is not an XML text");
    }
    std::deque<check::Source> sources = {{file.name, "", file.contents, true}};
    const check::Document document(sources[0]);
    const check::Report report =
        check::reportAsText(sources, {}, check::showsColour(STDERR_FILENO));
    if (report.errors > 0) {
        fputs(report.text.c_str(), stderr);
        throw check::Failure(file.name, "cannot be parsed");
    }
    return sources[0];
}

check::Texts readTexts(const std::string (&paths)[2], bool forced)
{
    check::Texts texts;
    for (size_t i = 0; i < texts.size(); i++) {
        if (!paths[i].empty()) {
            texts[i] = readWholeFile(paths[i], fileMax);
        }
    }
    std::deque<check::Source> sources;
    check::checkTexts(texts, sources);
    const check::Report report =
        check::reportAsText(sources, {}, check::showsColour(STDERR_FILENO));
    if (report.errors > 0 && !forced) {
        fputs(report.text.c_str(), stderr);
        throw check::Failure("nothing is written", "use --force to pack it all the same");
    }
    return texts;
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
    const HeldSignals held; // until nothing temporary is left
    std::list<ReplacementFile> replacements;
    for (const OutputFile &file : files) {
        struct stat status = {};
        const bool exists = stat(file.path.c_str(), &status) == 0;
        if (exists && !S_ISREG(status.st_mode)) {
            throw check::Failure(file.path, "not a regular file");
        }
        replacements.emplace_back(followed(file.path));
        replacements.back().write(file.contents, newFileMode());
    }
    for (ReplacementFile &replacement : replacements) {
        replacement.replaceTarget();
    }
}

void reportFailure(const std::exception &failure)
{
    fprintf(stderr, "tarn-db-tool: %s\n", check::printable(failure.what()).c_str());
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
