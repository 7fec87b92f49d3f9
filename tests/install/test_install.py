"""The library as another project gets it: installed into a prefix that is then moved, found by CMake's
find_package and by pkg-config, its headers usable from the prefix alone, its programs running, and the same
tree packed as a Debian package."""
import concurrent.futures
import os
import re

import pytest

from conftest import (BUILD_DIR, CC, CMAKE, CMAKE_GENERATOR, CONSUMER_DIR, CPACK, CXX, PYTHON, VERSION, Prefix, run,
                      run_against_emulator, run_unchecked)

# Headers that a C compiler takes as well as a C++ one.
C_HEADERS = re.compile(r"^(matlab_.*|protocol.*|get_radar_com_version)\.h$")


def test_library_is_installed_with_its_soname(prefix):
    real = prefix.lib / ("libdevicebridge.so." + VERSION)
    assert real.is_file() and not real.is_symlink()
    for link in ("libdevicebridge.so", "libdevicebridge.so." + VERSION.split(".")[0]):
        assert (prefix.lib / link).resolve() == real.resolve(), link
    dynamic = run(["readelf", "-d", real])
    assert "Library soname: [libdevicebridge.so.0]" in dynamic


def compile_header(prefix, header, language):
    standard = {"c": "-std=c99", "c++": "-std=c++17"}[language]
    compiler = CC if language == "c" else CXX
    result = run_unchecked([compiler, "-x", language, standard, "-Wall", "-Wextra", "-Werror", "-fsyntax-only",
                          "-I", prefix.include, "-"],
                           input='#include "{}"\n'.format(header.name))
    return None if result.returncode == 0 else "{} as {}:\n{}".format(header.name, language, result.stdout)


def test_every_installed_header_compiles_from_the_prefix_alone(prefix):
    headers = sorted(prefix.include.glob("*.h"))
    assert {"DeviceBridge.h", "DataRecorder.h", "DataReader.h", "DataPlayer.h", "Bootloader.h", "RadarInterface.h",
            "matlab_wrapper.h", "matlab_recording_api.h", "protocol_identifiers.h"} <= {h.name for h in headers}
    jobs = [(header, "c++") for header in headers]
    jobs += [(header, "c") for header in headers if C_HEADERS.match(header.name)]
    with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
        failures = [f for f in pool.map(lambda job: compile_header(prefix, *job), jobs) if f]
    assert not failures, "\n".join(failures)


def test_programs_run_from_the_prefix(prefix):
    programs = sorted(path.name for path in prefix.bin.iterdir())
    assert {"module_emulator", "firmware_update"} <= set(programs)
    for program in programs:
        run([prefix.bin / program, "--help"], env={"PATH": "/usr/bin:/bin"}, timeout=60)


def build_cmake_consumer(prefix, scratch, sources):
    """Configures and builds the consumer project against the prefix, through find_package alone."""
    build = scratch / "build"
    run([CMAKE, "-S", CONSUMER_DIR, "-B", build, "-G", CMAKE_GENERATOR, "-DCMAKE_PREFIX_PATH=" + str(prefix.root),
         "-DCMAKE_C_COMPILER=" + CC, "-DCMAKE_CXX_COMPILER=" + CXX,
         "-DCONSUMER_SOURCES=" + ";".join(str(source) for source in sources)])
    run([CMAKE, "--build", build])
    return build


def test_cmake_consumer_finds_the_package_and_pings_the_emulator(prefix, scratch):
    build = build_cmake_consumer(prefix, scratch, [CONSUMER_DIR / "ping_module.cpp"])
    output = run_against_emulator(prefix, [build / "ping_module"], scratch)
    assert "firmware id: G7N420" in output


def test_cmake_package_refuses_a_newer_minor_version(prefix, scratch):
    project = scratch / "project"
    project.mkdir()
    (project / "CMakeLists.txt").write_text("cmake_minimum_required(VERSION 3.18)\nproject(wants_newer NONE)\n"
                                            "find_package(devicebridge 0.99 CONFIG REQUIRED)\n")
    result = run_unchecked([CMAKE, "-S", project, "-B", scratch / "build", "-DCMAKE_PREFIX_PATH=" + str(prefix.root)])
    assert result.returncode != 0
    assert "devicebridge" in result.stdout and VERSION in result.stdout


def pkg_config(prefix, *arguments):
    environment = dict(os.environ, PKG_CONFIG_PATH=str(prefix.pkgconfig))
    return run(["pkg-config", *arguments, "devicebridge"], env=environment).split()


