// tarn-db-tool seal and unseal - the two directions of one operation on files.

#include "check/database.h"
#include "dbimage/dbimage.h"
#include "tool/commands.h"
#include "tool/file.h"

#include <cstdint>
#include <cstdio>
#include <string>

namespace tool
{

namespace
{

constexpr size_t sizeLimit = 16382;
constexpr size_t growth = 24; /* digest and filling */

/* What a shell sees of the file tool's -1. */
constexpr int notSealed = 255;

void sealFile(const Arguments &arguments, bool seal)
{
    const InputFile input = readFile(arguments.input);
    if (input.contents.size() > sizeLimit) {
        throw check::Failure(input.name, std::string(seal ? "not sealed" : "not unsealed") +
                                             ", more than 16382 bytes");
    }
    std::string output(input.contents.size() + growth, '\0');
    const int length =
        md5_des_seal(input.contents.data(), static_cast<int32_t>(input.contents.size()),
                     reinterpret_cast<unsigned char *>(output.data()),
                     static_cast<int32_t>(output.size()), g_appmngr_databaseKey, seal ? 1 : 0);
    output.resize(static_cast<size_t>(length));
    writeFile(arguments.output, output);
}

int sealOrFail(const Arguments &arguments, bool seal)
{
    try {
        sealFile(arguments, seal);
        return 0;
    } catch (const check::Failure &failure) {
        fprintf(stderr, "tarn-db-tool: %s\n", failure.what());
        return notSealed;
    }
}

} // namespace

int seal(const Arguments &arguments)
{
    return sealOrFail(arguments, true);
}

int unseal(const Arguments &arguments)
{
    return sealOrFail(arguments, false);
}

} // namespace tool
