// A text through both tree builders, which must agree, and back to text.

#include "fuzz/document.h"

using fuzz::require;

// Adds to lines what is reported.
static XmlpDoc *load(std::string_view text, uint32_t isStatic, std::string *lines)
{
    FILE *const standardOutput = stdout;
    char *reported = nullptr;
    size_t length = 0;
    stdout = open_memstream(&reported, &length);
    XmlpDoc *doc = xmlp_loadDoc(text.data(), static_cast<uint32_t>(text.size()), isStatic);
    fclose(stdout);
    stdout = standardOutput;
    lines->assign(reported, length);
    free(reported);
    return doc;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string_view text = fuzz::Input(data, size).rest;
    std::string lines[2];
    XmlpDoc *dynamicDoc = load(text, 0, &lines[0]);
    const uint32_t refusedAt = xmlp_getRefusedOffset();
    XmlpDoc *staticDoc = load(text, 1, &lines[1]);
    require(xmlp_getRefusedOffset() == refusedAt);
    // Each builder has lines of its own.
    require(lines[0] == lines[1] || lines[0].find("_makeDtree") != std::string::npos);
    require((dynamicDoc == nullptr) == (staticDoc == nullptr));
    if (dynamicDoc != nullptr) {
        require(fuzz::describe(dynamicDoc) == fuzz::describe(staticDoc));
        for (const bool compact : {false, true}) {
            require(fuzz::textOf(dynamicDoc, compact) == fuzz::textOf(staticDoc, compact));
            fuzz::requireReadBack(dynamicDoc, compact);
        }
        xmlp_releaseDoc(dynamicDoc);
        xmlp_releaseDoc(staticDoc);
    }
    return 0;
}
