// The expiry date of the database.

#include "apppri/apppri_internal.h"

#include "appmngr/appmngr.h"
#include "apppri/diagnostic.h"

#include <string.h>

// Every split asks for at most three pieces and takes room for the null pointer behind them.
#define PIECES 4

// Splits text at separator into exactly three numbers.
static int splitNumbers(int32_t *numbers, char *text, char separator)
{
    char *parts[PIECES];
    if (appmngr_string_makeSubStrByChar(text, separator, PIECES, parts) != 3) {
        return -1;
    }
    for (int i = 0; i < 3; ++i) {
        numbers[i] = appmngr_atoi(parts[i]);
    }
    return 0;
}

int _apppri_strToExpiredTime(int32_t *out, const char *text)
{
    if (out == nullptr || text == nullptr) {
        return -1;
    }
    char work[32] = {};
    memcpy(work, text, strnlen(text, sizeof work - 1));

    char *parts[PIECES];
    const int32_t count = appmngr_string_makeSubStrByChar(work, ' ', PIECES, parts);
    if (count < 0) {
        APPPRI_ERROR(295, "ucm_string_makeSubStrByChar FAILED\r\n");
        return -1;
    }
    int32_t time[6] = {};
    if (splitNumbers(time, parts[0], '-') != 0) {
        APPPRI_ERROR(306, "ucm_string_makeSubStrByChar FAILED\r\n\r\n");
        return -1;
    }
    if (count == 2 && splitNumbers(time + 3, parts[1], ':') != 0) {
        APPPRI_ERROR(336, "ucm_string_makeSubStrByChar FAILED\r\n");
        return -1;
    }
    if (count > 2) {
        // Shows where the message lies instead of the count; kept on purpose.
        static const char message[] = "cnt = %d\r\n";
        APPPRI_ERROR(347, message, static_cast<int>(reinterpret_cast<uintptr_t>(message)));
        return -1;
    }
    memcpy(out, time, sizeof time);
    return 0;
}
