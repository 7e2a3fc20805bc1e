/*
 * What a fuzz target makes of its input: the values coded in it, a file that holds it, the update
 * files that it is the inside of.
 */
#pragma once

#include "tests/update_file.h"

#include <sys/mman.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

/*
 * Before the first input: what a target expects and does not find ends the run; the diagnostics are
 * many, and no news.
 */
extern "C" __attribute__((used)) inline int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    GTEST_FLAG_SET(throw_on_failure, true);
    return freopen("/dev/null", "w", stdout) != nullptr ? 0 : -1;
}

/* Takes an input apart. Where it has ended, bytes are 0 and texts empty. */
struct Input {
    std::string_view rest; /* behind it lies memory that must not be read */

    Input(const uint8_t *data, size_t size) : rest(reinterpret_cast<const char *>(data), size) {}

    std::string bytes(size_t count)
    {
        const std::string taken(rest.substr(0, count));
        rest.remove_prefix(taken.size());
        return taken;
    }

    uint8_t byte()
    {
        return static_cast<uint8_t>(bytes(1)[0]);
    }

    /* The bytes up to the next NUL, which is skipped. */
    std::string text()
    {
        const std::string taken = bytes(rest.find('\0'));
        byte();
        return taken;
    }
};

/* The path of a file in memory that holds contents at offset, until the next call. */
inline const char *asFile(std::string_view contents, off_t offset = 0)
{
    static const int file = memfd_create("input", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    EXPECT_EQ(ftruncate(file, 0), 0);
    EXPECT_GE(pwrite(file, contents.data(), contents.size(), offset), 0);
    return path.c_str();
}

/*
 * The container of the files in an input: each a type, the length of what follows in two bytes, and
 * header and payload without their length field.
 */
inline std::string containerOf(Input *input)
{
    std::string entries;
    char count = 0;
    for (; !input->rest.empty(); count++) {
        const auto type = static_cast<char>(input->byte());
        const size_t length = input->byte() + size_t{256} * input->byte();
        const std::string body = input->bytes(length);
        entries += entry(type, encrypted(word(body.size() - 12) + body));
    }
    return container(count, entries);
}
