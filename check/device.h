/*
 * The product's own code at work, as on a device but without a kernel.
 */
#ifndef CHECK_DEVICE_H
#define CHECK_DEVICE_H

#include "check/database.h"
#include "dbimage/dbimage.h"

#include <functional>
#include <string>
#include <vector>

namespace check
{

/*
 * The product's libraries report on standard output. While an object of this class lives, what is
 * written there goes to another descriptor, so that it does not mix with a subcommand's output.
 */
class RedirectedDiagnostics
{
public:
    /* Takes ownership of the descriptor, unless it is standard error. Throws Failure. */
    explicit RedirectedDiagnostics(int descriptor);
    ~RedirectedDiagnostics();
    RedirectedDiagnostics(const RedirectedDiagnostics &) = delete;
    RedirectedDiagnostics &operator=(const RedirectedDiagnostics &) = delete;

private:
    int standardOutput_;
};

/* What a run of the product came to. */
struct Run {
    int status = 0;    /* 0 or the product's own */
    std::string lines; /* what it printed on standard output */
};

/* Runs action, which returns a status, and captures what it prints. */
Run captureRun(const std::function<int()> &action);

/* Loads a text as it comes out of an image; keeps nothing of it. */
Run runLoad(const Database &database, const std::string &text);

/* Takes a whole update container apart. */
Run runUpdate(const std::string &container);

/* What the header of a decrypted database file says: "1.2.3", "0x04000001". */
std::string versionText(const dbimage_fileHeader &header);
std::string magicText(const dbimage_fileHeader &header);

/* The first diagnostic line of a run, without its line end; empty when there is none. */
std::string firstDiagnostic(const Run &run);

/*
 * Fills the process-wide tables of a database from a file of any kind, and returns whether it is
 * there. Throws Failure when it is damaged or cannot be loaded.
 */
bool loadIfThere(const InputFile &file, const Database &database);

/*
 * Fills the process-wide application tables from a file; tables of an earlier call are
 * released. No netlink socket is opened. The libraries' diagnostic lines appear on standard
 * error. Throws Failure when the database is missing or damaged or the tables cannot be filled.
 */
void loadApplicationTables(const InputFile &file);

/* The same for the model of the priority database, which has at least one sort then. */
void loadPriorityModel(const InputFile &file);

/* The map of the loaded model: the priority of each application id. */
std::vector<unsigned char> priorityMap();

} // namespace check

#endif
