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

constexpr size_t sizeLimit = 16382;
constexpr size_t growth = 24; // digest and padding
constexpr int failed = 255;   // what a shell makes of -1

void declare(CLI::App &parser)
{
    addInput(parser, "IN", arguments.input,
             "File to read, at most " + std::to_string(sizeLimit) + " bytes");
    addOption(parser, "OUT", arguments.output, "", "File to write, - for standard output");
    require(parser, "OUT");
}

template <int encrypt> int run()
{
    const InputFile input = readFile(arguments.input);
    const size_t size = input.contents.size();
    if (size > sizeLimit) {
        throw check::Failure(input.name, "larger than " + std::to_string(sizeLimit) + " bytes");
    }
    std::string output(size + growth, '\0');
    const int length =
        md5_des_seal(input.contents.data(), static_cast<int32_t>(size), output.data(),
                     static_cast<int32_t>(output.size()), g_appmngr_databaseKey, encrypt);
    output.resize(static_cast<size_t>(length));
    writeFile(arguments.output, output);
    return 0;
}

} // namespace

const Command seal = {"seal", "Encrypt a file with the database key, prefixed with its digest",
                      declare, run<1>, failed};

const Command unseal = {"unseal", "Decrypt a sealed file", declare, run<0>, failed};

} // namespace tool
