#!/usr/bin/python3
"""What the Python binding costs, with the module emulator as the module.

    python_binding_bench.py BUILD_DIR

- ping: PyRCP.ping from Python against RCP::ping in C++ (bench/facade_ping_bench) on the same emulator
  process; median over repetitions of the mean time per ping.
- read_message_baseband_iq: 1000-bin frames read from a filled queue, frames per second.
- PyDataReader.read_record: records of 100 bytes, records per second.

Benchmarks measure; they assert nothing. Run with /usr/bin/python3, the interpreter the binding is built for."""
import json
import os
import signal
import statistics
import subprocess
import sys
import tempfile
import threading
import time

BUILD = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else "_build/plain")
sys.path.insert(0, os.path.join(BUILD, "python"))
import pydevicebridge as db  # noqa: E402

EMULATOR = os.path.join(BUILD, "tools", "module_emulator")
REPETITIONS = 5


class Emulator:
    def __init__(self, *arguments):
        self.process = subprocess.Popen([EMULATOR, *arguments], stdout=subprocess.PIPE, text=True)
        self.device = self.process.stdout.readline().strip().partition(": ")[2]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait()


def wait_until(condition, seconds=30.0):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError("the emulator did not deliver in time")
        time.sleep(0.01)


def python_ping(device, pings):
    bridge = db.PythonDeviceBridge(device, 0)
    rcp = bridge.get_rcp()
    for _ in range(200):
        rcp.ping()
    means = []
    for _ in range(REPETITIONS):
        start = time.perf_counter()
        for _ in range(pings):
            rcp.ping()
        means.append((time.perf_counter() - start) / pings)
    return statistics.median(means)


def native_ping(device):
    program = os.path.join(BUILD, "bench", "facade_ping_bench")
    finished = subprocess.run(
        [program, f"--benchmark_repetitions={REPETITIONS}", "--benchmark_report_aggregates_only=true",
         "--benchmark_format=json"], env=dict(os.environ, DEVICEBRIDGE_BENCH_DEVICE=device),
        capture_output=True, text=True, check=True)
    for run in json.loads(finished.stdout)["benchmarks"]:
        if run.get("aggregate_name") == "median":
            return run["real_time"] * {"ns": 1e-9, "us": 1e-6, "ms": 1e-3}[run["time_unit"]]
    raise RuntimeError("no median in the benchmark's report")


def baseband_reads():
    with Emulator("--stream", "baseband_iq", "--stream-on-signal", "--bins", "1000", "--rate", "2000") as module:
        bridge = db.PythonDeviceBridge(module.device, 0)
        presence = bridge.get_g7n420()
        module.process.send_signal(signal.SIGUSR1)
        rates = []
        for _ in range(REPETITIONS):
            wait_until(lambda: presence.peek_message_baseband_iq() >= 1000)
            start = time.perf_counter()
            for _ in range(1000):
                presence.read_message_baseband_iq()
            rates.append(1000 / (time.perf_counter() - start))
        del presence, bridge  # before the module goes
        return statistics.median(rates)


def reader_reads(records=100000):
    with tempfile.TemporaryDirectory() as directory:
        cwd = os.getcwd()
        os.chdir(directory)  # the bridge's debug file lands here
        try:
            bridge = db.PythonDeviceBridge(0)
            recorder = bridge.get_data_recorder()
            finished, meta = threading.Event(), []
            recorder.subscribe_to_meta_file_available(lambda session, name: (meta.append(name), finished.set()))
            recorder.start_recording(db.DataType_ByteDataType, directory)
            packet = bytes([0xA0, 0x10]) + bytes(100)
            for _ in range(records):
                recorder.process(db.DataType_ByteDataType, packet)
            recorder.stop_recording(db.DataType_ByteDataType)
            finished.wait(60)
            rates = []
            for _ in range(REPETITIONS):
                reader = db.PyDataReader()
                reader.open(meta[-1])
                start = time.perf_counter()
                count = 0
                while reader.read_record().is_valid:
                    count += 1
                rates.append(count / (time.perf_counter() - start))
            return statistics.median(rates), count
        finally:
            os.chdir(cwd)


def main():
    with tempfile.TemporaryDirectory() as scratch:
        os.chdir(scratch)
        with Emulator() as module:
            python = python_ping(module.device, 2000)
            native = native_ping(module.device)
        print(f"ping, median of {REPETITIONS}: Python PyRCP {python * 1e6:.1f} us, C++ RCP {native * 1e6:.1f} us, "
              f"ratio {python / native:.2f}")
        print(f"read_message_baseband_iq, 1000 bins, queued: {baseband_reads():.0f} frames/s")
        rate, count = reader_reads()
        print(f"PyDataReader.read_record, 100-byte records: {rate:.0f} records/s ({count} records)")


if __name__ == "__main__":
    main()
