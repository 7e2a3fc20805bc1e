// The names of the result codes.

#include "appmngr/appmngr_model.h"

#define CODE(name)  \
    {               \
        name, #name \
    }

static constexpr struct {
    int code;
    const char *name;
} codes[] = {
    CODE(APPMNGR_SUCCESS),
    CODE(APPMNGR_ERR_FAILED),
    CODE(APPMNGR_ERR_INVALID_ARG),
    CODE(APPMNGR_ERR_NO_MEMORY),
    CODE(APPMNGR_ERR_NOT_FOUND),
    CODE(APPMNGR_ERR_OUT_OF_BOUNDARY),
    CODE(APPMNGR_ERR_NOT_INIT),
    CODE(APPMNGR_ERR_EXIST),
    CODE(APPMNGR_ERR_USING),
    CODE(APPMNGR_ERR_SIZE_SMALL),
    CODE(APPMNGR_ERR_SIZE_LARGE),
    CODE(APPMNGR_ERR_ITEM_FULL),
    CODE(APPMNGR_ERR_ALLOC_UKEY),
    CODE(APPMNGR_ERR_REVISE),
    CODE(APPMNGR_ERR_ANALYZE),
    CODE(APPMNGR_ERR_KERNEL),
    CODE(APPMNGR_ERR_CONFIG),
    CODE(APPMNGR_ERR_LOAD),
    CODE(APPMNGR_ERR_FILE_INVALID_FORMAT),
    CODE(APPMNGR_ERR_FILE_INVALID_LEN),
    CODE(APPMNGR_ERR_FILE_CHECK),
    CODE(APPMNGR_ERR_FILE_INVALID_VERSION),
    CODE(APPMNGR_ERR_FILE_SAVE_ERROR),
    CODE(APPMNGR_ERR_FILE_UNKNOWN_ERROR),
};

const char *appmngr_errToStr(int16_t code)
{
    for (const auto &row : codes) {
        if (row.code == code) {
            return row.name;
        }
    }
    return "ERROR NOT IN LIST";
}
