// The image reader, on images made with the encoder of liblzma.

#include "loader/loader.h"
#include "tests/faults.h"
#include "tests/lzma_image.h"

// What a load finds in the file: the text, or the lines it prints.
static std::string readBack(const std::string &file)
{
    const std::string path = testing::TempDir() + "image-" + std::to_string(getpid());
    const size_t held = faults::live.size();
    std::ofstream(path, std::ios::binary) << file;
    std::string text;
    const std::string printed = captured([&] {
        EXPECT_EQ(appmngr_checkDbPath(path.c_str()) + appmngr_file_alloc(), 0);
        text = _appmngr_readAppDb() == 0 ? g_appmngr_xmlBuf : "";
        EXPECT_NE(memchr(g_appmngr_xmlBuf, 0, g_appmngr_settings.xmlBufSize), nullptr);
        appmngr_file_free();
    });
    unlink(path.c_str());
    EXPECT_EQ(faults::live.size(), held);
    return text + lines(printed);
}

TEST(Image, IsDecodedAsFarAsItGoes)
{
    const std::string small = "; _appmngr_readAppDb:2167 Size of buffer \"204800\" is too small.";
    std::string text;
    for (int i = 0; i < 2000; i++) {
        text += std::to_string(i * 7919) + "<a>text</a>";
    }
    const std::string whole = image(text), most(204799, 'x');
    const std::string half = patched(whole.substr(0, 4096), 0, {"\0\0\x0F\xFC", 4});
    const std::string begun = readBack(half);
    EXPECT_TRUE(begun.size() > text.size() / 3 && begun.size() < text.size());
    const std::tuple<const char *, std::string, std::string> rows[] = {
        {"whole", whole, text},
        {"half", half, text.substr(0, begun.size())},
        {"without properties", patched(whole, 5, "\xFF"), ""},
        {"with a dictionary of 4 GiB", patched(whole, 6, "\xFF\xFF\xFF\xFF"), text},
        {"of length 13", patched(whole, 0, {"\0\0\0\x0D", 4}), small},
        {"of length 14", patched(whole, 0, {"\0\0\0\x0E", 4}), ""},
        {"longer than the file", patched(whole, 0, "\xFF\xFF\xFF\xFF"), text},
        {"of the longest text", image(most), most},
        {"of a longer text", image(most + "x"), small},
    };
    for (const auto &[name, file, expected] : rows) {
        EXPECT_EQ(readBack(file), expected) << "image " << name;
    }
    EXPECT_EQ(appmngr_checkDbPath("/dev/null"), 0);
    EXPECT_EQ(appmngr_readFile(0, 1, nullptr), -1);
}

// What the length field promises of bytes behind the image counts for nothing: they lie there.
TEST(Image, ReadsNothingBehindTheImage)
{
    std::string file = image(noise(66000)), text(66000, '\0');
    uint32_t most = 0;
    for (uint32_t length = 65532; length <= 65541; length++) {
        auto written = static_cast<uint32_t>(text.size());
        const uint32_t field = htonl(length);
        memcpy(file.data(), &field, sizeof(field));
        appmngr_unpackImage(text.data(), &written,
                            reinterpret_cast<const unsigned char *>(file.data()));
        most = length == 65532 ? written : most;
        EXPECT_EQ(written, most) << length;
    }
}

TEST(Image, ReportsAFaultyStream)
{
    unsigned char bytes[] = "?\x5D\0\0\1\0ignored!\1 begins no stream";
    char dest[64];
    uint32_t written = sizeof(dest), consumed = sizeof(bytes);
    EXPECT_EQ(appmngr_lzmaUnpack(dest, &written, bytes, &consumed), APPMNGR_LZMA_ERR_DATA);
    EXPECT_TRUE(written == 0 && consumed >= 14);
    consumed = sizeof(bytes); // no room, so none of it is read
    EXPECT_EQ(appmngr_lzmaUnpack(dest, &written, bytes, &consumed), APPMNGR_LZMA_OK);
    faults::countdown = 1;
    EXPECT_EQ(appmngr_lzmaUnpack(dest, &written, bytes, &consumed), APPMNGR_LZMA_ERR_MEMORY);
    bytes[1] = 0xFF;
    EXPECT_EQ(appmngr_lzmaUnpack(dest, &written, bytes, &consumed), APPMNGR_LZMA_ERR_PROPERTIES);
}
