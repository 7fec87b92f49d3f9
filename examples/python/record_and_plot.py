#!/usr/bin/python3
"""Records presence and baseband data from a presence module, reads the recording back and plots it.

    record_and_plot.py DEVICE OUTPUT.png [SECONDS]      DEVICE as for presence.py; 10 seconds by default

The recording lands in a temporary directory that is removed at the end. The PNG shows the distance of the
presence readings over time, and the baseband amplitude over range and time as an image."""
import math
import struct
import sys
import tempfile
import threading
import time

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

from presence import open_bridge  # noqa: E402
from pydevicebridge import (DataType, KMID_SM_RUN, KMID_SM_STOP, KMS_ID_APP_PRESENCE_2,  # noqa: E402
                            KMS_SACR_ID_BASEBAND_OUTPUT_IQ, KMS_SACR_ID_BASEBAND_OUTPUT_OFF, KMS_SACR_OUTPUTBASEBAND,
                            PyDataReader, RecordingOptions)

RECORDED = DataType.PresenceSingleDataType | DataType.BasebandIqDataType


def record(bridge, directory, seconds):
    """Records for `seconds`; the name of the finished meta file."""
    module, recorder = bridge.get_g7n420(), bridge.get_data_recorder()
    finished, meta_files = threading.Event(), []
    # Called on the recorder's own thread once the meta file is complete.
    recorder.subscribe_to_meta_file_available(lambda session, meta: (meta_files.append(meta), finished.set()))
    module.load_profile(KMS_ID_APP_PRESENCE_2)
    module.set_output_control(KMS_SACR_OUTPUTBASEBAND, KMS_SACR_ID_BASEBAND_OUTPUT_IQ)
    if recorder.start_recording(RECORDED, directory, RecordingOptions()) != 0:
        sys.exit("record_and_plot.py: the recording did not start")
    module.set_sensor_mode(KMID_SM_RUN, 0)
    try:
        time.sleep(seconds)
    finally:
        recorder.stop_recording(RECORDED)
        module.set_sensor_mode(KMID_SM_STOP, 0)
        module.set_output_control(KMS_SACR_OUTPUTBASEBAND, KMS_SACR_ID_BASEBAND_OUTPUT_OFF)
    if not finished.wait(10):
        sys.exit("record_and_plot.py: the recording was not finished")
    return meta_files[-1]


def read_back(meta_filename):
    """(seconds, distance) of each presence reading and (seconds, ranges, amplitudes) of each baseband frame."""
    reader = PyDataReader()
    if reader.open(meta_filename) != 0:
        sys.exit(f"record_and_plot.py: cannot read {meta_filename}")
    start, presence, baseband = reader.get_start_epoch(), [], []
    while not reader.at_end():
        record = reader.read_record()
        if not record.is_valid or record.is_user_header:
            continue
        seconds = (record.epoch - start) / 1000.0
        if record.data_type == DataType.PresenceSingleDataType:
            # A line "TimeStamp;Counter;PresenceState;Distance;Direction;SignalQuality"; the first is the header.
            fields = bytes(record.data).decode().strip().split(";")
            if fields[0] != "TimeStamp":
                presence.append((seconds, float(fields[3])))
        elif record.data_type == DataType.BasebandIqDataType:
            baseband.append((seconds,) + baseband_amplitude(bytes(record.data)))
    return presence, baseband


def baseband_amplitude(data):
    """The frame's ranges in metres and the amplitude of each bin, from its little-endian disk form."""
    _, bins, bin_length, _, _, range_offset = struct.unpack_from("<IIffff", data)
    bins = min(bins, (len(data) - 24) // 8)
    values = struct.unpack_from(f"<{2 * bins}f", data, 24)
    ranges = [range_offset + bin_length * n for n in range(bins)]
    return ranges, [math.hypot(i, q) for i, q in zip(values[:bins], values[bins:])]


def plot(presence, baseband, output):
    figure, (distance_axes, image_axes) = plt.subplots(2, 1, figsize=(9, 8), constrained_layout=True)
    distance_axes.plot([t for t, _ in presence], [d for _, d in presence], ".-")
    distance_axes.set(title="Presence", xlabel="time (s)", ylabel="distance (m)")
    if baseband:
        ranges = baseband[0][1]
        image = [amplitudes for _, _, amplitudes in baseband if len(amplitudes) == len(ranges)]
        extent = (ranges[0], ranges[-1], baseband[-1][0], baseband[0][0])
        shown = image_axes.imshow(image, aspect="auto", extent=extent)
        figure.colorbar(shown, ax=image_axes, label="amplitude")
    image_axes.set(title="Baseband amplitude", xlabel="range (m)", ylabel="time (s)")
    figure.savefig(output)


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    seconds = float(sys.argv[3]) if len(sys.argv) == 4 else 10.0
    try:
        bridge = open_bridge(sys.argv[1])
        with tempfile.TemporaryDirectory(prefix="record_and_plot_") as directory:
            presence, baseband = read_back(record(bridge, directory, seconds))
    except RuntimeError as failure:
        sys.exit(f"record_and_plot.py: {failure}")
    plot(presence, baseband, sys.argv[2])
    print(f"{len(presence)} presence readings and {len(baseband)} baseband frames plotted into {sys.argv[2]}")


if __name__ == "__main__":
    main()
