// tarn-db-tool fmt - an XML text, indented or compact.

#include "tool/commands.h"

#include "check/device.h"
#include "tool/file.h"
#include "tool/options.h"
#include "xmlp/xmlp.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>

namespace tool
{

namespace
{

struct {
    std::string xml;
    bool compact = false;
} arguments;

void declare(CLI::App &parser)
{
    addInput(parser, "XML", arguments.xml, "XML document");
    addFlag(parser, "--compact", arguments.compact, "Without whitespace between tags");
}

using Document = std::unique_ptr<XmlpDoc, decltype(&xmlp_releaseDoc)>;
using Text = std::unique_ptr<char, decltype(&free)>;

std::string formatted(const InputFile &xml, bool compact)
{
    if (xml.contents.size() > UINT32_MAX) {
        throw check::Failure(xml.name, "is longer than 4 GiB");
    }
    const check::RedirectedDiagnostics redirection(STDERR_FILENO);
    const auto length = static_cast<uint32_t>(xml.contents.size());
    const Document document(xmlp_loadDoc(xml.contents.data(), length, 1), xmlp_releaseDoc);
    if (!document) {
        throw check::Failure(xml.name, "cannot be parsed");
    }
    uint32_t formattedLength = 0;
    const Text text(xmlp_dumpDoc(document.get(), compact ? 1 : 0, &formattedLength), free);
    if (!text) {
        throw check::Failure(xml.name, "its formatted text does not fit into memory");
    }
    return {text.get(), formattedLength};
}

int run()
{
    writeStandardOutput(formatted(readWholeFile(arguments.xml, xmlFileMax), arguments.compact));
    return 0;
}

} // namespace

const Command fmt = {"fmt", "Write an XML document indented or compact to standard output", declare,
                     run};

} // namespace tool
