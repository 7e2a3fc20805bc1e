// tarn-db-tool - the companion of tarn-db-loader for those who make databases: its command line.

#include "tool/commands.h"
#include "tool/file.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace
{

using tool::Arguments;

constexpr int failed = 1;
constexpr int wrongCommandLine = 2;

/* ---- What the subcommands take ----------------------------------------------------------- */

void declareInput(CLI::App &parser, Arguments &arguments, const char *name, const std::string &what)
{
    parser.add_option(name, arguments.input, what + ", - for standard input")->required();
}

void declareJson(CLI::App &parser, Arguments &arguments)
{
    parser.add_flag("--json", arguments.json, "As one JSON document");
}

void declareImage(CLI::App &parser, Arguments &arguments)
{
    declareInput(parser, arguments, "IMAGE", "Image file");
}

void declareListing(CLI::App &parser, Arguments &arguments)
{
    declareImage(parser, arguments);
    declareJson(parser, arguments);
}

void declareRules(CLI::App &parser, Arguments &arguments)
{
    declareImage(parser, arguments);
    parser.add_option("APPID", arguments.appId, "Id of the application")->required();
    declareJson(parser, arguments);
}

void declarePriority(CLI::App &parser, Arguments &arguments)
{
    declareImage(parser, arguments);
    parser.add_flag("--map", arguments.map,
                    "Also the map that goes to the kernel: APPID: PRIORITY for each that has one");
    declareJson(parser, arguments);
}

void declareExport(CLI::App &parser, Arguments &arguments)
{
    declareImage(parser, arguments);
    parser.add_option("-C", arguments.output, "Directory to write database.json to")
        ->type_name("DIR");
}

void declareMessages(CLI::App &parser, Arguments &arguments)
{
    declareImage(parser, arguments);
    parser.add_flag("--priority", arguments.ofPriority,
                    "The message of the priority database instead");
    declareJson(parser, arguments);
    parser
        .add_option("--raw", arguments.output,
                    "Directory to write the messages to as they are, one file each")
        ->type_name("DIR")
        ->excludes("--json");
}

void declareDiff(CLI::App &parser, Arguments &arguments)
{
    declareInput(parser, arguments, "OLD", "Image file");
    parser.add_option("NEW", arguments.newImage, "Image file, - for standard input")->required();
    declareJson(parser, arguments);
}

void declareUnpack(CLI::App &parser, Arguments &arguments)
{
    declareImage(parser, arguments);
    parser.add_flag("--priority", arguments.ofPriority,
                    "The priority database instead of the application database");
}

void declarePack(CLI::App &parser, Arguments &arguments)
{
    declareInput(parser, arguments, "APPDB.xml", "Application database");
    parser
        .add_option("-o,--output", arguments.output, "Image file to write, - for standard output")
        ->required()
        ->type_name("IMAGE");
    parser.add_option("--priority", arguments.priority, "Priority database to pack with it")
        ->type_name("SORTDB.xml");
}

void declareBundle(CLI::App &parser, Arguments &arguments)
{
    parser
        .add_option("-o,--output", arguments.output,
                    "Container file to write, - for standard output")
        ->required()
        ->type_name("CONTAINER");
    parser.add_option("--version", arguments.version, "Version of the databases, 1.2.N")
        ->required()
        ->type_name("1.2.N")
        ->check(tool::checkVersion);
    CLI::Option_group *const databases =
        parser.add_option_group("Databases", "At least one of them");
    databases->add_option("--app", arguments.input, "Application database, - for standard input")
        ->type_name("APPDB.xml");
    databases->add_option("--priority", arguments.priority, "Priority database")
        ->type_name("SORTDB.xml");
    databases->require_option(1, 2);
}

void declareVerify(CLI::App &parser, Arguments &arguments)
{
    declareInput(parser, arguments, "CONTAINER", "Update container");
    declareJson(parser, arguments);
}

void declareSeal(CLI::App &parser, Arguments &arguments)
{
    declareInput(parser, arguments, "IN", "File to read, at most 16382 bytes");
    parser.add_option("OUT", arguments.output, "File to write, - for standard output")->required();
}

void declareFmt(CLI::App &parser, Arguments &arguments)
{
    declareInput(parser, arguments, "XML", "XML document");
    parser.add_flag("--compact", arguments.compact, "Without any blank or line end between tags");
}

void declareCheck(CLI::App &parser, Arguments &arguments)
{
    parser.add_option("FILE", arguments.files,
                      "XML text, image or update container, - for standard input");
    parser.add_flag("--rules", arguments.listsRules, "List the rules instead");
    declareJson(parser, arguments);
    parser.add_flag("--werror", arguments.warningsAreErrors, "Take warnings for errors");
    parser.parse_complete_callback([&arguments] {
        if (arguments.files.empty() && !arguments.listsRules) {
            throw CLI::RequiredError("FILE");
        }
    });
}

/* ---- The subcommands --------------------------------------------------------------------- */

/* In the order in which --help lists them. */
const struct Command {
    const char *name;
    const char *summary; /* one line, without a full stop */
    void (*declare)(CLI::App &parser, Arguments &arguments);
    int (*run)(const Arguments &arguments);
} commands[] = {
    {"pack", "Compress a database into an image that tarn-db-loader loads", declarePack,
     tool::pack},
    {"check", "Report what is wrong or suspicious in databases, images, containers", declareCheck,
     tool::check},
    {"unpack", "Write the XML text of an image to standard output", declareUnpack, tool::unpack},
    {"show", "List the application database of an image with all its rules", declareImage,
     tool::show},
    {"rules", "List the rules of one application of an image", declareRules, tool::rules},
    {"apps", "List the applications of an image", declareListing, tool::apps},
    {"types", "List the application types of an image", declareListing, tool::types},
    {"export", "Write the rules of an image as database.json", declareExport, tool::exportRules},
    {"fmt", "Write an XML document indented or compact to standard output", declareFmt, tool::fmt},
    {"priority", "List the priority database of an image", declarePriority, tool::priority},
    {"seal", "Encrypt a file with the database key, behind its digest", declareSeal, tool::seal},
    {"unseal", "Get a sealed file back", declareSeal, tool::unseal},
    {"bundle", "Pack and encrypt databases into an update container", declareBundle, tool::bundle},
    {"verify", "Check an update container and list its files", declareVerify, tool::verify},
    {"messages", "Show or write the messages that a load would send", declareMessages,
     tool::messages},
    {"diff", "Compare the application databases of two images", declareDiff, tool::diff},
};

// So that no file becomes one of them. Those that the program was started without fail when they
// are used, but for standard error. Returns whether all are open.
bool openStandardStreams()
{
    bool areOpen = true;
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO && areOpen; fd++) {
        const int mode = fd == STDOUT_FILENO ? O_RDONLY : O_WRONLY;
        areOpen = fcntl(fd, F_GETFD) != -1 || open("/dev/null", mode) == fd;
    }
    return areOpen;
}

std::string usageMessage(const CLI::App *, const CLI::Error &error)
{
    return std::string("tarn-db-tool: ") + error.what() +
           "\nRun tarn-db-tool --help for more information.\n";
}

int runTool(int argc, char **argv)
{
    CLI::App parser("Makes and inspects database images for tarn-db-loader", "tarn-db-tool");
    parser.set_version_flag("--version", "tarn-db-tool " TARN_VERSION, "Print the version");
    parser.require_subcommand(1);
    parser.failure_message(usageMessage);

    Arguments arguments;
    int status = 0;
    for (const Command &command : commands) {
        CLI::App *const subcommand = parser.add_subcommand(command.name, command.summary);
        command.declare(*subcommand, arguments);
        subcommand->final_callback([&] { status = command.run(arguments); });
    }
    try {
        parser.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        status = parser.exit(error) == 0 ? 0 : wrongCommandLine;
    }
    tool::writeStandardOutput("");
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return openStandardStreams() ? runTool(argc, argv) : failed;
    } catch (const std::exception &error) {
        fprintf(stderr, "tarn-db-tool: %s\n", error.what());
        return failed;
    }
}
