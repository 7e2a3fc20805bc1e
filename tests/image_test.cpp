// The image reader, on images made with the encoder of liblzma.

#include "loader/image.h"
#include "loader/loader_internal.h"
#include "tests/capture.h"
#include "tests/lzma_image.h"

#include <unistd.h>

// What a load finds in the file: the text, or the lines it prints.
static std::string readBack(const std::string &file)
{
    const std::string path = testing::TempDir() + "image-" + std::to_string(getpid());
    std::ofstream(path, std::ios::binary) << file;
    std::string text;
    const std::string printed = captured([&] {
        EXPECT_EQ(appmngr_checkDbPath(path.c_str()) + appmngr_file_alloc(), 0);
        text = _appmngr_readAppDb() == 0 ? g_appmngr_xmlBuf : "";
        appmngr_file_free();
    });
    unlink(path.c_str());
    return text + lines(printed);
}

TEST(Image, IsRead)
{
    const std::string tooSmall = "; _readAppDb:2167 Size of buffer \"204800\" is too small.";
    std::string text;
    for (int i = 0; i < 2000; i++) {
        text += std::to_string(i * 7919) + "<a>text</a>";
    }
    Stream stream = encode(text, 1 << 20), half = stream, damaged = stream;
    stream.properties.replace(1, 4, 4, '\xFF'); // asks for a dictionary of 4 GiB
    half.data.resize(half.data.size() / 2);
    damaged.properties[0] = '\xFF';
    const std::string begun = readBack(image(half));
    EXPECT_GT(begun.size(), text.size() / 3);

    const std::string most(204799, 'x');
    const std::pair<std::string, std::string> rows[] = {
        {image(stream), text},
        {image(half), text.substr(0, begun.size())},
        {image(damaged), ""},
        {image(13, stream), tooSmall}, // not even the properties
        {image(14, stream), ""},
        {image(0xFFFFFFFF, stream), text}, // a length beyond the file
        {image(encode(most, 4096)), most},
        {image(encode(most + "x", 4096)), tooSmall},
    };
    for (const auto &[file, expected] : rows) {
        EXPECT_EQ(readBack(file), expected);
    }
    EXPECT_EQ(appmngr_checkDbPath("/dev/null"), 0);
    EXPECT_EQ(appmngr_readFile(0, 1, nullptr), -1);
}

TEST(Image, FaultyStream)
{
    const unsigned char bytes[] = "?\x5D\0\0\1\0ignored!\1 begins no stream";
    char dest[64];
    uint32_t written = sizeof dest, consumed = sizeof bytes;
    EXPECT_EQ(appmngr_lzmaUnpack(dest, &written, bytes, &consumed), APPMNGR_LZMA_ERR_DATA);
    EXPECT_TRUE(written == 0 && consumed >= 14);
}
