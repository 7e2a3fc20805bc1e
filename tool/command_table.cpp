// The subcommands of tarn-db-tool.

#include "tool/command.h"

namespace tool
{

const Command commands[] = {
    {"pack", "Compress a database into an image that tarn-db-loader loads", setupPack},
    {"check", "Report what is wrong or suspicious in databases, images, containers", setupCheck},
    {"unpack", "Write the XML text of an image to standard output", setupUnpack},
    {"show", "List the application database of an image with all its rules", setupShow},
    {"rules", "List the rules of one application of an image", setupRules},
    {"apps", "List the applications of an image", setupApps},
    {"types", "List the application types of an image", setupTypes},
    {"export", "Write the rules of an image as database.json", setupExport},
    {"fmt", "Write an XML document indented or compact to standard output", setupFmt},
    {"priority", "List the priority database of an image", setupPriority},
    {"seal", "Encrypt a file with the database key, behind its digest", setupSeal},
    {"unseal", "Get a sealed file back", setupUnseal},
    {"bundle", "Pack and encrypt databases into an update container", setupBundle},
    {"verify", "Check an update container and list its files", setupVerify},
    {"messages", "Show or write the messages that a load would send", setupMessages},
    {"diff", "Compare the application databases of two images", setupDiff},
    {nullptr, nullptr, nullptr},
};

} // namespace tool