def build_c_consumer(prefix, scratch, source):
    """Compiles a C program with the flags pkg-config gives for the prefix; returns the program."""
    program = scratch / source.stem
    run([CC, "-std=c99", "-Wall", "-Wextra", "-Werror", source, "-o", program, *pkg_config(prefix, "--cflags"),
         *pkg_config(prefix, "--libs"), "-Wl,-rpath," + str(prefix.lib)])
    return program


def test_pkg_config_consumer_builds_in_c_and_pings_the_emulator(prefix, scratch):
    assert pkg_config(prefix, "--modversion") == [VERSION]
    [include_flag] = pkg_config(prefix, "--cflags")
    assert os.path.realpath(include_flag[len("-I"):]) == str(prefix.include.resolve())
    program = build_c_consumer(prefix, scratch, CONSUMER_DIR / "ping_module.c")
    output = run_against_emulator(prefix, [program], scratch)
    assert "firmware id: G7N420" in output


def test_debian_package_holds_everything_and_works_unpacked(scratch):
    run([CPACK, "-G", "DEB", "--config", BUILD_DIR / "CPackConfig.cmake", "-B", scratch / "package"], timeout=900)
    packages = list((scratch / "package").glob("devicebridge_{}_*.deb".format(VERSION)))
    assert len(packages) == 1, packages
    package = packages[0]

    listed = run(["dpkg-deb", "-c", package])
    files = {line.split()[5] for line in listed.splitlines()}
    usr = Prefix("./usr")
    expected = {usr.lib / ("libdevicebridge.so." + VERSION), usr.include / "DeviceBridge.h",
                usr.include / "matlab_wrapper.h", usr.bin / "module_emulator", usr.bin / "firmware_update",
                usr.lib / "cmake/devicebridge/devicebridgeConfig.cmake", usr.pkgconfig / "devicebridge.pc"}
    expected_depends = {"libc6", "libstdc++6", "libgcc-s1", "libuuid1"}
    if os.environ.get("DEVICEBRIDGE_PYTHON_EXPECTED") == "1":
        expected.add(usr.root / "lib/python3/dist-packages/pydevicebridge/__init__.py")
        expected_depends.add("python3")
    if os.environ.get("DEVICEBRIDGE_CLI_EXPECTED") == "1":
        expected.add(usr.bin / "devicebridge")
        expected_depends.add("libserialport0")
    missing = {"./" + str(path) for path in expected} - files
    assert not missing, sorted(missing)

    depends = {name.split()[0] for name in run(["dpkg-deb", "-f", package, "Depends"]).split(",")}
    assert depends == expected_depends

    # Unpacked anywhere, the package's /usr serves as a prefix like any other.
    run(["dpkg-deb", "-x", package, scratch / "unpacked"])
    unpacked = Prefix(scratch / "unpacked" / "usr")
    program = build_c_consumer(unpacked, scratch, CONSUMER_DIR / "ping_module.c")
    assert "firmware id: G7N420" in run_against_emulator(unpacked, [program], scratch)


PYTHON_PING = """
import sys

import pydevicebridge

bridge = pydevicebridge.PythonDeviceBridge(sys.argv[1], 0)
print("pong: {:#x}".format(bridge.get_g5().ping()))
print("package:", pydevicebridge.__file__)
with open("/proc/self/maps") as maps:
    print("library:", next(line.split()[-1] for line in maps if "/libdevicebridge.so" in line))
"""


def test_python_package_imports_from_the_prefix_and_pings_the_emulator(prefix, scratch):
    if os.environ.get("DEVICEBRIDGE_PYTHON_EXPECTED") != "1":
        pytest.skip("the Python binding is not built")
    assert prefix.python_packages() == [prefix.root / "lib/python3/dist-packages"]
    script = scratch / "ping_module.py"
    script.write_text(PYTHON_PING)
    environment = dict(os.environ, PYTHONPATH=str(prefix.root / "lib/python3/dist-packages"))
    output = run_against_emulator(prefix, [PYTHON, script], scratch, environment)
    assert "pong: 0xaaeeaeea" in output
    lines = dict(line.split(": ", 1) for line in output.splitlines())
    assert lines["package"].startswith(str(prefix.root)), "imported from elsewhere"
    assert lines["library"].startswith(str(prefix.root)), "the extension loaded another library"
