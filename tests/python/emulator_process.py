"""The module emulator as a child process, for the Python suites of the C interface and the binding.

MODULE_EMULATOR names the emulator program."""
import os
import signal
import socket
import struct
import subprocess
import time

EMULATOR = os.environ["MODULE_EMULATOR"]
DEADLINE = 10.0


def eventually(condition, deadline=DEADLINE):
    """Polls `condition` until it holds or the deadline passes; the last answer is the result."""
    end = time.monotonic() + deadline
    while time.monotonic() < end:
        if condition():
            return True
        time.sleep(0.02)
    return condition()


class Emulator:
    """module_emulator as a child process; `address` is what its first line names, `kind` says which link."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen([EMULATOR, *arguments], stdout=subprocess.PIPE, text=True)
        self.kind, _, self.address = self.process.stdout.readline().strip().partition(": ")
        assert self.kind in ("device", "tcp"), self.kind

    def endpoint(self):
        """The TCP address and port in network byte order, as the bridges' constructors take them."""
        host, port = self.address.split(":")
        return struct.unpack("=I", socket.inet_aton(host))[0], socket.htons(int(port))

    def signal(self, number):
        self.process.send_signal(number)

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(timeout=DEADLINE)
