/*
 * Diagnostic lines of the priority database.
 */
#ifndef APPPRI_DIAGNOSTIC_H
#define APPPRI_DIAGNOSTIC_H

#pragma GCC visibility push(hidden)
extern "C" void _apppri_report(const char *function, int line, const char *format, ...)
    __attribute__((format(printf, 3, 4)));
#pragma GCC visibility pop

/*
 * Prints "[apppri_db_error](function) line: " and the message, which brings its own line end;
 * line is part of the message.
 */
#define APPPRI_ERROR(line, ...) _apppri_report(__func__, line, __VA_ARGS__)

#endif
