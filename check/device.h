/*
 * The product's own code at work, as on a device but without a kernel.
 */
#ifndef CHECK_DEVICE_H
#define CHECK_DEVICE_H

#include "check/database.h"

#include <functional>
#include <string>
#include <vector>

namespace check
{

/*
 * The product's libraries report on standard output. While an object of one of these classes
 * lives, what is written there goes elsewhere, so that it does not mix with a subcommand's output.
 */
class RedirectedDiagnostics
{
public:
    RedirectedDiagnostics(const RedirectedDiagnostics &) = delete;
    RedirectedDiagnostics &operator=(const RedirectedDiagnostics &) = delete;

protected:
    /* Takes over the descriptor when that is not standard error. */
    explicit RedirectedDiagnostics(int descriptor);
    ~RedirectedDiagnostics();

private:
    int standardOutput_;
};

class DiagnosticsOnStandardError : public RedirectedDiagnostics
{
public:
    DiagnosticsOnStandardError();
};

/* For what is no news to anybody who runs the tool. */
class DiscardedDiagnostics : public RedirectedDiagnostics
{
public:
    DiscardedDiagnostics();
};

/* What a run of the product came to. */
struct LoaderRun {
    int status = 0;    /* 0 or the product's own */
    std::string lines; /* what it printed on standard output */
};

/* Runs action, which returns a status, with standard output captured. */
LoaderRun captureRun(const std::function<int()> &action);

/* Load a text that fits the device, as it comes out of an image. */
LoaderRun loadApplicationText(const std::string &text);
LoaderRun loadPriorityText(const std::string &text);

/* Takes a whole update container apart. */
LoaderRun writeContainer(const std::string &container);

/* The first diagnostic line of a run, without its line end; empty when there is none. */
std::string firstDiagnostic(const LoaderRun &run);

/*
 * Fills the process-wide application tables from an image file; tables of an earlier call are
 * released. No netlink socket is opened. The libraries' diagnostic lines appear on standard
 * error. Throws Failure when the image is damaged or the tables cannot be filled.
 */
void loadApplicationTables(const InputFile &image);

/* The same for the model of the priority database, which has at least one sort then. */
void loadPriorityModel(const InputFile &image);

/* The map of the loaded model: the priority of each application id. */
std::vector<unsigned char> priorityMap();

} // namespace check

#endif
