#!/usr/bin/python3
# Runs the commands that a document shows: they must succeed, and print what it says, if it does.
#
# usage: docs_check.py DOCUMENT EXAMPLES PROGRAM...
#
# Markdown: blocks fenced as "console". Manual pages: displays (".Bd" to ".Ed"). In both, a command
# follows "$ ", a here-document belongs to its command, and all else is output. The commands run one
# after the other in one scratch folder that holds the examples, a file notes.txt and a folder out.

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

BLOCKS = {".md": r"^```console\n(.*?)^```", ".1": r"^\.Bd.*?\n(.*?)^\.Ed"}
# The command, with its here-document if it has one, the end of that, the output.
COMMAND = r"^\$ (.*<<'(\w+)'.*\n(?:.*\n)*?\2\n|.*\n)((?:(?!\$ ).*\n)*)"


def main(document, examples, *programs):
    document = pathlib.Path(document)
    blocks = re.findall(BLOCKS[document.suffix], document.read_text(), re.S | re.M)
    commands = [found for block in blocks for found in re.findall(COMMAND, block, re.M)]
    folders = [str(pathlib.Path(program).resolve().parent) for program in programs]
    environment = dict(os.environ, PATH=":".join([*folders, os.environ["PATH"]]))
    wrong = 0
    with tempfile.TemporaryDirectory() as scratch:
        shutil.copytree(examples, scratch, dirs_exist_ok=True)
        shutil.copytree(examples, scratch + "/examples")
        pathlib.Path(scratch, "out").mkdir()
        pathlib.Path(scratch, "notes.txt").write_text("notes\n")
        for command, _, expected in commands:
            run = subprocess.run(["bash", "-o", "pipefail", "-c", command], cwd=scratch, env=environment, text=True,
                                 stdin=subprocess.DEVNULL, capture_output=True, timeout=60)
            if run.returncode != 0 or (expected and run.stdout != expected):
                wrong += 1
                print(f"$ {command}--- the document says:\n{expected}--- it prints:\n{run.stdout}"
                      f"--- exit status {run.returncode}, standard error:\n{run.stderr}")
    print(f"{document}: {len(commands)} commands, {wrong} wrong")
    return 1 if wrong or not commands else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
