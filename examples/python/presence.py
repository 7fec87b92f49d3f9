#!/usr/bin/python3
"""Prints who a presence module sees: one line per reading, for a number of seconds.

    presence.py DEVICE [SECONDS]         a module on a serial device, e.g. /dev/ttyACM0
    presence.py HOST:PORT [SECONDS]      a module behind a TCP bridge

The module is pinged, tells its firmware id, version and serial number, runs the presence profile while the
readings are printed, and is stopped again however the program ends."""
import socket
import sys
import time

from pydevicebridge import (KMID_SM_RUN, KMID_SM_STOP, KMID_SSIC_FIRMWAREID, KMID_SSIC_SERIALNUMBER,
                            KMID_SSIC_VERSION, KMS_ID_APP_PRESENCE_2, PythonDeviceBridge, delete_string_ptr,
                            new_string_ptr, string_ptr_value)

STATES = {0: "no presence", 1: "presence", 2: "initializing"}


def open_bridge(where, log_level=0):
    """A serial device by its name, or a TCP endpoint as HOST:PORT (network byte order for the library)."""
    if where.startswith("/"):
        return PythonDeviceBridge(where, log_level)
    host, port = where.rsplit(":", 1)
    address = int.from_bytes(socket.inet_aton(socket.gethostbyname(host)), sys.byteorder)
    return PythonDeviceBridge(address, socket.htons(int(port)), log_level)


def system_text(module, code):
    text = new_string_ptr()
    try:
        module.get_system_info(code, text)
        return string_ptr_value(text)
    finally:
        delete_string_ptr(text)


def print_readings(module, seconds):
    print(f"{'time':>7} {'frame':>7}  {'state':<13} {'distance':>9} {'direction':>9} {'quality':>7}")
    start = time.monotonic()
    while time.monotonic() - start < seconds:
        # Reading blocks until a packet is there; counting first keeps our own deadline if the module is quiet.
        if module.peek_message_presence_single() == 0:
            time.sleep(0.02)
            continue
        reading = module.read_message_presence_single()
        print(f"{time.monotonic() - start:7.2f} {reading.frame_counter:7d}  "
              f"{STATES.get(reading.presence_state, 'unknown'):<13} {reading.distance:8.2f}m "
              f"{reading.direction:9d} {reading.signal_quality:7d}")


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    seconds = float(sys.argv[2]) if len(sys.argv) == 3 else 10.0
    try:
        bridge = open_bridge(sys.argv[1])
        module = bridge.get_g7n420()
        print(f"ping: {module.ping():#010x}")
        for name, code in (("firmware", KMID_SSIC_FIRMWAREID), ("version", KMID_SSIC_VERSION),
                           ("serial number", KMID_SSIC_SERIALNUMBER)):
            print(f"{name}: {system_text(module, code)}")
        module.load_profile(KMS_ID_APP_PRESENCE_2)
        module.set_sensor_mode(KMID_SM_RUN, 0)
        try:
            print_readings(module, seconds)
        finally:
            module.set_sensor_mode(KMID_SM_STOP, 0)
    except RuntimeError as failure:
        # Everything the library reports arrives as RuntimeError: a refusal, a time-out, a device that won't open.
        sys.exit(f"presence.py: {failure}")


if __name__ == "__main__":
    main()
