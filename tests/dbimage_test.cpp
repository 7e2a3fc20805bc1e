// The update image: sealing, database files and their writers, the container around them.

#include "dbimage/dbimage_internal.h"

#include "apppri/apppri.h"
#include "tests/update_file.h"

using Bytes = std::string;

// The key of sealed.bin, the example one.
const unsigned char key[] = {0x3c, 0x91, 0x5e, 0x07, 0xa2, 0xd4, 0x68, 0x1b};

// The result of the call, then the lines that it prints.
template <typename Call, typename... Arguments>
static std::string outcome(Call call, Arguments... arguments)
{
    int result = 0;
    const std::string printed = captured([&] { result = call(arguments...); });
    return std::to_string(result) + lines(printed);
}

TEST(Des, CompletesPartialBlocksAndKeepsToTheRoom)
{
    const Bytes cut = "thirteen byte";
    // The missing bytes of a last block count as zeros, and none is written for them.
    Bytes out(21, '#');
    EXPECT_EQ(wexal_des_min_do(cut.data(), 13, out.data(), 21, key, 0), 13);
    EXPECT_EQ(out, des(cut + Bytes(3, 0), 0, {key, key + 8}).substr(0, 13) + Bytes(8, '#'));

    EXPECT_EQ(wexal_des_min_do(cut.data(), 13, out.data(), 20, key, 1), 0);
    EXPECT_EQ(wexal_des_min_do(cut.data(), 1, out.data(), INT32_MIN, key, 1), 0);
    EXPECT_EQ(wexal_des_min_do(nullptr, 1, out.data(), 21, key, 1), 0);
    EXPECT_EQ(wexal_des_min_do(cut.data(), 1, nullptr, 21, key, 1), 0);
    EXPECT_EQ(wexal_des_min_do(cut.data(), 1, out.data(), 21, nullptr, 1), 0);
}

TEST(Seal, NeedsRoomForDigestAndBlocks)
{
    const Bytes text = "sealed by openssl", sealed = contents(TARN_SOURCE "/tests/data/sealed.bin");
    const std::tuple<int, Bytes, int32_t, Bytes> rows[] = {
        {1, text, 41, sealed},      {1, text, 40, "refused"},
        {0, sealed, 31, "refused"}, {0, '?' + sealed.substr(1), 32, text + Bytes(7, 0)},
        {1, "", 24, digestOf("")},  {0, sealed.substr(0, 15), 24, ""},
    };
    for (const auto &[seal, input, room, expected] : rows) {
        SCOPED_TRACE(testing::Message() << input << " in " << room);
        const std::vector<char> exact(input.begin(), input.end()); // nothing to read behind it
        Bytes output(static_cast<size_t>(room), 0);
        const int length = md5_des_seal(exact.data(), static_cast<int32_t>(input.size()),
                                        output.data(), room, key, seal);
        EXPECT_EQ(length < 0 ? "refused" : output.substr(0, static_cast<size_t>(length)), expected);
    }
    EXPECT_EQ(md5_des_seal("", -1, nullptr, 24, key, 1), -1);
}

const uint32_t version127 = 0xff010207;

TEST(Decrypt, ChecksArgumentsAndLengths)
{
    const Bytes file = databaseFile("8 bytes.", version127);
    const std::string at = "; appmngr_decrypt:", lengths = at + "2653 invalid length: ";
    const std::tuple<Bytes, uint32_t, uint32_t, std::string> rows[] = {
        {file, 40, 48, "1 24"},
        {file, 24, 48, "-4 24"},
        {file, 16, 48, "-2" + lengths + "srcLen = [16] *pDstlen = [48] 48"},
        {file, 40, 40, "-2" + lengths + "srcLen = [40] *pDstlen = [40] 40"},
        {file, 40, 47, "-3" + at + "2675 wexal_des_min_do failed: length = [0] 47"},
        // The digest is right, with zeros behind the bytes given: only the range can be wrong.
        {encrypted(word(32) + Bytes(44, 0)), 56, 64, "1 48"},
        {encrypted(word(33) + Bytes(45, 0)), 56, 64, "-4 49"},
        {encrypted(word(0xffffffef)), 24, 64, "-4 4294967295"}, // a sum past 32 bits
    };
    for (const auto &[input, size, room, expected] : rows) {
        SCOPED_TRACE(expected);
        std::vector<char> out(room + 16); // so that zeros lie behind the room, too
        uint32_t length = room;
        const std::string result =
            outcome(appmngr_decrypt, out.data(), &length, input.data(), size);
        EXPECT_EQ(result + " " + std::to_string(length), expected);
    }
    char out[48];
    uint32_t length = sizeof(out);
    const std::string invalid = "-1" + at + "2646 Invalid param!";
    EXPECT_EQ(outcome(appmngr_decrypt, nullptr, &length, file.data(), 40u), invalid);
    EXPECT_EQ(outcome(appmngr_decrypt, out, nullptr, file.data(), 40u), invalid);
    EXPECT_EQ(outcome(appmngr_decrypt, out, &length, nullptr, 40u), invalid);
}

