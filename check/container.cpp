// Update containers and the database files in them.

#include "check/check_internal.h"

#include "appmngr/appmngr_model.h"
#include "check/device.h"
#include "dbimage/dbimage.h"

#include <algorithm>
#include <cstdint>

namespace check
{

namespace
{

constexpr size_t headSize = sizeof(dbimage_containerHead);

bool isDigestRight(const std::string &container)
{
    return dbimage_verifyDigest(container.data(), static_cast<uint32_t>(container.size())) != 0;
}

class ContainerChecker
{
public:
    ContainerChecker(const InputFile &file, std::deque<Source> &sources)
        : file_(file), sources_(sources), source_(sources.emplace_back(Source{file.name, "", ""}))
    {
    }

    void check()
    {
        const std::string &container = file_.contents;
        const size_t size = container.size();
        if (size < headSize) {
            report(Check::ContainerLength, "the container is " + std::to_string(size) +
                                               " bytes; the minimum is " +
                                               std::to_string(headSize));
            return;
        }
        if (size > DBIMAGE_CONTAINER_MAX) {
            report(Check::ContainerLength, "the container is " + std::to_string(size) +
                                               " bytes; the limit is " +
                                               std::to_string(DBIMAGE_CONTAINER_MAX));
        }
        if (!isDigestRight(container)) {
            report(Check::ContainerDigest, "the digest of the container does not match its files");
        }
        const dbimage_fault *fault = nullptr;
        const std::vector<ContainedFile> files = readContainer(container, &fault);
        if (fault != nullptr && fault->code == APPMNGR_ERR_FILE_INVALID_FORMAT) {
            report(Check::ContainerCount,
                   "the number of files is not " +
                       std::to_string(static_cast<unsigned char>(container[headSize - 1])) +
                       ", or is above 16");
        } else if (fault != nullptr) {
            report(Check::ContainerLength, "the files do not end where the container does");
        } else if (files.empty()) {
            report(Check::ContainerCount, "the container has no file");
        }
        for (size_t i = 0; i < files.size(); i++) {
            subject_ = "file " + std::to_string(i);
            if (files[i].database != nullptr) {
                checkFile(files[i]);
            }
        }
        appIds_.reportUnknown();
        reportUnexplained();
    }

private:
    void report(Check check, const std::string &message)
    {
        source_.add(check, 0, message);
    }

    void checkFile(const ContainedFile &file)
    {
        if (!file.header) {
            report(Check::FileDigest,
                   subject_ + " of " + std::to_string(file.size) +
                       " bytes cannot be decrypted, or its digest does not match");
            return;
        }
        checkHeader(*file.header, *file.database);
        if (seen_.insert({file.type, file.image}).second) {
            checkImage(readImage(file.image, 0, *file.database), *file.database, source_, sources_,
                       appIds_);
        }
    }

    void checkHeader(const dbimage_fileHeader &header, const Database &database)
    {
        const std::string version = versionText(header);
        char accepted[8];
        if (database.hasSeries && !appmngr_checkVersion(version.c_str(), accepted)) {
            report(Check::FileVersion, subject_ + " has version " + version + ", not 1.2.x");
        }
        if (!dbimage_isKnownMagic(&header)) {
            report(Check::FileMagic, subject_ + " has the magic " + magicText(header));
        }
        if (header.reserved != 0) {
            report(Check::FileReserved, "the reserved word of " + subject_ + " is not 0");
        }
    }

    // If no finding explains a failed update, the product's own line is reported.
    void reportUnexplained()
    {
        const Run run = runUpdate(file_.contents);
        const bool isExplained =
            std::any_of(sources_.begin(), sources_.end(), [this](const Source &source) {
                return source.file == source_.file && source.hasErrors();
            });
        if (run.status != 0 && !isExplained) {
            report(Check::LoaderLine, "the update fails: " + firstDiagnostic(run));
        }
    }

    const InputFile &file_;
    std::deque<Source> &sources_;
    Source &source_; // the container
    AppIds appIds_;
    std::set<std::pair<uint32_t, std::string>> seen_; // types and images of files
    std::string subject_;                             // the file at hand
};

} // namespace

void checkContainer(const InputFile &file, std::deque<Source> &sources)
{
    ContainerChecker(file, sources).check();
}

} // namespace check
