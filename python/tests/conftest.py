"""Databases to test on. MERSOLA_TOOL names the command-line tool, MERSOLA_LIBRARY the library."""
import math
import os
import random
import struct
import subprocess
import wave

import pytest

import mersola

TOOL = os.environ["MERSOLA_TOOL"]


def tool(*arguments):
    return subprocess.run([TOOL, *map(str, arguments)], check=True, capture_output=True, text=True).stdout


@pytest.fixture(scope="session")
def recorded(tmp_path_factory):
    """What the tool records from five seconds of a sound, one after another in two measurements."""
    folder = tmp_path_factory.mktemp("recorded")
    sound, noise = folder / "sound.wav", random.Random(1)
    with wave.open(str(sound), "wb") as file:
        file.setparams((1, 2, 16000, 0, "NONE", ""))
        file.writeframes(b"".join(
            struct.pack("<h", int(noise.gauss(0, 1500) * (1.2 + math.sin(i / 9000)))) for i in range(80000)))
    path = folder / "noise.db"
    tool("init", path)
    for name, start in ("Summer", "2026-11-01 07:30:00.125"), ("Autumn", "2026-11-01 07:30:10"):
        tool("record", path, sound, "--instrument", "Garden", "--measurement", name, "--period", "100ms",
             "--start", start, "--trigger", "LAeq>74", "--hold", "300ms")
    return path


@pytest.fixture(params=["rows", "packed"])
def empty(request, tmp_path):
    path = tmp_path / "empty.db"
    tool("init", path, "--layout", request.param)
    return path


@pytest.fixture
def db(empty):
    with mersola.open(empty) as opened:
        yield opened
