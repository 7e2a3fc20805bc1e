// The companion tool's check of a file: as it is, an image of two texts, a container of files.

#include "fuzz/input.h"
#include "tool/check_file.h"
#include "tool/check_report.h"
#include "tool/image.h"

static std::string imageOf(Input *input)
{
    std::string image = tool::packDatabase({"", input->text()}, tool::applicationDatabase);
    image.resize(tool::priorityDatabase.offset);
    return image + tool::packDatabase({"", input->text()}, tool::priorityDatabase);
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    const int kind = input.byte() % 3;
    const std::string file = kind == 0   ? std::string(input.rest)
                             : kind == 1 ? imageOf(&input)
                                         : containerOf(&input);
    std::deque<tool::Source> sources;
    tool::checkFile({"file", file}, sources);
    const tool::Report report = tool::reportAsText(sources, false, false);
    EXPECT_EQ(tool::reportAsJson(sources, true).errors, report.errors + report.warnings);
    EXPECT_TRUE(std::none_of(report.text.begin(), report.text.end(), [](char byte) {
        const bool isControl = static_cast<unsigned char>(byte) < ' ' || byte == '\x7F';
        return isControl && byte != '\n' && byte != '\t'; // would steer a terminal
    }));
    return 0;
}
