// Pings the module on the device given as the one argument and prints its firmware id.
#include "DeviceBridge.h"
#include "RadarInterface.h"
#include "UniqueLocked.h"
#include "protocol_identifiers.h"

#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    Tervik::DeviceBridge bridge(argv[1], 0);
    Tervik::LockedRadarInterfacePtr& radar = bridge.get_radar_interface();
    if (radar->ping() != KMS_DEF_PONGVAL_READY)
        return 1;
    std::cout << "firmware id: " << radar->get_firmware_id() << "\n";
    return 0;
}
