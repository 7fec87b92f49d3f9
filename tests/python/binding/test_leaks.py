"""Records and tuples handed to Python are owned by Python: many calls keep the process's memory flat."""
import resource

import pydevicebridge as db
from conftest import connect, needs_hand_outs

pytestmark = needs_hand_outs


def resident_kilobytes():
    with open("/proc/self/statm") as statm:
        return int(statm.read().split()[1]) * resource.getpagesize() // 1024


def test_ten_thousand_calls_returning_records_and_tuples_keep_memory_flat(emulator):
    bridge = connect(emulator)
    presence, transport = bridge.get_g7n420(), bridge.get_transport()
    frame = db.BasebandIqData()
    frame.i_data = [0.5] * 1000
    options = db.RecordingOptions()
    options.set_user_header(bytes(1000))

    def calls(count):
        for _ in range(count):
            frame.get_I()
            options.get_user_header()
            db.PyDataReader().read_record()
            transport.get_packet("no such queue")
        for _ in range(count // 100):
            presence.get_detection_zone_limits()

    calls(1000)
    before = resident_kilobytes()
    calls(10000)
    assert resident_kilobytes() - before < 2048, "a leak of even one tuple per call would pass 40 MB"
