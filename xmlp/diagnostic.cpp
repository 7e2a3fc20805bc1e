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

void _xmlp_reportOften(size_t times, const char *function, int line, const char *message)
{
    char text[128];
    snprintf(text, sizeof(text), "[ERROR][%s():%d]: %s\r\n", function, line, message);
    for (; times > 0; times--) {
        fputs(text, stdout);
    }
}
