// tarn-db-tool seal and unseal - the two directions of one operation on files.

#include "tool/commands.h"

#include "check/database.h"
#include "dbimage/dbimage.h"
#include "tool/file.h"
#include "tool/options.h"

#include <cstdint>
#include <string>

namespace tool
{

namespace
{

struct {
    std::string input;
    std::string output;
} arguments;

// The device reads at most 16,382 bytes, here of a sealed file: a digest and whole blocks.
constexpr size_t sealedLimit = 16382;
constexpr size_t blockSize = 8;
constexpr size_t plainLimit = (sealedLimit - DBIMAGE_DIGEST_SIZE) / blockSize * blockSize;
constexpr int failed = 255; // what a shell makes of -1

void declare(CLI::App &parser)
{
    addInput(parser, "IN", arguments.input, "File to read");
    addOption(parser, "OUT", arguments.output, "", "File to write, - for standard output");
    require(parser, "OUT");
}

std::string process(const std::string &input, int encrypt)
{
    std::string output(input.size() + DBIMAGE_DIGEST_SIZE + blockSize, '\0');
    const int length =
        md5_des_seal(input.data(), static_cast<int32_t>(input.size()), output.data(),
                     static_cast<int32_t>(output.size()), g_appmngr_databaseKey, encrypt);
    output.resize(static_cast<size_t>(length));
    return output;
}

int runSeal()
{
    const InputFile input = readWholeFile(arguments.input, plainLimit);
    writeFile(arguments.output, process(input.contents, 1));
    return 0;
}

// Zeros fill the last block; the digest tells how many.
int runUnseal()
{
    const InputFile input = readWholeFile(arguments.input, sealedLimit);
    std::string plain = process(input.contents, 0);
    for (size_t zeros = 0; zeros < blockSize && input.contents.size() >= DBIMAGE_DIGEST_SIZE;
         zeros++) {
        if (md5_verify(input.contents.data(), plain.data(), static_cast<uint32_t>(plain.size())) ==
            1) {
            writeFile(arguments.output, plain);
            return 0;
        }
        if (plain.empty() || plain.back() != '\0') {
            break;
        }
        plain.pop_back();
    }
    throw check::Failure(input.name, "is not sealed with this key");
}

} // namespace

const Command seal = {"seal", "Encrypt a file with the database key, prefixed with its digest",
                      declare, runSeal, failed};

const Command unseal = {"unseal", "Decrypt a sealed file", declare, runUnseal, failed};

} // namespace tool
