// tarn-db-tool rules - the rules of one application of an image.

#include "appmngr/appmngr.h"
#include "tool/command.h"
#include "tool/failure.h"
#include "tool/file.h"
#include "tool/tables.h"

#include <cstdint>
#include <memory>
#include <string>

namespace tool
{

namespace
{

struct RulesOptions {
    std::string image;
    uint32_t appId = 0;
};

int rules(const RulesOptions &options)
{
    const InputFile image = readFile(options.image);
    loadApplicationTables(image);
    if (appmngr_getAppById(options.appId) == nullptr) {
        throw Failure(image.name, "has no application " + std::to_string(options.appId));
    }
    appmngr_showAppRules(options.appId);
    return 0;
}

} // namespace

Action setupRules(CLI::App &arguments)
{
    const auto options = std::make_shared<RulesOptions>();
    arguments.add_option("IMAGE", options->image, "Image file, - for standard input")->required();
    arguments.add_option("APPID", options->appId, "Id of the application")->required();
    return [options] { return rules(*options); };
}

} // namespace tool
