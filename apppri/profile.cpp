// Sizes that belong to the product.

#include "apppri/apppri.h"

#include <stdio.h>

static const apppri_profile initialProfile = {1, 4096, 65536, 1, 32};

apppri_profile g_apppri_profile = initialProfile;

int appprio_readParaFromProfile(void)
{
    puts("!!!!!!!!!!!!!!!!!!!!appprio_readParaFromProfile in!!!!!!!!!!!!!!!!!!!!!\r");
    g_apppri_profile = initialProfile;
    return 0;
}
