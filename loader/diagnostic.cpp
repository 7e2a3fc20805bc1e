#include "loader/diagnostic.h"

#include <stdarg.h>
#include <stdio.h>

void _appmngr_report(const char *function, int line, const char *format, ...)
{
    printf("[Error](%s) %d: ", function, line);
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
}
