// The companion tool's check of a file: as it is, an image of two texts, a container of files.

#include "check/check.h"
#include "check/database.h"
#include "check/document.h"
#include "fuzz/input.h"

static std::string imageOf(Input *input)
{
    std::string image = check::packDatabase({"", input->text()}, check::applicationDatabase);
    image.resize(check::priorityDatabase.offset);
    return image + check::packDatabase({"", input->text()}, check::priorityDatabase);
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    const int kind = input.byte() % 3;
    const std::string file = kind == 0   ? std::string(input.rest)
                             : kind == 1 ? imageOf(&input)
                                         : containerOf(&input);
    std::deque<check::Source> sources;
    check::checkFiles({{"file", file}}, sources);
    const check::Report report = check::reportAsText(sources, {}, false);
    check::Severities strict;
    strict.turnWarningsIntoErrors();
    EXPECT_EQ(check::reportAsJson(sources, strict).errors, report.errors + report.warnings);
    EXPECT_TRUE(std::none_of(report.text.begin(), report.text.end(), [](char byte) {
        const bool isControl = static_cast<unsigned char>(byte) < ' ' || byte == '\x7F';
        return isControl && byte != '\n' && byte != '\t'; // would steer a terminal
    }));
    // A text without errors, once it is converted and fixed, is one that devices read as it is.
    for (const check::Source &source : sources) {
        if (report.errors == 0 && source.isWritten) {
            std::deque<check::Source> packed = {{"packed", "", source.text}};
            EXPECT_NE(check::Document(packed[0]).top(), nullptr);
            EXPECT_EQ(check::fixedText(source, {}), source.shown());
        }
    }
    return 0;
}
