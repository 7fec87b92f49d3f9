/* Pings the module on the device given as the one argument and prints its firmware id, through the C
 * interface alone. */
#include "matlab_wrapper.h"
#include "protocol_identifiers.h"

#include <stdio.h>

int main(int argc, char** argv) {
    DeviceBridge* bridge;
    G5_Type* g5;
    unsigned int pong = 0;
    char firmware_id[64];
    int status = 1;

    if (argc != 2)
        return 2;
    bridge = dba_create_device_bridge(argv[1], 0);
    if (!bridge)
        return 1;
    g5 = dba_get_g5(bridge);
    if (dba_ping(g5, &pong) == 0 && pong == KMS_DEF_PONGVAL_READY &&
        dba_get_firmware_id(g5, firmware_id, sizeof firmware_id - 1) == 0) {
        printf("firmware id: %s\n", firmware_id);
        status = 0;
    }
    dba_destroy_G5_interface(g5);
    dba_destroy_device_bridge(bridge);
    return status;
}
