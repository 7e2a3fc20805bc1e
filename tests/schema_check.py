# Holds the schemas against the linter: they accept the examples, and reject what the named check of
# tarn-db-tool finds.
#
# usage: schema_check.py TARN-DB-TOOL

import re
import subprocess
import sys

# Check, example, what is replaced in it, once, and by what.
REJECTED = [
    ("wrong-root", "appdb", r"AppDB>", "DB>"),
    ("unknown-element", "appdb", "<visible>(.*)</visible>", r"<visibel>\1</visibel>"),
    ("misplaced-element", "appdb", "</name>", r"\g<0><dpiCode>00</dpiCode>"),
    ("repeated-element", "appdb", "<ver>.*</ver>", r"\g<0>\g<0>"),
    ("empty-element", "appdb", r"<typeId>\d+", "<typeId>"),
    ("stray-text", "appdb", "<appList>", r"\g<0>text"),
    ("ignored-attribute", "appdb", "<app>", '<app id="1">'),
    ("bad-number", "appdb", "<enable>1", "<enable>yes"),
    ("visible-range", "appdb", r"<visible>\d", "<visible>7"),
    ("missing-id", "appdb", r"<id>\d+</id>", ""),
    ("late-id", "appdb", r"(?s)(<id>1</id>)(.*?</dnsKwList>)", r"\2\1"),
    ("app-id-range", "appdb", r"<id>\d+", "<id>4096"),
    ("missing-name", "appdb", "<name>.*</name>", ""),
    ("missing-version", "appdb", "<ver>.*</ver>", ""),
    ("cut-text", "appdb", "<dnsKw>", "<dnsKw>sixteen-letters-"),
    ("unclear-expiry", "appdb", "<expired>.*<", "<expired>2030-02-30<"),
    ("bad-tuple", "appdb", "<tuple>tcp", "<tuple>sctp"),
    ("rule-without-tuple", "appdb", r"(?s)<tupleList>.*?</tupleList>", ""),
    ("no-application", "appdb", r"(?s)<appList>.*</appList>", "<appList></appList>"),
    ("no-type", "appdb", r"(?s)<appTypeList>.*</appTypeList>", "<appTypeList></appTypeList>"),
    ("rejected-element", "sortdb", "<sort>", "<sort><comment>calls</comment>"),
    ("unlisted-sort", "sortdb", r"<type>\d+</type>", ""),
    ("unlisted-app", "sortdb", "<appName>.*</appName>", ""),
    ("priority-range", "sortdb", r"<prio>\d+", "<prio>256"),
    ("bad-expiry", "sortdb", "<expired>.*<", "<expired>31.12.2030<"),
    ("no-sort", "sortdb", r"(?s)<sortList>.*</sortList>", "<sortList></sortList>"),
]


def accepts(schema, text):
    return subprocess.run(["xmllint", "--noout", "--relaxng", f"schema/{schema}.rng", "-"], input=text,
                          text=True, stderr=subprocess.DEVNULL).returncode == 0


def main(tool):
    wrong = []
    for name in ("appdb", "sortdb"):
        with open(f"examples/{name}.xml") as example:
            if not accepts(name, example.read()):
                wrong.append(f"the schema rejects examples/{name}.xml")
    for check, name, pattern, replacement in REJECTED:
        with open(f"examples/{name}.xml") as example:
            text = re.sub(pattern, replacement, example.read(), count=0 if check == "wrong-root" else 1)
        found = subprocess.run([tool, "check", "-"], input=text, text=True, stdout=subprocess.PIPE).stdout
        if f"[{check}]" not in found:
            wrong.append(f"{check}: the linter finds {found}")
        if accepts(name, text):
            wrong.append(f"{check}: the schema accepts it")
    print(*wrong, sep="\n")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
