#!/usr/bin/python3
# Holds documents that tarn-db-tool prints against their forms: show --json against its schema, a
# SARIF log of check against the classes that were made from the schema of SARIF 2.1.0.
#
# usage: report_check.py TARN-DB-TOOL

import copy
import json
import pathlib
import subprocess
import sys

import jsonschema
import sarif_om

# The classes of the parts of a log.
PARTS = {
    "runs": sarif_om.Run, "tool": sarif_om.Tool, "driver": sarif_om.ToolComponent,
    "rules": sarif_om.ReportingDescriptor, "defaultConfiguration": sarif_om.ReportingConfiguration,
    "shortDescription": sarif_om.MultiformatMessageString, "help": sarif_om.MultiformatMessageString,
    "results": sarif_om.Result, "message": sarif_om.Message, "locations": sarif_om.Location,
    "relatedLocations": sarif_om.Location, "physicalLocation": sarif_om.PhysicalLocation,
    "artifactLocation": sarif_om.ArtifactLocation, "region": sarif_om.Region,
}

FAULTY = "<AppDB><!-- x --><appList><app><id>1</id><name>n</name></app></appList></AppDB>"
UNCLOSED = "<AppDB>\n<appList>\n</AppDB>"


def printed(tool, arguments, text=""):
    run = subprocess.run([tool, *arguments], input=text, capture_output=True, text=True)
    return json.loads(run.stdout)


# Raises TypeError for a part with another member, or without one that it needs.
def build(part, kind):
    names = {field.metadata["schema_property_name"]: field.name for field in kind.__attrs_attrs__}
    members = {}
    for name, value in part.items():
        if name not in names:
            raise TypeError(f"{kind.__name__} has no {name}")
        for item in value if isinstance(value, list) else [value]:
            if isinstance(item, dict):
                build(item, PARTS[name])
        members[names[name]] = value
    assert members.get("level", "error") in ("error", "warning"), members
    return kind(**members)


def check_log(log):
    assert log["version"] == "2.1.0", log["version"]
    build(log, sarif_om.SarifLog)
    for run in log["runs"]:
        assert run["columnKind"] in ("unicodeCodePoints", "utf16CodeUnits"), run["columnKind"]
        for result in run["results"]:
            rule = run["tool"]["driver"]["rules"][result["ruleIndex"]]
            assert rule["id"] == result["ruleId"], result
            assert rule["help"]["text"].startswith("### " + rule["id"] + "\n"), rule
            region = result["locations"][0]["physicalLocation"]["region"]
            assert region["startLine"] >= 1 and region["startColumn"] >= 1


def main(tool):
    for text in FAULTY, UNCLOSED:
        log = printed(tool, ["check", "--format", "sarif", "-"], text)
        check_log(log)
        assert log["runs"][0]["results"], "no finding"
        wrong = copy.deepcopy(log)
        del wrong["runs"][0]["results"][0]["message"]
        try:
            check_log(wrong)
            raise AssertionError("a log without a message passes")
        except TypeError:
            pass
    schema = json.loads(pathlib.Path("schema/show.schema.json").read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    for example, parts in ("appdb", {"application"}), ("sortdb", {"priority"}):
        document = printed(tool, ["show", "--json", f"examples/{example}.xml"])
        assert set(document) == parts, example
        validator.validate(document)
        for part in document.values():
            part["vers"] = part.pop("ver")
        assert not validator.is_valid(document), "a wrong member passes"


if __name__ == "__main__":
    main(sys.argv[1])
