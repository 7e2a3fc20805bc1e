#include "tool/sealing.h"

#include "dbimage/dbimage.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

namespace tool
{

namespace
{

constexpr uintmax_t sizeLimit = 16382;

struct SealingOptions {
    std::string input;
    std::string output;
};

/* Returns the result as exit status: 0, or -1, which a shell sees as 255. */
int sealFile(const SealingOptions &options, bool seal)
{
    const int result = md5_des_sealFile(options.input.c_str(), options.output.c_str(), seal);
    if (result != 0) {
        std::error_code unknown;
        const uintmax_t size = std::filesystem::file_size(options.input, unknown);
        const bool tooLarge = !unknown && size > sizeLimit;
        fprintf(stderr, "tarn-db-tool: %s: %s%s\n", options.input.c_str(),
                seal ? "not sealed" : "not unsealed", tooLarge ? ", more than 16382 bytes" : "");
    }
    return result;
}

} // namespace

Action setupSealing(CLI::App &arguments, bool seal)
{
    const auto options = std::make_shared<SealingOptions>();
    arguments.add_option("IN", options->input, "File to read, at most 16382 bytes")->required();
    arguments.add_option("OUT", options->output, "File to write")->required();
    return [options, seal] { return sealFile(*options, seal); };
}

} // namespace tool
