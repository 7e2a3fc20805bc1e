// tarn-db-tool show - header and all rules of an image.

#include "appmngr/appmngr.h"
#include "tool/command.h"
#include "tool/file.h"
#include "tool/tables.h"

#include <memory>
#include <string>

namespace tool
{

Action setupShow(CLI::App &arguments)
{
    const auto image = std::make_shared<std::string>();
    arguments.add_option("IMAGE", *image, "Image file, - for standard input")->required();
    return [image] {
        loadApplicationTables(readFile(*image));
        appmngr_showDb();
        return 0;
    };
}

} // namespace tool
