// A file of any kind, and the text of a database, wherever it comes from.

#include "check/check_internal.h"
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

// Many times what any device loads; what is longer is not looked at.
constexpr size_t longestChecked = 4 << 20;

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
                   "this byte is not UTF-8");
    }
    if (&database == &priorityDatabase) {
        checkPriorities(document, appIds ? &*appIds : nullptr, source);
    } else {
        appIds = checkApplications(document, source);
    }
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

bool looksLikeXml(const std::string &file)
{
    switch (appmngr_checkEncoding(file.data(),
                                  static_cast<uint32_t>(std::min<size_t>(file.size(), 3)))) {
    case APPMNGR_BOM_UTF8:
    case APPMNGR_BOM_UTF16LE:
    case APPMNGR_BOM_UTF16BE:
        return true;
    default:
        break;
    }
    const size_t first = file.find_first_not_of(" \t\r\n");
    return first != std::string::npos && file[first] == '<';
}

void checkText(const Database &database, Source &source, AppIds &appIds)
{
    const Document document(source);
    if (document.top() != nullptr) {
        checkDocument(database, document, source, appIds);
    }
}

void checkXmlFile(Source &source)
{
    if (source.text.size() > longestChecked) {
        checkRoom(applicationDatabase, source);
        return;
    }
    const Document document(source);
    const bool holdsPriorities =
        document.top() != nullptr && isNamed(document.top(), priorityDatabase.root);
    const Database &database = holdsPriorities ? priorityDatabase : applicationDatabase;
    checkRoom(database, source);
    AppIds none;
    if (document.top() != nullptr) {
        checkDocument(database, document, source, none);
    }
}

void checkTexts(const Texts &texts, std::deque<Source> &sources)
{
    AppIds appIds;
    for (size_t i = 0; i < texts.size(); i++) {
        if (texts[i]) {
            Source &source =
                sources.emplace_back(Source{texts[i]->name, "", texts[i]->contents, {}});
            checkText(databases[i], source, appIds);
            checkRoom(databases[i], source);
        }
    }
}

void checkFile(const InputFile &file, std::deque<Source> &sources)
{
    const bool isXml = looksLikeXml(file.contents);
    // A digest is not right by chance.
    if (hasContainerDigest(file.contents) || (!isXml && hasContainerStructure(file.contents))) {
        checkContainer(file, sources);
    } else if (isXml) {
        checkXmlFile(sources.emplace_back(Source{file.name, "", file.contents, {}}));
    } else {
        const Images images = {
            readImage(file.contents, applicationDatabase.offset, applicationDatabase),
            readImage(file.contents, priorityDatabase.offset, priorityDatabase)};
        if (isPlausible(images)) {
            checkImageFile(file, images, sources);
        } else {
            sources.emplace_back(Source{file.name, "", "", {}})
                .add(Check::UnknownFormat, 0,
                     "the file is not an XML text, an image or an update container");
        }
    }
}

} // namespace check
