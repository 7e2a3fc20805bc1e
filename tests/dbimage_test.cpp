#include "dbimage/dbimage_internal.h"

#include "apppri/apppri.h"
#include "capture.h"
#include "update_file.h"

#include <string.h>

#include <tuple>
#include <vector>

using Bytes = std::string;

/* The key of sealed.bin, the example one. */
static const unsigned char key[] = {0x3c, 0x91, 0x5e, 0x07, 0xa2, 0xd4, 0x68, 0x1b};

static Bytes block(uint64_t value)
{
    return word(value >> 32) + word(value);
}

/* The result, then what is printed. */
template <typename Action> static std::string outcome(Action action)
{
    int result = 0;
    const std::string printed = captured([&] { result = action(); });
    return std::to_string(result) + " " + printed;
}

/* ---- DES, MD5 and sealing -------------------------------------------------------------- */

TEST(Des, PublishedVectors)
{
    const uint64_t vectors[][3] = {
        /* FIPS 81, table B1, every parity bit of the key wrong; NBS SP 500-20, a weak key. */
        {0x0022446688aaccee, 0x4e6f772069732074, 0x3fa40e8a984d4815},
        {0x0101010101010101, 0x95f8a5e5dd31d900, 0x8000000000000000},
    };
    for (const auto &[keyBits, plain, cipher] : vectors) {
        EXPECT_EQ(des(block(plain), 1, block(keyBits)), block(cipher));
        EXPECT_EQ(des(block(cipher), 0, block(keyBits)), block(plain));
    }
}

TEST(Des, PartialBlocksAndRoom)
{
    const Bytes cipher = des("Now is th", 1), cut = cipher.substr(0, 13);
    EXPECT_EQ(des(cipher, 0), Bytes("Now is th\0\0\0\0\0\0\0", 16));

    /* The missing bytes of a last block count as zeros, and none is written for them. */
    Bytes out(21, '#');
    EXPECT_EQ(wexal_des_min_do(cut.data(), 13, out.data(), 21, key, 0), 13);
    EXPECT_EQ(out, des(cut + Bytes(3, 0), 0).substr(0, 13) + Bytes(8, '#'));

    EXPECT_EQ(wexal_des_min_do(cut.data(), 13, out.data(), 20, key, 1), 0);
    EXPECT_EQ(wexal_des_min_do(cut.data(), -1, out.data(), 21, key, 1), 0);
    EXPECT_EQ(wexal_des_min_do(cut.data(), 1, out.data(), INT32_MIN, key, 1), 0);
    EXPECT_EQ(wexal_des_min_do(nullptr, 1, out.data(), 21, key, 1), 0);
    EXPECT_EQ(wexal_des_min_do(cut.data(), 1, nullptr, 21, key, 1), 0);
    EXPECT_EQ(wexal_des_min_do(cut.data(), 1, out.data(), 21, nullptr, 1), 0);
}

TEST(Seal, Buffers)
{
    const Bytes text = "sealed by openssl", sealed = contents(TEST_DATA "/sealed.bin");
    const std::tuple<int, Bytes, int32_t, Bytes> rows[] = {
        {1, text, 41, sealed},      {1, text, 40, "refused"},
        {0, sealed, 31, "refused"}, {0, '?' + sealed.substr(1), 32, text + Bytes(7, 0)},
        {1, "", 24, digestOf("")},  {0, sealed.substr(0, 15), 24, ""},
    };
    for (const auto &[seal, input, room, expected] : rows) {
        const std::vector<char> exact(input.begin(), input.end()); /* nothing to read behind it */
        std::vector<unsigned char> output(static_cast<size_t>(room));
        const int length = md5_des_seal(exact.data(), static_cast<int32_t>(input.size()),
                                        output.data(), room, key, seal);
        EXPECT_EQ(length < 0 ? "refused" : Bytes(output.begin(), output.begin() + length),
                  expected);
    }
    EXPECT_EQ(md5_des_seal("", -1, nullptr, 24, key, 1), -1);
}

