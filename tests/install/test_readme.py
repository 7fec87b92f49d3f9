"""The README's code as a reader uses it, so that the README never rots. Every fenced block whose info string
holds "readme-test" is taken out, with the file name of its "file=" attribute, built against the installed
library and run against a fresh module emulator, started with the options of its "emulator=" attribute. A
program's arguments are those of its "args=" attribute, globbed in the scratch directory as a shell would, or
else the emulator's device alone; blocks run in the order of the README, so a later one can read what an earlier
one wrote.

- cmake: a CMakeLists.txt, configured against the prefix; it builds the C++ blocks that it names.
- cpp: a program, given the emulator's device as its one argument; built by the README's CMakeLists.txt if that
  names it, else by find_package as any consumer.
- c: the same, compiled with the flags that pkg-config gives.
- python: a script run by /usr/bin/python3 with the prefix's Python folder on PYTHONPATH, the device its argument.
- sh: commands run by bash -e with the prefix's programs on PATH and the device in $DEVICE.

All of them run in one scratch directory, where a reader would have saved them."""
import os
import pathlib
import re
import shlex
import tempfile

import pytest

from conftest import CMAKE, CMAKE_GENERATOR, CC, CXX, PYTHON, SOURCE_DIR, module_emulator, run
from test_install import build_c_consumer, build_cmake_consumer

INFO_STRING = re.compile(r"^```(\w+)\s+readme-test\b(.*)$")
RUN_SECONDS = 120


class Block:
    def __init__(self, language, attributes, text, line):
        self.language = language
        self.file = attributes.get("file")
        self.emulator = shlex.split(attributes.get("emulator", ""))
        self.arguments = shlex.split(attributes["args"]) if "args" in attributes else None
        self.text = text
        self.line = line

    def __repr__(self):
        return "{} (README.md:{})".format(self.file, self.line)


def readme_blocks():
    blocks = []
    lines = (SOURCE_DIR / "README.md").read_text().splitlines()
    number = 0
    while number < len(lines):
        match = INFO_STRING.match(lines[number])
        number += 1
        if not match:
            continue
        start = number
        while not lines[number].startswith("```"):
            number += 1
        attributes = dict(item.split("=", 1) for item in shlex.split(match.group(2)))
        blocks.append(Block(match.group(1), attributes, "\n".join(lines[start:number]) + "\n", start))
        number += 1
    return blocks


BLOCKS = readme_blocks()
RUNNABLE = [block for block in BLOCKS if block.language in ("cpp", "c", "python", "sh")]


def test_readme_has_its_quick_starts():
    languages = {block.language for block in BLOCKS}
    assert {"cmake", "cpp", "c"} <= languages
    if os.environ.get("DEVICEBRIDGE_PYTHON_EXPECTED") == "1":
        assert "python" in languages
    assert all(block.file for block in BLOCKS), [block.line for block in BLOCKS if not block.file]
    assert len({block.file for block in BLOCKS}) == len(BLOCKS), "two blocks with one file name"


@pytest.fixture(scope="session")
def workspace(prefix):
    """The scratch directory with every block saved in it and every program built."""
    with tempfile.TemporaryDirectory(prefix="devicebridge_readme_") as scratch:
        yield save_and_build(prefix, pathlib.Path(scratch))


def save_and_build(prefix, directory):
    for block in BLOCKS:
        (directory / block.file).write_text(block.text)
    programs = {}
    cmake_lists = [block for block in BLOCKS if block.language == "cmake"]
    if cmake_lists:
        build = directory / "build"
        run([CMAKE, "-S", directory, "-B", build, "-G", CMAKE_GENERATOR, "-DCMAKE_PREFIX_PATH=" + str(prefix.root),
             "-DCMAKE_C_COMPILER=" + CC, "-DCMAKE_CXX_COMPILER=" + CXX])
        run([CMAKE, "--build", build])
        programs.update({p.name: p for p in build.iterdir() if p.is_file() and os.access(p, os.X_OK)})
    others = [directory / b.file for b in BLOCKS if b.language == "cpp" and b.file[:-len(".cpp")] not in programs]
    if others:
        consumer = directory / "consumer"
        consumer.mkdir()
        build = build_cmake_consumer(prefix, consumer, others)
        programs.update({path.stem: build / path.stem for path in others})
    for block in BLOCKS:
        if block.language == "c":
            programs[block.file[:-len(".c")]] = build_c_consumer(prefix, directory, directory / block.file)
    return directory, programs


@pytest.mark.parametrize("block", RUNNABLE, ids=[block.file for block in RUNNABLE])
def test_readme_block_runs_against_the_emulator(block, prefix, workspace):
    directory, programs = workspace
    environment = dict(os.environ, PATH="{}:/usr/bin:/bin".format(prefix.bin))
    python_folders = prefix.python_packages()
    if python_folders:
        environment["PYTHONPATH"] = os.pathsep.join(map(str, python_folders))
    if block.language == "sh":
        command = ["bash", "-e", directory / block.file]
    elif block.language == "python":
        command = [PYTHON, directory / block.file]
    else:
        command = [programs[os.path.splitext(block.file)[0]]]
    if block.arguments is not None:
        print(run(command + expand(block.arguments, directory), cwd=directory, env=environment, timeout=RUN_SECONDS))
        return
    with module_emulator(prefix.bin / "module_emulator", *block.emulator) as device:
        environment["DEVICE"] = device
        if block.language != "sh":
            command.append(device)
        print(run(command, cwd=directory, env=environment, timeout=RUN_SECONDS))


def expand(arguments, directory):
    expanded = []
    for argument in arguments:
        matches = sorted(str(path.relative_to(directory)) for path in directory.glob(argument))
        expanded += matches or [argument]
    return expanded
