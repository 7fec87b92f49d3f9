"""The Python examples, run as a user runs them, against the module emulator."""
import os
import subprocess
import sys

import pytest

import pydevicebridge as db
from conftest import needs_hand_outs
from emulator_process import DEADLINE

pytestmark = needs_hand_outs
from test_recording import read_all, readings_of, record

EXAMPLES = os.environ["EXAMPLES_DIR"]


def run(example, *arguments, timeout=60):
    finished = subprocess.run([sys.executable, os.path.join(EXAMPLES, example), *arguments],
                              capture_output=True, text=True, timeout=timeout)
    assert finished.returncode == 0, finished.stderr
    return finished.stdout


@pytest.mark.parametrize("emulator", [["--rate", "10"], ["--tcp", "0", "--rate", "10"]], indirect=True,
                         ids=["pty", "tcp"])
def test_presence_prints_the_modules_texts_and_a_table_of_readings(emulator):
    output = run("presence.py", emulator.address, "1.5").splitlines()
    assert output[0] == f"ping: {db.KMS_DEF_PONGVAL_READY:#010x}"
    assert [line.split(":")[0] for line in output[1:4]] == ["firmware", "version", "serial number"]
    readings = [line for line in output[5:] if line.split()[1].isdigit()]
    assert len(readings) >= 5, output


def test_record_and_plot_writes_a_png_of_both_kinds_of_data(emulator, scratch):
    output = run("record_and_plot.py", emulator.address, str(scratch / "plot.png"), "2")
    counts = [int(word) for word in output.split() if word.isdigit()]
    assert counts[0] > 0 and counts[1] > 0, output
    assert (scratch / "plot.png").read_bytes()[:8] == b"\x89PNG\r\n\x1a\n"


def test_replay_plays_a_recording_at_double_speed(emulator, scratch):
    meta = record(emulator, scratch, db.RecordingOptions(), records=10)
    output = run("replay.py", meta, timeout=DEADLINE * 3).splitlines()
    assert output[0].startswith("playing") and output[0].endswith("at 2.0x")
    assert len([line for line in output if "frame" in line]) == len(readings_of(read_all(meta)))