TEST(Seal, Files)
{
    const std::string in = testing::TempDir() + "dbimage_in", out = in + "_sealed";
    for (const Bytes &text : {Bytes(16382, 't'), Bytes(), Bytes("short")}) {
        std::ofstream(in) << text;
        EXPECT_EQ(md5_des_sealFile(in.c_str(), out.c_str(), 1), 0);
        EXPECT_EQ(contents(out), digestOf(text) + des(text, 1));
    }
    EXPECT_EQ(md5_des_sealFile(out.c_str(), in.c_str(), 0), 0);
    EXPECT_EQ(contents(in), Bytes("short\0\0\0", 8));
}

/* ---- Database files -------------------------------------------------------------------- */

static const uint32_t version127 = 0xff010207;

TEST(Decrypt, ArgumentsAndLengths)
{
    const Bytes file = databaseFile("8 bytes.", version127);
    Bytes out(48, '#');
    const std::string at = "[Error](appmngr_decrypt) ", lengths = at + "2653: invalid length: ";
    const std::string invalid = "-1 " + at + "2646: Invalid param!\n";
    const std::tuple<uint32_t, uint32_t, std::string> rows[] = {
        {40, 48, "1 24"},
        {24, 48, "-4 24"},
        {16, 48, "-2 " + lengths + "srcLen = [16] *pDstlen = [48]\n48"},
        {40, 40, "-2 " + lengths + "srcLen = [40] *pDstlen = [40]\n40"},
        {40, 47, "-3 " + at + "2675: wexal_des_min_do failed: length = [0]\n47"},
        {40, 0, invalid + "0"},
    };
    uint32_t length = 0;
    const auto decrypt = [&](void *to, const void *from, uint32_t size) {
        return outcome([&] { return appmngr_decrypt(to, length ? &length : nullptr, from, size); });
    };
    for (const auto &[size, room, expected] : rows) {
        length = room;
        const std::string result = decrypt(out.data(), file.data(), size);
        EXPECT_EQ(result + std::to_string(length), expected);
    }
    length = 48;
    EXPECT_EQ(decrypt(nullptr, file.data(), 40), invalid);
    EXPECT_EQ(decrypt(out.data(), nullptr, 40), invalid);
}

TEST(Decrypt, DigestRangeStaysInside)
{
    /* 64 bytes of room: the longest range, one byte more, sums past 32 bits. */
    for (const uint32_t claimed : {32u, 33u, 0xffffffefu, 0xfffffff0u, 0xffffffffu}) {
        /* The digest is right for the first two, so that only the range can be wrong. */
        const Bytes file = encrypted(word(claimed) + Bytes(claimed == 33 ? 45 : 44, 0));
        Bytes out(72, 0);
        uint32_t length = 64;
        EXPECT_EQ(appmngr_decrypt(out.data(), &length, file.data(), 56), claimed == 32 ? 1 : -4);
        EXPECT_EQ(length, claimed + 16);
    }
}

static const Bytes sizes = "dbMemSize 65536, 65536, appmapSize 4096, appprioRuleMaxNum 1.\r\n";

