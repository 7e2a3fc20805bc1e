// Diagnostic lines of the priority database.

#include "apppri/diagnostic.h"

#include <stdarg.h>
#include <stdio.h>

void _apppri_report(const char *function, int line, const char *format, ...)
{
    printf("[apppri_db_error](%s) %d: ", function, line);
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
}
