// The image reader, on images made with the encoder of liblzma.

#include "loader/image.h"
#include "loader/loader_internal.h"
#include "tests/capture.h"
#include "tests/lzma_image.h"

#include <unistd.h>

#include <random>

namespace
{
// What a load finds in the file: the text, or the lines it prints. Frees what it allocates.
std::string readBack(const std::string &file)
{
    const std::string path = testing::TempDir() + "image-" + std::to_string(getpid());
    std::ofstream(path, std::ios::binary) << file;
    std::string result;
    const std::string printed = captured([&] {
        ASSERT_EQ(appmngr_checkDbPath(path.c_str()), 0);
        ASSERT_EQ(appmngr_file_alloc(), 0);
        if (_appmngr_readAppDb() == 0) {
            result = g_appmngr_xmlBuf;
        }
        appmngr_file_free();
    });
    unlink(path.c_str());
    return result + lines(printed);
}

const std::string tooSmall = "; _readAppDb:2167 Size of buffer \"204800\" is too small.";
} // namespace

TEST(Image, Sizes)
{
    const std::string most(204799, 'x');
    const Stream stream = encode("text", 4096);
    const std::string rows[][2] = {
        {image(encode(most, 1 << 16)), most},
        {image(encode(most + "x", 1 << 16)), tooSmall},
        {image(encode(most + most, 1 << 16)), tooSmall},
        {image(13, stream), tooSmall},
        {image(14, stream), ""},
        {"", tooSmall},
        {std::string(10, '\xFF'), ""},
    };
    for (const auto &[file, expected] : rows) {
        EXPECT_EQ(readBack(file), expected);
    }
    EXPECT_EQ(readBack(image(0xFFFFFFFF, stream)).substr(0, 4), "text");
}

TEST(Image, DictionaryIsBounded)
{
    std::string text;
    for (int i = 0; i < 2000; i++) {
        text += std::to_string(i * 7919) + "<a>text</a>";
    }
    Stream stream = encode(text, 1 << 20);
    for (const char *size : {"\xFF\xFF\xFF\xFF", "\x00\x20\x03\x00", "\x00\x00\x10\x00"}) {
        stream.properties.replace(1, 4, size, 4);
        EXPECT_EQ(readBack(image(stream)), text);
    }
    stream.properties[0] = '\xFF';
    EXPECT_EQ(readBack(image(stream)), "");
}

TEST(Image, DamagedStreamKeepsItsBeginning)
{
    std::mt19937 random(1);
    std::string text;
    while (text.size() < 20000) {
        text += static_cast<char>('a' + random() % 26);
    }
    Stream stream = encode(text, 1 << 16);
    stream.data.resize(stream.data.size() / 2);
    const std::string begun = readBack(image(stream));
    EXPECT_GT(begun.size(), 8000u);
    EXPECT_EQ(begun, text.substr(0, begun.size()));

    char dest[64];
    uint32_t written = sizeof(dest);
    stream.data[0] = 1; // no stream begins so
    const std::string broken = image(stream).substr(4);
    const auto *bytes = reinterpret_cast<const unsigned char *>(broken.data());
    auto consumed = static_cast<uint32_t>(broken.size());
    EXPECT_EQ(appmngr_lzmaUnpack(dest, &written, bytes, &consumed), APPMNGR_LZMA_ERR_DATA);
    EXPECT_EQ(written, 0u);
    EXPECT_GE(consumed, 14u);
}

TEST(Image, Files)
{
    EXPECT_EQ(appmngr_checkDbPath("/nonexistent/database"), -1);
    char byte = 'x';
    EXPECT_EQ(appmngr_readFile(0, 1, &byte), -1);
    EXPECT_EQ(appmngr_readFile(0, 1, nullptr), -1);
    EXPECT_EQ(appmngr_checkDbPath("/"), 0); // a directory opens, and reads as nothing
    EXPECT_EQ(appmngr_readFile(0, 1, &byte), 0);
    EXPECT_EQ(byte, 'x');
    testing::internal::CaptureStderr();
    EXPECT_EQ(_appmngr_readAppDb(), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr().substr(0, 20), "read db flash fail\n:");
}
