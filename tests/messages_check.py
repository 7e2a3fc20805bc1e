#!/usr/bin/python3
"""Compares the raw messages of the examples with what their XML texts say must be in them.

usage: messages_check.py PROGRAM EXAMPLES
"""

import pathlib
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent / "kernel"))
import expected_messages as layout

FILES = {
    layout.RULES_TYPE: "19-rules.bin",
    layout.KEYWORDS_TYPE: "21-keywords.bin",
    layout.MAP_TYPE: "20-priorities.bin",
}


def main(program, examples):
    appdb, sortdb = (pathlib.Path(examples, name) for name in ("appdb.xml", "sortdb.xml"))
    with tempfile.TemporaryDirectory() as folder:
        image = f"{folder}/image"
        subprocess.run([program, "pack", appdb, "-o", image, "--priority", sortdb], check=True)
        for option in ([], ["--priority"]):
            subprocess.run([program, "messages", image, "--raw", folder, *option], check=True)
        expected = layout.messages(appdb.read_bytes(), sortdb.read_bytes(), port_id=0)
        wrong = [name for kind, name in FILES.items()
                 if pathlib.Path(folder, name).read_bytes() != expected[kind]]
    sys.exit(f"not as expected: {wrong}" if wrong else 0)


if __name__ == "__main__":
    main(*sys.argv[1:])