const Bytes sizes = "; dbMemSize 65536, 65536, appmapSize 4096, appprioRuleMaxNum 1.\r\n";

TEST(Writers, RejectOtherVersionsMagicCodesAndSizes)
{
    const auto app = appmngr_db_writeAppDbFromDatabase;
    const auto priority = apppri_writeApppriDbFromDatabase;
    const std::string reserved = " Reserved value error: ";
    const std::tuple<decltype(app), Bytes, int, std::string> rows[] = {
        {app, databaseFile("image", version127, 0x04000001), 0, ""},
        {app, databaseFile("", 0x01fffe, 2), -8978, "2783 AppDesc Invalid version: [1.255.254]!"},
        {app, databaseFile("", version127, 0x04000002, 1), -8979, "2806 Magic code error!"},
        {app, databaseFile("", version127, 0, 0x01010101), -8979,
         "2815" + reserved + "0, 16843009"},
        {app, databaseFile(Bytes(65532, 'i'), version127), 0, ""},
        {app, databaseFile(Bytes(65533, 'i'), version127), -8991,
         "2827 the app db file is too long:65537"},
        {app, Bytes(40, 0), -8979, "2760 appmngr_decrypt failed"},
        {priority, databaseFile(Bytes(65496, 'i'), 0x090909, 0x04000001), 0, ""},
        {priority, databaseFile("", 0, 0x04000002), -8979, "1979" + reserved + "67108866, 0\r\n"},
        {priority, databaseFile("", 0, 0, 0x01010101), -8979,
         "1979" + reserved + "0, 16843009\r\n"},
        {priority, Bytes(40, 0), -8979, "1922 appmngr_decrypt FAILED\r\n"},
    };
    for (const auto &[write, file, result, line] : rows) {
        const bool isApp = write == app;
        SCOPED_TRACE(testing::Message() << isApp << " " << result << " " << line);
        const std::string always = std::to_string(result) + (isApp ? "" : sizes);
        const std::string at =
            isApp ? "; appmngr_db_writeAppDbFromDatabase:" : "; apppri_writeApppriDbFromDatabase:";
        char accepted[6] = "-----";
        const auto size = static_cast<uint32_t>(file.size());
        EXPECT_EQ(outcome(write, 0u, size, file.data(), accepted),
                  always + (line.empty() ? "" : at + line));
        EXPECT_STREQ(accepted, result == -8978 ? "1.2.x" : "-----");
        EXPECT_EQ(apppri_db.xmlBuf, nullptr);
        if (isApp && result == 0) {
            EXPECT_EQ(memcmp(_appmngr_updateBuf + 12, _appmngr_updateBuf, 4), 0);
            EXPECT_EQ(_appmngr_updateBuf[16], 'i');
        }
    }
    EXPECT_EQ(appmngr_checkVersion("1.2.7", nullptr), 0);
    free(_appmngr_updateBuf);
    _appmngr_updateBuf = nullptr;
}

TEST(Container, ReportsWhatIsWrong)
{
    const std::string at = "; appmngr_db_writeFromDatabase:", number = " FILENUM ERROR\r";
    const std::string pastEnd = "-8980" + at + "2903 FILESIZE ERROR\r";
    const std::string bytesLeft = "-8980" + at + "2913 FILESIZE ERROR\r";
    const Bytes one = entry(1, "x"); // of a type that is ignored
    const std::pair<Bytes, std::string> rows[] = {
        {digestOf(""), "-8980"},
        {container(0, Bytes(196600 - 16, 0)), "-8980"},
        {container(0, ""), "0"},
        {container(1, entry(1, Bytes(196600 - 17 - 8, 'x'))), "0; file index:0\r\n"},
        {digestOf(one).replace(15, 1, "?") + "\1" + one, "-8979" + at + "2873 MD5 error!\r"},
        {container(1, entry(0, databaseFile("image", version127))), "0; file index:0\r\n"},
        {container(17, one), "-8981" + at + "2882" + number},
        {container(1, "...." + word(2) + "x"), pastEnd},
        {container(1, "...." + word(0xfffffff8) + "x"), pastEnd},
        {container(1, one + "t"), bytesLeft},
        {container(1, one + entry(1, "")), bytesLeft},
        {container(2, one), "-8981" + at + "2919" + number},
        {container(16, repeated(17, one)), "-8981" + at + "2919" + number},
        {container(2, entry(3, Bytes(16, 0)) + one),
         "-8979; file index:0\r\n" + sizes.substr(2) +
             "; appmngr_decrypt:2653 invalid length: srcLen = [16] *pDstlen = [65536]"
             "; apppri_writeApppriDbFromDatabase:1922 appmngr_decrypt FAILED\r\n"},
    };
    for (const auto &[input, expected] : rows) {
        const auto length = static_cast<int32_t>(input.size());
        SCOPED_TRACE(testing::Message() << length << " bytes");
        EXPECT_EQ(outcome(appmngr_db_writeFromDatabase, input.data(), length), expected);
        EXPECT_EQ(_appmngr_updateBuf, nullptr);
    }
}
