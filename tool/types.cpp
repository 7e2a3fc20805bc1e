// tarn-db-tool types - the application types of an image, with their applications.

#include "appmngr/appmngr.h"
#include "tool/command.h"
#include "tool/file.h"
#include "tool/json.h"
#include "tool/record.h"
#include "tool/tables.h"

#include <memory>
#include <string>

namespace tool
{

namespace
{

struct TypesOptions {
    std::string image;
    bool json = false;
};

Json typesAsJson()
{
    Json types = Json::array();
    for (uint32_t i = 0; i < g_appmngr_appDb.typeCount; ++i) {
        const appmngr_appType &type = g_appmngr_appDb.type[i];
        types.push_back({{"id", type.id},
                         {"name", fieldText(type.name)},
                         {"applications", applicationsOf(type)}});
    }
    return {{"types", types}};
}

int types(const TypesOptions &options)
{
    loadApplicationTables(readFile(options.image));
    if (options.json) {
        printJson(typesAsJson());
    } else {
        appmngr_showAppTypes();
    }
    return 0;
}

} // namespace

Action setupTypes(CLI::App &arguments)
{
    const auto options = std::make_shared<TypesOptions>();
    arguments.add_option("IMAGE", options->image, "Image file, - for standard input")->required();
    addJsonFlag(arguments, options->json);
    return [options] { return types(*options); };
}

} // namespace tool
