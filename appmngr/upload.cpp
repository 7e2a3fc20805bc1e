// The upload of the tables.

#include "appdist/appdist.h"
#include "appmngr/appmngr.h"

int _appmngr_sendMsgToKernel(void)
{
    appdist_handle *handle = appdist_create_handle(0, 2);
    if (handle == nullptr) {
        APPMNGR_ERROR(2532, "appdist Failed to initialize handle\n");
        return -1;
    }
    int status = -1;
    if (appdist_send_app_rules(handle) <= 0) {
        APPMNGR_ERROR(2540, "send db to kernel failed\n");
    } else if (appdist_send_dns_rules(handle) < 1) {
        APPMNGR_ERROR(2547, "send db to kernel failed\n");
    } else {
        status = 0;
    }
    appdist_destroy_handle(handle);
    return status;
}
