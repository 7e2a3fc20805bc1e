#include "dbimage/dbimage_internal.h"

#include "apppri/apppri.h"
#include "capture.h"

#include <arpa/inet.h>
#include <string.h>

#include <vector>

using Bytes = std::string;
using Case = std::pair<Bytes, std::string>; /* input; the result, then what is printed */

static unsigned char *raw(const Bytes &bytes)
{
    return reinterpret_cast<unsigned char *>(const_cast<char *>(bytes.data()));
}

static int32_t lengthOf(const Bytes &bytes)
{
    return static_cast<int32_t>(bytes.size());
}

static Bytes unhex(const std::string &digits)
{
    Bytes bytes;
    for (size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

static const Bytes exampleKey = unhex("3c915e07a2d4681b");
static const Bytes databaseKey(reinterpret_cast<const char *>(g_appmngr_databaseKey), 8);

static Bytes word(uint32_t value)
{
    value = htonl(value);
    return Bytes(reinterpret_cast<const char *>(&value), 4);
}

static Bytes digestOf(const Bytes &bytes)
{
    Bytes digest(16, 0);
    md5_digest(raw(digest), bytes.data(), static_cast<uint32_t>(bytes.size()));
    return digest;
}

/* What is encrypted or decrypted with that much room beyond the input. */
static Bytes des(const Bytes &input, const Bytes &key, int encrypt, size_t margin = 8)
{
    Bytes output(input.size() + margin, 0);
    output.resize(static_cast<size_t>(wexal_des_min_do(input.data(), lengthOf(input), output.data(),
                                                       lengthOf(output), raw(key), encrypt)));
    return output;
}

template <typename Action> static std::string outcome(Action action)
{
    int result = 0;
    const std::string printed = captured([&] { result = action(); });
    return std::to_string(result) + " " + printed;
}

/* ---- DES, MD5 and sealing -------------------------------------------------------------- */

TEST(Des, PublishedVectors)
{
    const char *const vectors[][3] = {
        /* FIPS 81, table B1; the second time with every parity bit wrong. */
        {"0123456789abcdef", "4e6f77206973207468652074696d6520666f7220616c6c20",
         "3fa40e8a984d48156a271787ab8883f9893d51ec4b563b53"},
        {"0022446688aaccee", "4e6f772069732074", "3fa40e8a984d4815"},
        /* NBS SP 500-20; the key of the first is a weak one. */
        {"0101010101010101", "95f8a5e5dd31d900", "8000000000000000"},
        {"7ca110454a1a6e57", "01a1d6d039776742", "690f5b0d9a26939b"},
    };
    for (const auto &[key, plain, cipher] : vectors) {
        EXPECT_EQ(des(unhex(plain), unhex(key), 1), unhex(cipher));
        EXPECT_EQ(des(unhex(cipher), unhex(key), 0), unhex(plain));
    }
}

TEST(Des, PartialBlocksAndRoom)
{
    EXPECT_EQ(des("Now is th", exampleKey, 1, 7), "");
    EXPECT_EQ(des("", exampleKey, 1), "");
    const Bytes cipher = des("Now is th", exampleKey, 1), cut = cipher.substr(0, 13);
    EXPECT_EQ(des(cipher, exampleKey, 0), Bytes("Now is th\0\0\0\0\0\0\0", 16));

    /* The missing bytes of a last block count as zeros, and none is written for them. */
    Bytes out(21, '#');
    EXPECT_EQ(wexal_des_min_do(cut.data(), 13, out.data(), 21, raw(exampleKey), 0), 13);
    EXPECT_EQ(out, des(cut + Bytes(3, 0), exampleKey, 0).substr(0, 13) + Bytes(8, '#'));

    unsigned char *const key = raw(exampleKey);
    EXPECT_EQ(wexal_des_min_do(cut.data(), -1, out.data(), 21, key, 1), 0);
    EXPECT_EQ(wexal_des_min_do(cut.data(), 1, out.data(), INT32_MIN, key, 1), 0);
    EXPECT_EQ(wexal_des_min_do(nullptr, 1, out.data(), 21, key, 1), 0);
    EXPECT_EQ(wexal_des_min_do(cut.data(), 1, nullptr, 21, key, 1), 0);
    EXPECT_EQ(wexal_des_min_do(cut.data(), 1, out.data(), 21, nullptr, 1), 0);
}

TEST(Md5, PublishedVectors)
{
    EXPECT_EQ(digestOf(""), unhex("d41d8cd98f00b204e9800998ecf8427e"));
    EXPECT_EQ(digestOf("abc"), unhex("900150983cd24fb0d6963f7d28e17f72"));
    EXPECT_EQ(md5_verify(digestOf("abc").data(), "abcd", 3), 1);
    EXPECT_EQ(md5_verify(digestOf("abc").data(), "abcd", 4), 0);
}

TEST(Seal, Buffers)
{
    const auto seal = [](const Bytes &input, int32_t room, int sealing) {
        const std::vector<char> exact(input.begin(), input.end()); /* nothing to read behind it */
        Bytes output(static_cast<size_t>(room), 0);
        const int length = md5_des_seal(exact.data(), lengthOf(input), raw(output), room,
                                        raw(exampleKey), sealing);
        return length < 0 ? "refused" : output.substr(0, static_cast<size_t>(length));
    };
    const Bytes text = "sealed by openssl", sealed = contents(TEST_DATA "/sealed.bin");
    EXPECT_EQ(seal(text, 41, 1), sealed);
    EXPECT_EQ(seal(text, 40, 1), "refused");
    EXPECT_EQ(seal(sealed, 31, 0), "refused");
    EXPECT_EQ(seal('?' + sealed.substr(1), 32, 0), text + Bytes(7, 0));
    EXPECT_EQ(seal("", 24, 1), digestOf(""));
    EXPECT_EQ(md5_des_seal("", -1, nullptr, 24, raw(exampleKey), 1), -1);
    EXPECT_EQ(seal(sealed.substr(0, 15), 24, 0), "");
}

TEST(Seal, Files)
{
    const std::string in = testing::TempDir() + "dbimage_in", out = in + "_sealed";
    for (const Bytes &text : {Bytes(16382, 't'), Bytes(), Bytes("short")}) {
        std::ofstream(in) << text;
        EXPECT_EQ(md5_des_sealFile(in.c_str(), out.c_str(), 1), 0);
        EXPECT_EQ(contents(out), digestOf(text) + des(text, databaseKey, 1));
    }
    EXPECT_EQ(md5_des_sealFile(out.c_str(), in.c_str(), 0), 0);
    EXPECT_EQ(contents(in), Bytes("short\0\0\0", 8));
}

/* ---- Database files -------------------------------------------------------------------- */

static const uint32_t version127 = 0xff010207;

static Bytes database(uint32_t version, uint32_t magic, uint32_t reserved, size_t length)
{
    const Bytes body = word(static_cast<uint32_t>(length)) + word(version) + word(magic) +
                       word(reserved) + Bytes(length, 'i');
    return des(digestOf(body) + body, databaseKey, 1);
}

TEST(Decrypt, ArgumentsAndLengths)
{
    const Bytes file = database(version127, 0, 0, 8);
    Bytes out(48, '#');
    const auto decrypt = [&](void *to, const void *from, uint32_t length, uint32_t room) {
        uint32_t *const pRoom = room != 0 ? &room : nullptr;
        std::string result = outcome([&] { return appmngr_decrypt(to, pRoom, from, length); });
        return result + std::to_string(room);
    };
    const std::string at = "[Error](appmngr_decrypt) ", lengths = at + "2653: invalid length: ";
    const std::string invalid = "-1 " + at + "2646: Invalid param!\n";
    const std::string tooSmall = "-3 " + at + "2675: wexal_des_min_do failed: length = [0]\n";
    const std::tuple<uint32_t, uint32_t, std::string> rows[] = {
        {40, 48, "1 24"},
        {24, 48, "-4 24"},
        {16, 48, "-2 " + lengths + "srcLen = [16] *pDstlen = [48]\n48"},
        {40, 40, "-2 " + lengths + "srcLen = [40] *pDstlen = [40]\n40"},
        {40, 41, tooSmall + "41"},
        {40, 47, tooSmall + "47"},
        {40, 0, invalid + "0"},
    };
    for (const auto &[length, room, expected] : rows) {
        EXPECT_EQ(decrypt(out.data(), file.data(), length, room), expected);
    }
    EXPECT_EQ(decrypt(nullptr, file.data(), 40, 48), invalid + "48");
    EXPECT_EQ(decrypt(out.data(), nullptr, 40, 48), invalid + "48");
}

TEST(Decrypt, DigestRangeStaysInside)
{
    /* 64 bytes of room: the longest range, one byte more, sums past 32 bits. */
    for (const uint32_t claimed : {32u, 33u, 0xffffffefu, 0xfffffff0u, 0xffffffffu}) {
        /* The digest is right for the first two, so that only the range can be wrong. */
        const Bytes body = word(claimed) + Bytes(claimed == 33 ? 45 : 44, 0);
        const Bytes file = des(digestOf(body) + body, databaseKey, 1);
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
    const std::string at = "[Error](appmngr_db_writeAppDbFromDatabase) ";
    const std::string version = "-8978 " + at + "2783: AppDesc Invalid version: ";
    const std::string priorityAt =
        "-8979 " + sizes + "[apppri_db_error](apppri_writeApppriDbFromDatabase) ";
    const std::string reserved = priorityAt + "1979: Reserved value error: ";
    const std::tuple<decltype(app), Bytes, std::string> rows[] = {
        {app, database(version127, 0x04000001, 0, 5), "0 "},
        {app, database(0x0102ff, 0, 0, 5), "0 "},
        {app, database(0x020900, 2, 0, 5), version + "[2.9.0]!\n"},
        {app, database(0x01ffff, 0, 0, 5), version + "[1.255.255]!\n"},
        {app, database(version127, 0x04000002, 1, 5), "-8979 " + at + "2806: Magic code error!\n"},
        {app, database(version127, 0, 0x01010101, 5),
         "-8979 " + at + "2815: Reserved value error: 0, 16843009\n"},
        {app, database(version127, 0, 0, 65532), "0 "},
        {app, database(version127, 0, 0, 65533),
         "-8991 " + at + "2827: the app db file is too long:65537\n"},
        {app, Bytes(40, 0), "-8979 " + at + "2760: appmngr_decrypt failed\n"},
        {priority, database(0x090909, 0x04000001, 0, 65496), "0 " + sizes},
        {priority, database(0, 0x04000002, 0, 5), reserved + "67108866, 0\r\n\r\n"},
        {priority, database(0, 0, 0x01010101, 5), reserved + "0, 16843009\r\n\r\n"},
        {priority, Bytes(40, 0), priorityAt + "1922: appmngr_decrypt FAILED\r\n\r\n"},
    };
    for (const auto &row : rows) {
        char accepted[6] = "-----";
        const std::string expected = std::get<2>(row),
                          printed = outcome([&] {
                              const Bytes &bytes = std::get<1>(row);
                              return std::get<0>(row)(0, static_cast<uint32_t>(bytes.size()),
                                                      bytes.data(), accepted);
                          });
        EXPECT_EQ(printed, expected);
        EXPECT_STREQ(accepted, expected.rfind(version, 0) == 0 ? "1.2.x" : "-----");
        EXPECT_EQ(apppri_db.xmlBuf, nullptr);
        if (expected == "0 ") {
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

static Bytes entry(char type, const Bytes &file)
{
    return Bytes(1, type) + "..." + word(static_cast<uint32_t>(file.size())) + file;
}

static Bytes container(int count, const Bytes &entries)
{
    return digestOf(entries) + static_cast<char>(count) + entries;
}

static std::string load(const Bytes &bytes)
{
    return outcome([&] { return appmngr_db_writeFromDatabase(bytes.data(), lengthOf(bytes)); });
}

TEST(Container, Faults)
{
    const std::string at = "[Error](appmngr_db_writeFromDatabase) ";
    const std::string pastEnd = "-8980 " + at + "2903: FILESIZE ERROR\r\n";
    const std::string bytesLeft = "-8980 " + at + "2913: FILESIZE ERROR\r\n";
    const std::string otherCount = "-8981 " + at + "2919: FILENUM ERROR\r\n";
    const Bytes one = entry(1, "x"); /* of a type that is ignored */
    Bytes many;
    while (many.size() < 257 * one.size()) {
        many += one;
    }
    const Case cases[] = {
        {digestOf(""), "-8980 "},
        {container(0, Bytes(196600 - 16, 0)), "-8980 "},
        {container(0, ""), "0 "},
        {container(1, entry(1, Bytes(196600 - 17 - 8, 'x'))), "0 file index:0\r\n"},
        {container(1, one) + "x", "-8979 " + at + "2873: MD5 error!\r\n"},
        {container(17, one), "-8981 " + at + "2882: FILENUM ERROR\r\n"},
        {container(1, "...." + word(2) + "x"), pastEnd},
        {container(1, "...." + word(0xffffffff) + "x"), pastEnd},
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
    for (const auto &[input, expected] : cases) {
        EXPECT_EQ(load(input), expected);
        EXPECT_EQ(_appmngr_updateBuf, nullptr);
    }
}

TEST(Container, ChangedBytes)
{
    const Bytes entries = entry(0, database(version127, 0, 0, 8));
    for (size_t i = 0; i < entries.size(); ++i) {
        Bytes changed = entries;
        changed[i] = static_cast<char>(changed[i] ^ 0x80);
        const char *const expected = i < 4 ? "0 " : i < 8 ? "-8980 " : "-8979 ";
        EXPECT_EQ(load(container(1, changed)).find(expected), 0u) << i;
    }
}
