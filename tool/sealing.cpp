#include "tool/sealing.h"

#include "dbimage/dbimage.h"
#include "tool/failure.h"
#include "tool/file.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace tool
{

namespace
{

constexpr size_t sizeLimit = 16382;
constexpr size_t growth = 24; /* digest and filling */

/* What a shell sees of the file tool's -1. */
constexpr int notSealed = 255;

struct SealingOptions {
    std::string input;
    std::string output;
};

void sealFile(const SealingOptions &options, bool seal)
{
    const InputFile input = readFile(options.input);
    if (input.contents.size() > sizeLimit) {
        throw Failure(input.name, std::string(seal ? "not sealed" : "not unsealed") +
                                      ", more than 16382 bytes");
    }
    std::string output(input.contents.size() + growth, '\0');
    const int length =
        md5_des_seal(input.contents.data(), static_cast<int32_t>(input.contents.size()),
                     reinterpret_cast<unsigned char *>(output.data()),
                     static_cast<int32_t>(output.size()), g_appmngr_databaseKey, seal ? 1 : 0);
    output.resize(static_cast<size_t>(length));
    writeFile(options.output, output);
}

int sealOrFail(const SealingOptions &options, bool seal)
{
    try {
        sealFile(options, seal);
        return 0;
    } catch (const Failure &failure) {
        fprintf(stderr, "tarn-db-tool: %s\n", failure.what());
        return notSealed;
    }
}

} // namespace

Action setupSealing(CLI::App &arguments, bool seal)
{
    const auto options = std::make_shared<SealingOptions>();
    arguments
        .add_option("IN", options->input, "File to read, at most 16382 bytes, - for standard input")
        ->required();
    arguments.add_option("OUT", options->output, "File to write, - for standard output")
        ->required();
    return [options, seal] { return sealOrFail(*options, seal); };
}

} // namespace tool
