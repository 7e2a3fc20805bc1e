/*
 * Diagnostic lines of the application database and the update image.
 */
#ifndef LOADER_DIAGNOSTIC_H
#define LOADER_DIAGNOSTIC_H

#pragma GCC visibility push(hidden)
extern "C" void _appmngr_report(const char *function, int line, const char *format, ...)
    __attribute__((format(printf, 3, 4)));
#pragma GCC visibility pop

/* Prints "[Error](function) line: " and the message; line is part of the message. */
#define APPMNGR_ERROR(line, ...) _appmngr_report(__func__, line, __VA_ARGS__)

#endif
