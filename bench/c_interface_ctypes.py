#!/usr/bin/python3
"""What dba_read_message_baseband_iq costs through ctypes, as a numerical environment calls it.

Feeds 1000-bin I/Q frames into a pseudo-terminal that a bridge reads, waits until a round of them is queued,
and times reading the round into preallocated arrays. Prints records per second; compare with
BM_CReadBasebandIqQueued (bench/c_interface_bench, the same call from C) and BM_ReadBasebandIqQueued
(bench/device_bridge_bench, the C++ read_message_baseband_iq).

usage: /usr/bin/python3 bench/c_interface_ctypes.py BUILD_DIR/libdevicebridge.so [ROUNDS]"""
import ctypes as C
import os
import statistics
import struct
import sys
import threading
import time

BINS = 1000
FRAMES_PER_ROUND = 200
KMS_ID_BASEBAND_IQ = 0x0C
APPLICATION_PACKET = 0x50


def baseband_iq_frame(lib):
    """One framed packet: head, id, counter, bin count, four floats of geometry, then I and Q."""
    payload = struct.pack("<BIII4f", APPLICATION_PACKET, KMS_ID_BASEBAND_IQ, 1, BINS, 0.0514, 23.328e9,
                          7.29e9, 0.2)
    payload += struct.pack("<%df" % (2 * BINS), *([0.5] * BINS + [-0.5] * BINS))
    frame = bytearray()
    append = C.CFUNCTYPE(None, C.c_ubyte, C.c_void_p)(lambda byte, _: frame.append(byte))
    lib.createCommand(payload, len(payload), append, None)
    return bytes(frame)


def write_all(fd, data):
    view = memoryview(data)
    while view:
        view = view[os.write(fd, view):]


def main():
    library = sys.argv[1]
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 10
    lib = C.CDLL(os.path.abspath(library))
    lib.dba_create_device_bridge.restype = C.c_void_p
    lib.dba_get_g5.restype = C.c_void_p
    lib.dba_get_g5.argtypes = [C.c_void_p]
    lib.dba_destroy_G5_interface.argtypes = [C.c_void_p]
    lib.dba_destroy_device_bridge.argtypes = [C.c_void_p]

    master, slave = os.openpty()
    bridge = lib.dba_create_device_bridge(os.ttyname(slave).encode(), 0)
    assert bridge, "the bridge did not open"
    g5 = C.c_void_p(lib.dba_get_g5(bridge))
    frames = baseband_iq_frame(lib) * FRAMES_PER_ROUND

    scalars = [C.c_uint32(), C.c_uint32(), C.c_float(), C.c_float(), C.c_float(), C.c_float()]
    pointers = [C.byref(value) for value in scalars]
    i_data, q_data = (C.c_float * BINS)(), (C.c_float * BINS)()
    read = lib.dba_read_message_baseband_iq
    rates = []
    for _ in range(rounds):
        writer = threading.Thread(target=write_all, args=(master, frames))
        writer.start()
        while lib.dba_peek_message_baseband_iq(g5) < FRAMES_PER_ROUND:
            time.sleep(0.001)
        writer.join()
        start = time.perf_counter()
        for _ in range(FRAMES_PER_ROUND):
            read(g5, *pointers, i_data, q_data)
        rates.append(FRAMES_PER_ROUND / (time.perf_counter() - start))
    assert scalars[1].value == BINS and i_data[BINS - 1] == 0.5

    lib.dba_destroy_G5_interface(g5)
    lib.dba_destroy_device_bridge(bridge)
    os.close(slave)
    os.close(master)
    print("dba_read_message_baseband_iq through ctypes, %d bins: median %.0f records/s (min %.0f, max %.0f, "
          "%d rounds of %d)" % (BINS, statistics.median(rates), min(rates), max(rates), rounds, FRAMES_PER_ROUND))


if __name__ == "__main__":
    main()
