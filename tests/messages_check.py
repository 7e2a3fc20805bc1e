#!/usr/bin/python3
"""Compares the raw messages of the examples, and of random variants of them, with what their XML
texts say must be in them.

usage: messages_check.py PROGRAM EXAMPLES
"""

import os
import pathlib
import random
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent / "kernel"))
import expected_messages as layout

FILES = {19: "19-rules.bin", 20: "20-priorities.bin", 21: "21-keywords.bin"}


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


def main(program, examples):
    examples = [pathlib.Path(examples, name).read_bytes() for name in ("appdb.xml", "sortdb.xml")]
    random.seed(1)
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        for number in range(40):
            texts = [variant(text) for text in examples] if number > 0 else examples
            for name, text in zip(("app", "sort"), texts):
                pathlib.Path(name).write_bytes(text)
            for arguments in ("pack app -o image --priority sort", "messages image --raw .",
                              "messages image --raw . --priority"):
                subprocess.run([program, *arguments.split()], check=True)
            for kind, message in layout.messages(*texts, port_id=0).items():
                if pathlib.Path(FILES[kind]).read_bytes() != message:
                    sys.exit(f"variant {number}: {FILES[kind]} is not as expected")


if __name__ == "__main__":
    main(*sys.argv[1:])
