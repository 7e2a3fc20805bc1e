#include "xmlp/xmlp_internal.h"

#include <stdarg.h>
#include <stdio.h>

void _xmlp_report(const char *function, int line, const char *format, ...)
{
    printf("[ERROR][%s():%d]: ", function, line);
    va_list args;
    va_start(args, format);
    vprintf(format, args); // NOLINT(clang-analyzer-valist.Uninitialized): it was started
    va_end(args);
    fputs("\r\n", stdout);
}
