// tarn-db-tool types - the application types of an image, with bitmaps of their applications.

#include "appmngr/appmngr.h"
#include "tool/command.h"
#include "tool/file.h"
#include "tool/tables.h"

#include <memory>
#include <string>

namespace tool
{

Action setupTypes(CLI::App &arguments)
{
    const auto image = std::make_shared<std::string>();
    arguments.add_option("IMAGE", *image, "Image file, - for standard input")->required();
    return [image] {
        loadApplicationTables(readFile(*image));
        appmngr_showAppTypes();
        return 0;
    };
}

} // namespace tool
