"""docs/python.md as a session, on the database that scripts/demo makes. MERSOLA_PICTURES names a folder
that is to get its pictures."""
import doctest
import os
import pathlib
import re
import shutil

from conftest import tool

ROOT = pathlib.Path(__file__).resolve().parents[2]


def test_the_page_shows_what_happens(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    sounds = sorted(pathlib.Path("/usr/share/sounds/alsa").glob("*.wav"))
    assert sounds, "alsa-utils is not installed"
    tool("init", "demo.db")
    for second, sound in enumerate(sounds):
        tool("record", "demo.db", sound, "--instrument", "demo", "--measurement", sound.stem)
        tool("record", "demo.db", sound, "--instrument", "speaker test", "--measurement", "one after another",
             "--period", "10ms", "--trigger", "LAeq>60", "--hold", "300ms",
             "--start", f"2026-11-01 07:30:{2 * second:02}")
    page = (ROOT / "docs/python.md").read_text()
    # Doctest ends an expected output at a blank line or prompt, not at the end of a piece.
    session = doctest.DocTestParser().get_doctest(
        "\n\n".join(re.findall(r"```python\n(.*?)```", page, re.S)), {}, "docs/python.md", None, 0)
    runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE)
    said = []
    result = runner.run(session, out=said.append)
    assert result.attempted > 40 and not result.failed, "".join(said)
    for picture in re.findall(r"\]\((python-\w+\.png)\)", page):
        assert os.path.getsize(picture) > 5000
        if "MERSOLA_PICTURES" in os.environ:
            shutil.copy(picture, os.environ["MERSOLA_PICTURES"])
