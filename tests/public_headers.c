/* The public headers are C99, each on its own and all together. */
#include "appdist/appdist.h"
#include "appmngr/appmngr.h"
#include "appmngr/appmngr_model.h"
#include "apppri/apppri.h"
#include "dbimage/dbimage.h"
#include "loader/image.h"
#include "loader/loader.h"
#include "xmlp/xmlp.h"

int main(void)
{
    return xmlp_nameCmp("a", 1, "a") + appdist_destroy_handle(0) + appmngr_file_free();
}
