/*
 * The product's own code at work on what is checked, without a kernel.
 */
#ifndef CHECK_DEVICE_H
#define CHECK_DEVICE_H

#include <functional>
#include <string>

namespace check
{

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

} // namespace check

#endif
