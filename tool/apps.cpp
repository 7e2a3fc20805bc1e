// tarn-db-tool apps - the applications of an image.

#include "appmngr/appmngr.h"
#include "tool/command.h"
#include "tool/file.h"
#include "tool/tables.h"

#include <memory>
#include <string>

namespace tool
{

Action setupApps(CLI::App &arguments)
{
    const auto image = std::make_shared<std::string>();
    arguments.add_option("IMAGE", *image, "Image file, - for standard input")->required();
    return [image] {
        loadApplicationTables(readFile(*image));
        appmngr_showApps();
        return 0;
    };
}

} // namespace tool
