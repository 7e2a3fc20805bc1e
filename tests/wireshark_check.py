# Has Wireshark dissect captures of messages, and compares the fields with what the tool shows.
#
# usage: wireshark_check.py TARN-DB-TOOL DISSECTOR EXAMPLES WORK

import json
import pathlib
import subprocess
import sys

RULE = ("appId", "sip", "dip", "sport", "dport", "proto")
RULE_FIELDS = ("app_id", "source_address", "destination_address", "source_port", "destination_port", "protocol")
SIGNATURE = ("enable", "start", "end", "minlength", "dpiType", "dpiCode")
SIGNATURE_FIELDS = ("enable", "start", "end", "minlength", "dpi_type", "dpi_code")
NUMBERS = {"0": "0.0.0.0", "icmp": "1", "tcp": "6", "udp": "17"}  # for what the tool shows by name


def output(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


# The values of each field in one capture, from all messages, in order.
def dissected(dissector, capture, fields):
    options = [option for field in fields for option in ("-e", f"tarn.{field}")]
    rows = output("tshark", "-X", f"lua_script:{dissector}", "-r", capture, "-T", "fields",
                  "-E", "separator=/t", "-E", "aggregator=\a", *options).splitlines()
    columns = zip(*(row.split("\t") for row in rows))
    return {field: [value for cell in column for value in cell.split("\a") if cell]
            for field, column in zip(fields, columns)}


def main(tool, dissector, examples, work):
    image, capture = pathlib.Path(work, "image"), pathlib.Path(work, "capture")
    image.parent.mkdir(exist_ok=True)
    subprocess.run([tool, "pack", f"{examples}/appdb.xml", "--priority", f"{examples}/sortdb.xml", "-o", image],
                   check=True)
    subprocess.run([tool, "messages", "--pcap", capture, image], check=True)
    rules, keywords = (message["records"]
                       for message in json.loads(output(tool, "messages", "--json", image))["messages"])
    signatures = [rule[direction] for rule in rules for direction in ("orig", "reply")]
    wanted = {field: [NUMBERS.get(rule[name], str(rule[name])) for rule in rules]
              for field, name in zip(RULE_FIELDS, RULE)}
    wanted["app_id"] += [str(keyword["appId"]) for keyword in keywords]
    wanted |= {field: [str(signature[name]) for signature in signatures]
               for field, name in zip(SIGNATURE_FIELDS, SIGNATURE)}
    wanted |= {"type": ["19", "21"], "keyword": [keyword["keyword"] for keyword in keywords]}
    found = dissected(dissector, capture, wanted)
    wrong = [f"{field}: {found[field]} instead of {wanted[field]}" for field in wanted if found[field] != wanted[field]]

    subprocess.run([tool, "messages", "--priority", "--pcap", capture, image], check=True)
    message = json.loads(output(tool, "messages", "--priority", "--json", image))["messages"][0]
    priorities = [str(entry["priority"]) for entry in message["records"]]
    if dissected(dissector, capture, ["priority"])["priority"] != priorities:
        wrong.append("other priorities")
    print(*wrong, sep="\n")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
