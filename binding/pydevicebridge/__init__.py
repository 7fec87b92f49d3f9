"""pydevicebridge: ultra-wideband radar modules from Python.

    from pydevicebridge import PythonDeviceBridge
    bridge = PythonDeviceBridge("/dev/ttyACM0", 0)
    print(hex(bridge.get_rcp().ping()))

Everything is generated from the library's public headers into the module devicebridgewrapper; this package
makes its names importable directly. Library failures are raised as RuntimeError; the interpreter lock is
released during every call into the library, so blocking reads don't hold up other Python threads.
"""
from .devicebridgewrapper import *  # noqa: F401,F403
from .devicebridgewrapper import cvar  # noqa: F401
