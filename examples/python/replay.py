#!/usr/bin/python3
"""Plays a recording through a bridge at double speed and prints what a program on a module would read.

    replay.py META_FILE [RATE]      META_FILE is a recording's tervik_recording_meta.dat; RATE 2 by default

The bridge on the player is a bridge like any other: the presence readings come out of the same queues as
from a module, at the pace they were recorded, times RATE."""
import sys
import time

from pydevicebridge import DataType, PyDataPlayer, PythonDeviceBridge

STATES = {0: "no presence", 1: "presence", 2: "initializing"}


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    rate = float(sys.argv[2]) if len(sys.argv) == 3 else 2.0
    try:
        player = PyDataPlayer(sys.argv[1])
        # The bridge plays the player's recording: the player must live as long as the bridge.
        bridge = PythonDeviceBridge(player, 0)
    except RuntimeError as failure:
        sys.exit(f"replay.py: {failure}")
    presence = bridge.get_g7n420()
    player.set_filter(DataType.PresenceSingleDataType)
    player.set_playback_rate(rate)
    duration = player.get_duration() / 1000.0
    print(f"playing {duration:.1f} s at {rate}x")
    player.play()
    start = time.monotonic()
    # A little beyond the recording's time at this rate, for the last readings on their way.
    while time.monotonic() - start < duration / rate + 1.0:
        if presence.peek_message_presence_single() == 0:
            time.sleep(0.02)
            continue
        reading = presence.read_message_presence_single()
        print(f"{time.monotonic() - start:6.2f} s  frame {reading.frame_counter:6d}  "
              f"{STATES.get(reading.presence_state, 'unknown'):<13} {reading.distance:5.2f} m")
    player.stop()


if __name__ == "__main__":
    main()
