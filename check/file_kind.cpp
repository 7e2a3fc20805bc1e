// What kind of file is it?

#include "check/file_kind.h"

#include "check/container.h"
#include "check/image.h"
#include "check/text.h"

namespace check
{

void checkFile(const InputFile &file, std::deque<Source> &sources)
{
    const bool isXml = looksLikeXml(file.contents);
    // A digest is not right by chance.
    if (hasContainerDigest(file.contents) || (!isXml && hasContainerStructure(file.contents))) {
        checkContainerFile(file, sources);
    } else if (isXml) {
        checkXmlFile(sources.emplace_back(Source{file.name, "", file.contents, {}}));
    } else if (looksLikeImage(file.contents)) {
        checkImageFile(file, sources);
    } else {
        sources.emplace_back(Source{file.name, "", "", {}})
            .add(Rule::UnknownFormat, 0,
                 "the file is neither an XML text nor an image nor an update container");
    }
}

} // namespace check
