// What kind of file is it?

#include "tool/check_file.h"

#include "tool/check_container.h"
#include "tool/check_image.h"
#include "tool/check_text.h"

namespace tool
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

} // namespace tool
