#include "dbimage/dbimage_internal.h"

/* Both copies come from the build's TARN_DATABASE_KEY. */
const unsigned char g_appmngr_databaseKey[8] = {TARN_DATABASE_KEY_BYTES};
unsigned char _md5_des_sealKey[8] = {TARN_DATABASE_KEY_BYTES};
