// A file of any kind, and the text of a database, wherever it comes from.

#include "check/check_internal.h"
#include "check/conversion.h"
#include "check/device.h"
#include "check/values.h"

#include "appmngr/appmngr.h"
#include "appmngr/appmngr_model.h"

#include <algorithm>
#include <utf8.h>

namespace check
{

namespace
{

// The loader's own line, when no other finding explains it.
void checkLoad(const Database &database, Source &source)
{
    const Run run = runLoad(database, source.text);
    const std::string line = firstDiagnostic(run);
    if (run.status != 0 || !line.empty()) {
        source.add(Check::LoaderLine, 0, "the loader reports " + line);
    }
}

void checkDocument(const Database &database, const Document &document, Source &source,
                   AppIds &appIds)
{
    if (!isNamed(document.top(), database.root)) {
        source.add(Check::WrongRoot, document.offsetsOf(document.top()).tag,
                   "the top element is " + inQuotes(document.top()->name) + ", not " +
                       inQuotes(database.root));
        return;
    }
    if (childrenNamed(document.top(), "ver").empty()) {
        source.add(Check::MissingVersion, document.offsetsOf(document.top()).tag,
                   "the database has no version");
    }
    const auto invalid = utf8::find_invalid(source.text.begin(), source.text.end());
    if (invalid != source.text.end()) {
        source.add(Check::NotUtf8, static_cast<size_t>(invalid - source.text.begin()),
                   notUtf8(*invalid));
    }
    (&database == &priorityDatabase ? checkPriorities : checkApplications)(document, source,
                                                                           appIds);
    if (!source.hasErrors()) {
        checkLoad(database, source);
    }
}

// Whether a text and its image would have room on the device.
void checkRoom(const Database &database, Source &source)
{
    if (source.text.size() > database.textLimit) {
        source.add(Check::TextSize, database.textLimit,
                   "the text is " + std::to_string(source.text.size()) + " bytes; the limit is " +
                       std::to_string(database.textLimit));
        return;
    }
    checkNearLimit(source.text.size(), database.textLimit, "bytes of text", 0, source);
    try {
        const size_t size = packDatabase({"", source.text}, database).size();
        checkNearLimit(size, APPMNGR_IMAGE_SIZE, "bytes of an image", 0, source);
    } catch (const Failure &failure) {
        source.add(Check::ImageSize, 0, failure.reason);
    }
}

} // namespace

void checkText(const Database &database, Source &source, AppIds &appIds)
{
    const Document document(source);
    if (document.top() != nullptr) {
        checkDocument(database, document, source, appIds);
    }
}

void AppIds::reportUnknown() const
{
    for (const Use &use : used) {
        if (defined && defined->count(use.id) == 0) {
            use.source->add(Check::UnknownApp, use.offset,
                            "the application database has no application " +
                                std::to_string(use.id));
        }
    }
}

void checkXmlFile(Source &source, AppIds &appIds)
{
    const Document document(source);
    const bool holdsPriorities =
        document.top() != nullptr && isNamed(document.top(), priorityDatabase.root);
    const Database &database = holdsPriorities ? priorityDatabase : applicationDatabase;
    checkRoom(database, source);
    if (document.top() != nullptr) {
        checkDocument(database, document, source, appIds);
    }
}

void checkTexts(Texts &texts, std::deque<Source> &sources)
{
    AppIds appIds;
    for (size_t i = 0; i < texts.size(); i++) {
        if (!texts[i]) {
            continue;
        }
        InputFile &file = *texts[i];
        if (kindOf(file.contents) != FileKind::Text) {
            sources.emplace_back(Source{file.name, "", ""})
                .add(Check::RejectedText, 0, "the file is not an XML text");
            continue;
        }
        Source &source = sources.emplace_back(Source{file.name, "", file.contents, true});
        checkText(databases[i], source, appIds);
        checkRoom(databases[i], source);
        file.contents = source.text;
    }
    appIds.reportUnknown();
}

static void checkFile(const InputFile &file, std::deque<Source> &sources, AppIds &appIds)
{
    const FileKind kind = kindOf(file.contents);
    if (kind == FileKind::Container) {
        checkContainer(file, sources);
    } else if (kind == FileKind::Text) {
        checkXmlFile(sources.emplace_back(Source{file.name, "", file.contents, true}), appIds);
    } else {
        const Images images = readImages(file.contents);
        if (isPlausible(images)) {
            checkImageFile(file, images, sources);
        } else {
            sources.emplace_back(Source{file.name, "", ""})
                .add(Check::UnknownFormat, 0,
                     "the file is not an XML text, an image or an update container");
        }
    }
}

void checkFiles(const std::vector<InputFile> &files, std::deque<Source> &sources)
{
    AppIds appIds;
    for (const InputFile &file : files) {
        checkFile(file, sources, appIds);
    }
    appIds.reportUnknown();
}

} // namespace check
