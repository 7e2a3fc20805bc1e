#!/usr/bin/python3
"""Compares the raw messages of the examples, and of random variants of them, with what their XML
texts say must be in them.

usage: messages_check.py PROGRAM EXAMPLES
"""

import pathlib
import random
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent / "kernel"))
import expected_messages as layout

FILES = {
    layout.RULES_TYPE: "19-rules.bin",
    layout.KEYWORDS_TYPE: "21-keywords.bin",
    layout.MAP_TYPE: "20-priorities.bin",
}


def variant(xml):
    """The database with records left out and in another order, and with other values."""
    root = ElementTree.fromstring(xml)
    for element in list(root.iter()):
        if root.tag == "AppDB" and element.tag in ("appList", "ruleList", "tupleList", "dnsKwList"):
            element[:] = random.sample(list(element), random.randint(1, len(element)))
        elif element.tag in ("dnsKw", "dpiType", "dpiCode"):
            element.text = "".join(random.choices("ab<>&\u00e9\u20ac", k=random.randint(1, 150)))
        elif element.tag in ("enable", "start", "end", "minlength"):
            element.text = str(random.randint(-(2**31), 2**31 - 1))
        elif element.tag in ("prio", "appId"):
            element.text = str(random.randrange(256))
    return ElementTree.tostring(root, encoding="utf-8")


def wrong_files(program, appdb, sortdb):
    """Packs the two texts and names the files of messages that are not as expected."""
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        texts, image = (folder / "appdb.xml", folder / "sortdb.xml"), folder / "image"
        for path, text in zip(texts, (appdb, sortdb)):
            path.write_bytes(text)
        subprocess.run([program, "pack", texts[0], "-o", image, "--priority", texts[1]], check=True)
        for option in ([], ["--priority"]):
            subprocess.run([program, "messages", image, "--raw", folder, *option], check=True)
        expected = layout.messages(appdb, sortdb, port_id=0)
        return [name for kind, name in FILES.items()
                if (folder / name).read_bytes() != expected[kind]]


def main(program, examples):
    examples = [pathlib.Path(examples, name).read_bytes() for name in ("appdb.xml", "sortdb.xml")]
    random.seed(1)
    for number in range(40):
        texts = [variant(text) for text in examples] if number > 0 else examples
        wrong = wrong_files(program, *texts)
        if wrong:
            sys.exit(f"variant {number}: not as expected: {wrong}")


if __name__ == "__main__":
    main(*sys.argv[1:])
