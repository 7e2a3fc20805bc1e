# Runs the command line cases in one guest, and tells which had other results than they should.
#
# usage: guest_cases.py WORK KERNEL_DIR PACKER PROGRAM...

import os
import pathlib
import shlex
import shutil
import socket
import struct
import subprocess
import sys
import xml.etree.ElementTree as ElementTree
from dataclasses import dataclass

PROJECT = pathlib.Path(__file__).resolve().parents[2]
GUEST = PROJECT / "guest"
EXAMPLE, SORTS = ((PROJECT / "examples" / name).read_text() for name in ("appdb.xml", "sortdb.xml"))
SKIPPED = 77


# One application with so many rules and DNS keywords.
def database(rules, keywords):
    return ("<AppDB><appList><app><id>7</id><name>seven</name>"
            "<typeIdList><typeId>1</typeId></typeIdList><ruleList><rule><tupleList>"
            + "<tuple>tcp 0:0 0:0</tuple>" * rules + "</tupleList></rule></ruleList><dnsKwList>"
            + "<dnsKw>example</dnsKw>" * keywords + "</dnsKwList></app></appList>"
            "<appTypeList><appType><id>1</id><name>one</name></appType></appTypeList></AppDB>")


# A command run in /payload; its last argument is its image.
@dataclass
class Case:
    name: str
    command: str
    stdout: str = ""
    image: str | bytes = EXAMPLE  # or the text of the application database in it
    received: tuple | None = ()  # types of the messages the kernel got; None: not compared
    module: str = "receives"
    meanwhile: str = ""  # commands that are run again and again while the case runs


MODULE = {
    "refuses": "insmod /tarn_sink.ko refuse=1",
    "answers": "rmmod tarn_sink; insmod /tarn_sink.ko refuse=2",  # by an error
    "receives": "rmmod tarn_sink; insmod /tarn_sink.ko",
}

LOADER = "bin/tarn-db-loader"
# The allocator keeps nothing back, so that a byte that is not freed shows.
REPEAT = "env GLIBC_TUNABLES=glibc.malloc.tcache_count=0 bin/repeat_load"
# Its LZMA properties are not valid, so that nothing can be decoded from it.
DAMAGED_IMAGE = b"\0\0\0\x16\0\xff" + bytes(20)

# What a load prints when it fails.
LOAD, UPLOAD = "[Error](_appmngr_readFromDatabase) ", "[Error](_appmngr_sendMsgToKernel) "
SEND_FAILED = f"{LOAD}2601: send msg to kernel failed\n"
READ_FAILED = f"{LOAD}2569: _appmngr_readAppDb failed\n"
EMPTY = f'[Error](_appmngr_readAppDb) 2167: Size of buffer "204800" is too small.\n{READ_FAILED}'
GONE = f"read db flash fail\n: No such file or directory\n{READ_FAILED}"
DAMAGED = ("[ERROR][_checkXml():452]: no xml tag found.\r\n"
           f"[ERROR][_initLock():78]: doc is null.\r\n{LOAD}2585: Analyze database failed\n")
ABSENT = ("create socket failed: Protocol not supported\n"
          f"{UPLOAD}2532: appdist Failed to initialize handle\n{SEND_FAILED}")
NO_KEYWORD = f"{UPLOAD}2547: send db to kernel failed\n{SEND_FAILED}"
REFUSED, TOO_LONG = (f"app netlink sendto fail, ret:-1\n{reason}\n"
                     f"{UPLOAD}2540: send db to kernel failed\n{SEND_FAILED}"
                     for reason in ("Connection refused", "Message too long"))


# What repeat_load prints when its loads had these outputs.
def all_of(*outputs):
    return "".join("--\n" + output for output in sorted(outputs))


CASES = [
    Case("damaged_image", LOADER, DAMAGED, image=DAMAGED_IMAGE),
    Case("load", LOADER, received=(19, 21)),
    Case("load_answered", LOADER, received=(19, 21), module="answers"),
    Case("no_dns_keywords", LOADER, NO_KEYWORD, image=database(3, 0), received=(19,)),
    # The socket takes datagrams of up to 425,952 bytes; 714 rules make 425,608.
    Case("largest_rule_table", LOADER, image=database(714, 2), received=(19, 21)),
    Case("rule_table_beyond_a_datagram", LOADER, TOO_LONG, image=database(715, 2)),
    Case("priority", f"{REPEAT} priority 1 1", all_of(""), received=(20,)),
    Case("loads_in_a_row", f"{REPEAT} application 1000 1", all_of(""), received=None),
    Case("refused_load", LOADER, REFUSED, module="refuses"),
    Case("changing_file", f"{REPEAT} application 300 4", all_of("", DAMAGED, EMPTY, GONE),
         received=None,
         meanwhile="f=changing_file.img; echo tail >>$f; truncate -s 18 $f; cat load.img >$f;"
                   ": >$f; cat damaged_image.img >$f; rm $f; cp load.img new; mv new $f"),
    Case("module_comes_and_goes", f"{REPEAT} application 300 3", all_of("", ABSENT, REFUSED),
         received=None,
         meanwhile="insmod /tarn_sink.ko refuse=1; rmmod tarn_sink; insmod /tarn_sink.ko;"
                   "rmmod tarn_sink"),
]