TEST(Writers, OfBothDatabases)
{
    const auto app = appmngr_db_writeAppDbFromDatabase;
    const auto priority = apppri_writeApppriDbFromDatabase;
    const std::string version = "2783: AppDesc Invalid version: ";
    const std::string reserved = "Reserved value error: ";
    const std::tuple<decltype(app), Bytes, int, std::string> rows[] = {
        {app, databaseFile("image", version127, 0x04000001), 0, ""},
        {app, databaseFile("i", 0x0102ff), 0, ""},
        {app, databaseFile("", 0x020900, 2), -8978, version + "[2.9.0]!\n"},
        {app, databaseFile("", 0x01ffff), -8978, version + "[1.255.255]!\n"},
        {app, databaseFile("", version127, 0x04000002, 1), -8979, "2806: Magic code error!\n"},
        {app, databaseFile("", version127, 0, 0x01010101), -8979,
         "2815: " + reserved + "0, 16843009\n"},
        {app, databaseFile(Bytes(65532, 'i'), version127), 0, ""},
        {app, databaseFile(Bytes(65533, 'i'), version127), -8991,
         "2827: the app db file is too long:65537\n"},
        {app, Bytes(40, 0), -8979, "2760: appmngr_decrypt failed\n"},
        {priority, databaseFile(Bytes(65496, 'i'), 0x090909, 0x04000001), 0, ""},
        {priority, databaseFile("", 0, 0x04000002), -8979,
         "1979: " + reserved + "67108866, 0\r\n\r\n"},
        {priority, databaseFile("", 0, 0, 0x01010101), -8979,
         "1979: " + reserved + "0, 16843009\r\n\r\n"},
        {priority, Bytes(40, 0), -8979, "1922: appmngr_decrypt FAILED\r\n\r\n"},
    };
    for (const auto &[write, file, result, line] : rows) {
        const bool isApp = write == app;
        const std::string always = std::to_string(result) + " " + (isApp ? "" : sizes);
        const std::string at = isApp ? "[Error](appmngr_db_writeAppDbFromDatabase) "
                                     : "[apppri_db_error](apppri_writeApppriDbFromDatabase) ";
        char accepted[6] = "-----";
        EXPECT_EQ(outcome([&, call = write, &bytes = file] {
                      return call(0, static_cast<uint32_t>(bytes.size()), bytes.data(), accepted);
                  }),
                  always + (line.empty() ? "" : at + line));
        EXPECT_STREQ(accepted, result == -8978 ? "1.2.x" : "-----");
        EXPECT_EQ(apppri_db.xmlBuf, nullptr);
        if (isApp && result == 0) {
            EXPECT_EQ(memcmp(_appmngr_updateBuf + 12, _appmngr_updateBuf, 4), 0);
            EXPECT_EQ(_appmngr_updateBuf[16], 'i');
        }
    }
    char accepted[5];
    EXPECT_EQ(appmngr_checkVersion("1.2.7", nullptr), 0);
    EXPECT_EQ(appmngr_checkVersion(nullptr, accepted), 0);
    _appmngr_freeUpdateBuf();
}

/* ---- Container ------------------------------------------------------------------------- */

TEST(Container, Faults)
{
    const std::string at = "[Error](appmngr_db_writeFromDatabase) ";
    const std::string otherDigest = "-8979 " + at + "2873: MD5 error!\r\n";
    const std::string pastEnd = "-8980 " + at + "2903: FILESIZE ERROR\r\n";
    const std::string bytesLeft = "-8980 " + at + "2913: FILESIZE ERROR\r\n";
    const std::string otherCount = "-8981 " + at + "2919: FILENUM ERROR\r\n";
    const Bytes one = entry(1, "x"); /* of a type that is ignored */
    Bytes many;
    while (many.size() < 257 * one.size()) {
        many += one;
    }
    const std::pair<Bytes, std::string> rows[] = {
        {digestOf(""), "-8980 "},
        {container(0, Bytes(196600 - 16, 0)), "-8980 "},
        {container(0, ""), "0 "},
        {container(1, entry(1, Bytes(196600 - 17 - 8, 'x'))), "0 file index:0\r\n"},
        {container(1, one) + "x", otherDigest},
        {digestOf(one).replace(15, 1, "?") + "\1" + one, otherDigest},
        {container(17, one), "-8981 " + at + "2882: FILENUM ERROR\r\n"},
        {container(1, "...." + word(2) + "x"), pastEnd},
        {container(1, "...." + word(0xfffffff8) + "x"), pastEnd},
        {container(1, one + "t"), bytesLeft},
        {container(1, one + entry(1, "")), bytesLeft},
        {container(2, one), otherCount},
        {container(1, many), otherCount},
        {container(16, many.substr(0, 17 * one.size())), otherCount},
        {container(2, entry(3, Bytes(16, 0)) + one),
         "-8979 file index:0\r\n" + sizes +
             "[Error](appmngr_decrypt) 2653: invalid length: srcLen = [16] *pDstlen = [65536]\n"
             "[apppri_db_error](apppri_writeApppriDbFromDatabase) 1922: appmngr_decrypt FAILED\r\n"
             "\r\n"},
    };
    for (const auto &[input, expected] : rows) {
        EXPECT_EQ(outcome([&bytes = input] {
                      const auto length = static_cast<int32_t>(bytes.size());
                      return appmngr_db_writeFromDatabase(bytes.data(), length);
                  }),
                  expected);
        EXPECT_EQ(_appmngr_updateBuf, nullptr);
    }
}