# What the kernel must receive, worked out from the XML texts, and what it did receive.
# Little-endian, as the guest is. type, flags, sequence, port id; op, count, record size.
HEAD = struct.Struct("<IHHII HxxII36x")
# netlink protocol, port id, length, as the module writes them before a datagram.
DATAGRAM = struct.Struct("<III")
# appId, sip, dip, sport, dport, proto; a feature block for each direction follows.
TUPLE = struct.Struct("<I4s4sHHB3x")
# enable, start, end, minlength, dpiType, dpiCode
FEATURES = struct.Struct("<iiii16s256s")
# appId, keyword
KEYWORD = struct.Struct("<I16s")

PROTOCOL_NUMBERS = {"tcp": 6, "udp": 17, "icmp": 1}


# The element's text, as it lies in a field of that size.
def cut(element, path, size):
    return (element.findtext(path) or "").encode()[: size - 1]


def features(rule, direction):
    names = ("enable", "segment/start", "segment/end", "minlength")
    numbers = [int(rule.findtext(f"{direction}/{name}") or 0) for name in names]
    return FEATURES.pack(*numbers, cut(rule, f"{direction}/dpiType", 16),
                         cut(rule, f"{direction}/dpiCode", 256))


def endpoint(text):
    address, port = text.split(":")
    return socket.inet_aton("0.0.0.0" if address == "0" else address), int(port)


def rule_records(app):
    for rule in app.iterfind("ruleList/rule"):
        signatures = features(rule, "ori") + features(rule, "rep")
        for element in rule.iterfind("tupleList/tuple"):
            protocol, source, destination = element.text.split()
            (sip, sport), (dip, dport) = endpoint(source), endpoint(destination)
            number = PROTOCOL_NUMBERS[protocol.lower()]
            yield TUPLE.pack(int(app.findtext("id")), sip, dip, sport, dport, number) + signatures


def keyword_records(app):
    for element in app.iterfind("dnsKwList/dnsKw"):
        yield KEYWORD.pack(int(app.findtext("id")), cut(element, ".", 16))


# One byte for each application id: the priority of the last sort that lists it.
def map_records(sorts):
    priorities = [b"\0"] * 4096
    for sort in sorts:
        for app in sort.iterfind("appList/app"):
            priorities[int(app.findtext("appId"))] = bytes([int(sort.findtext("prio")) & 0xFF])
    return priorities


# The message of each type that there are records for, whether or not it can be sent.
def messages(xml, priority_xml, port_id):
    apps = ElementTree.fromstring(xml).findall("appList/app")
    records_of = {
        19: [record for app in apps for record in rule_records(app)],
        20: map_records(ElementTree.fromstring(priority_xml).findall("sortList/sort")),
        21: [record for app in apps for record in keyword_records(app)],
    }
    return {kind: HEAD.pack(HEAD.size + len(b"".join(records)), kind, 1, 0, port_id, 0,
                            len(records), len(records[0])) + b"".join(records)
            for kind, records in records_of.items() if records}


# (protocol, sender's port id, bytes) of each, from the file that the guest's module filled.
def received_datagrams(path):
    data, datagrams = path.read_bytes(), []
    while data:
        protocol, port_id, size = DATAGRAM.unpack_from(data)
        end = DATAGRAM.size + size
        datagrams.append((protocol, port_id, data[DATAGRAM.size : end]))
        data = data[end:]
    return datagrams


def write_payload(payload, packer, programs):
    (payload / "bin").mkdir(parents=True)
    (payload / "sorts").write_text(SORTS)
    for program in programs:
        shutil.copy(program, payload / "bin")
    run = {module: [command] for module, command in MODULE.items()}
    for case in CASES:
        words = ["run_case", case.name, *shlex.split(case.command)]
        if case.meanwhile:
            words = ["meanwhile", case.meanwhile, *words]
        words.append(f"{case.name}.img")
        image = payload / words[-1]
        if isinstance(case.image, bytes):
            image.write_bytes(case.image)
        else:
            subprocess.run([packer, "pack", "-", "-o", image, "--priority", payload / "sorts"],
                           input=case.image, text=True, check=True)
        run[case.module].append(shlex.join(words))
    (payload / "run").write_text("\n".join(sum(run.values(), [])) + "\n")


def differences(case, results):
    wanted = {"stdout": case.stdout, "stderr": "", "status": "0\n"}
    for name, want in wanted.items():
        got = (results / name).read_bytes().decode(errors="backslashreplace")
        if got != want:
            yield f"{name}: {got!r} instead of {want!r}"
    if case.received is not None:
        port_id = int((results / "pid").read_text())
        want = [(22, port_id, messages(case.image, SORTS, port_id)[kind]) for kind in case.received]
        got = received_datagrams(results / "received")
        if got != want:
            # Protocol, port id and length of each.
            sizes = [[(*row[:2], len(row[2])) for row in rows] for rows in (got, want)]
            yield "received: {} instead of {}, or with other bytes".format(*sizes)


def main(work, kernel, packer, *programs):
    work = pathlib.Path(work)
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    fetched = subprocess.run([GUEST / "fetch-kernel", kernel], stderr=subprocess.PIPE, text=True)
    sys.stderr.write(fetched.stderr)
    if fetched.returncode == SKIPPED:
        # Without a guest the cases are skipped, except where they must not be.
        (work / "skipped").write_text(fetched.stderr)
        return 1 if os.environ.get("CI") == "true" else SKIPPED
    fetched.check_returncode()
    write_payload(work / "payload", packer, programs)
    subprocess.run([GUEST / "boot", kernel, work / "payload", work / "results"], check=True)
    found = {case.name: list(differences(case, work / "results" / case.name)) for case in CASES}
    for name, wrong in found.items():
        print(f"{name}: {'FAIL' if wrong else 'PASS'}", *wrong, sep="\n    ")
    return 1 if any(found.values()) else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
