# Runs the command line cases in one guest, and tells which had other results than they should.
#
# usage: guest_cases.py WORK KERNEL_DIR TARN-DB-TOOL PROGRAM...

import os
import pathlib
import re
import shlex
import shutil
import struct
import subprocess
import sys
from dataclasses import dataclass

PROJECT = pathlib.Path(__file__).resolve().parents[2]
GUEST = PROJECT / "guest"
EXAMPLE = (PROJECT / "examples/appdb.xml").read_text()
SKIPPED = 77


# One application with so many rules and DNS keywords.
def database(rules, keywords):
    return ("<AppDB><appList><app><id>7</id><name>seven</name>"
            "<typeIdList><typeId>1</typeId></typeIdList><ruleList><rule><tupleList>"
            + "<tuple>tcp 0:0 0:0</tuple>" * rules + "</tupleList></rule></ruleList><dnsKwList>"
            + "<dnsKw>example</dnsKw>" * keywords + "</dnsKwList></app></appList>"
            "<appTypeList><appType><id>1</id><name>one</name></appType></appTypeList></AppDB>")


# A command run in /payload; its last argument is its image, NAME.img.
@dataclass
class Case:
    name: str
    command: str
    stdout: str = ""
    text: str = EXAMPLE  # of the application database in its image
    received: tuple | None = ()  # types of the messages the kernel got; None: not compared
    module: str = "receives"
    meanwhile: str = ""  # commands that are run again and again while the case runs
    stderr: str = ""
    log: str = ""  # of the module
    status: int = 0
    image_size: int | None = None  # of what is left of it


MODULE = {
    "none": "true",
    "refuses": "insmod /tarn_sink.ko refuse=1",
    "answers": "rmmod tarn_sink; insmod /tarn_sink.ko refuse=2",  # by an error
    "receives": "rmmod tarn_sink; insmod /tarn_sink.ko",
}

LOADER, WRAPPER, UNIT = "bin/tarn-db-loader", "bin/tarn-db-load", "bin/run_unit"
INIT_SCRIPT = "sh -c 'TARN_DB_FILE=$0 bin/tarn-db-load.init start'"  # its lines go to syslog
# The allocator keeps nothing back, so that a byte that is not freed shows.
REPEAT = "env GLIBC_TUNABLES=glibc.malloc.tcache_count=0 bin/repeat_load"

# What a load prints when it fails.
LOAD, UPLOAD = "[Error](_appmngr_readFromDatabase) ", "[Error](_appmngr_sendMsgToKernel) "
SEND_FAILED = f"{LOAD}2601: send msg to kernel failed\n"
READ_FAILED = f"{LOAD}2569: _appmngr_readAppDb failed\n"
EMPTY = f'[Error](_appmngr_readAppDb) 2167: Size of buffer "204800" is too small.\n{READ_FAILED}'
GONE = f"read db flash fail\n: No such file or directory\n{READ_FAILED}"
ABSENT = ("create socket failed: Protocol not supported\n"
          f"{UPLOAD}2532: appdist Failed to initialize handle\n{SEND_FAILED}")
DAMAGED = ("[ERROR][_subXml():367]: error xml tag.\r\n" + "[ERROR][_subXml():359]: error xml tag.\r\n" * 6
           + "[ERROR][_checkXml():441]: error xml tag.\r\n[ERROR][_initLock():78]: doc is null.\r\n"
           f"{LOAD}2585: Analyze database failed\n")
NO_KEYWORD = f"{UPLOAD}2547: send db to kernel failed\n{SEND_FAILED}"
REFUSED, TOO_LONG = (f"app netlink sendto fail, ret:-1\n{reason}\n"
                     f"{UPLOAD}2540: send db to kernel failed\n{SEND_FAILED}"
                     for reason in ("Connection refused", "Message too long"))


# What send_malformed sends; -22 is EINVAL, -95 EOPNOTSUPP.
REJECTED = [(size, -22) for size in (65, 15, 63, 660, 661, 662, 663, 664)] + [(665, -95)]


# What repeat_load prints when its loads had these outputs.
def all_of(*outputs):
    return "".join("--\n" + output for output in sorted(outputs))


CASES = [
    Case("wrapped_no_module", WRAPPER, module="none", received=None, stderr=ABSENT, status=7),
    Case("wrapped_load", WRAPPER, received=(19, 21)),
    Case("wrapped_damaged_image", WRAPPER, stderr=DAMAGED, status=5, image_size=1000),
    Case("init_script_no_module", INIT_SCRIPT, module="none", received=None, status=7),
    Case("init_script", INIT_SCRIPT, received=(19, 21)),
    Case("init_script_damaged_image", INIT_SCRIPT, status=5, image_size=1000),
    Case("unit_no_module", UNIT, module="none", received=None, status=7),
    Case("unit", UNIT, received=(19, 21)),
    Case("unit_damaged_image", UNIT, status=5, image_size=1000),
    Case("update", "sh -c 'tarn-db-load $0 && sync && mv $0 appdb.img'", received=(19, 21)),
    Case("malformed_messages", "bin/send_malformed", received=None,
         log="".join(f"tarn_sink: rejected {size} bytes: {error}\n" for size, error in REJECTED)),
    Case("load", LOADER, received=(19, 21)),
    Case("load_answered", LOADER, received=(19, 21), module="answers"),
    Case("no_dns_keywords", LOADER, NO_KEYWORD, text=database(3, 0), received=(19,)),
    # The socket takes datagrams of up to 425,952 bytes; 714 rules make 425,608.
    Case("largest_rule_table", LOADER, text=database(714, 2), received=(19, 21)),
    Case("rule_table_beyond_a_datagram", LOADER, TOO_LONG, text=database(715, 2)),
    Case("priority", f"{REPEAT} priority 1 1", all_of(""), received=(20,)),
    Case("loads_in_a_row", f"{REPEAT} application 1000 1", all_of(""), received=None),
    Case("refused_load", LOADER, REFUSED, module="refuses"),
    Case("changing_file", f"{REPEAT} application 300 3", all_of("", EMPTY, GONE), received=None,
         meanwhile="f=changing_file.img; : >$f; rm $f; cp load.img new; mv new $f"),
    Case("module_comes_and_goes", f"{REPEAT} application 300 3", all_of("", ABSENT, REFUSED),
         received=None,
         meanwhile="insmod /tarn_sink.ko refuse=1; rmmod tarn_sink; insmod /tarn_sink.ko;"
                   "rmmod tarn_sink"),
]


# netlink protocol, port id, length, as the module writes them before a datagram.
DATAGRAM = struct.Struct("<III")


# The messages of those types for an image, as the tool makes them, with the sender's port id.
def messages(folder, types, port_id):
    files = [next(folder.glob(f"{kind}-*")).read_bytes() for kind in types]
    return [file[:12] + struct.pack("<I", port_id) + file[16:] for file in files]


# (protocol, sender's port id, bytes) of each, from the file that the guest's module filled.
def received_datagrams(path):
    data, datagrams = path.read_bytes(), []
    while data:
        protocol, port_id, size = DATAGRAM.unpack_from(data)
        end = DATAGRAM.size + size
        datagrams.append((protocol, port_id, data[DATAGRAM.size : end]))
        data = data[end:]
    return datagrams


def write_payload(payload, tool, programs):
    (payload / "bin").mkdir(parents=True)
    for program in programs:
        shutil.copy(program, payload / "bin")
    run = {module: [command] for module, command in MODULE.items()}
    for case in CASES:
        words = ["run_case", case.name, *shlex.split(case.command)]
        if case.meanwhile:
            words = ["meanwhile", case.meanwhile, *words]
        words.append(f"{case.name}.img")
        image = payload / words[-1]
        subprocess.run([tool, "pack", "--force", "-", "-o", image, "--priority",
                        PROJECT / "examples/sortdb.xml"], input=case.text, text=True, check=True)
        sent = payload.parent / "messages" / case.name
        sent.mkdir(parents=True)
        for options in ([], ["--priority"]):
            subprocess.run([tool, "messages", *options, "--raw", sent, image], check=True)
            text = subprocess.run([tool, "messages", *options, image], check=True,
                                  stdout=subprocess.PIPE, text=True).stdout
            for kind, message in re.findall(r"(?sm)^(?=Message (\d+))(.*?\n)(?=\nMessage|\Z)", text):
                (sent / f"{kind}.txt").write_text(message)
        if case.image_size:
            os.truncate(image, case.image_size)
        run[case.module].append(shlex.join(words))
    (payload / "run").write_text("\n".join(sum(run.values(), [])) + "\n")


def differences(case, work):
    results = work / "results" / case.name
    wanted = {"stdout": case.stdout, "stderr": case.stderr, "status": f"{case.status}\n",
              "log": case.log}
    for name, want in wanted.items():
        got = (results / name).read_bytes().decode(errors="backslashreplace")
        if got != want:
            yield f"{name}: {got!r} instead of {want!r}"
    if case.received is not None:
        got = received_datagrams(results / "received")
        port_id = got[0][1] if got else 0
        sent_files = work / "messages" / case.name
        sent = messages(sent_files, case.received, port_id)
        want = [(22, port_id, message) for message in sent]
        if got != want:
            # Protocol, port id and length of each.
            sizes = [[(*row[:2], len(row[2])) for row in rows] for rows in (got, want)]
            yield "received: {} instead of {}, or with other bytes".format(*sizes)
        shown = "\n".join((sent_files / f"{kind}.txt").read_text() for kind in case.received)
        if got and (results / "messages").read_text() != shown.replace("pid 0", f"pid {port_id}"):
            yield "the module shows other messages than tarn-db-tool"


def main(work, kernel, tool, *programs):
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
    write_payload(work / "payload", tool, programs)
    subprocess.run([GUEST / "boot", kernel, work / "payload", work / "results"], check=True)
    found = {case.name: list(differences(case, work)) for case in CASES}
    for name, wrong in found.items():
        print(f"{name}: {'FAIL' if wrong else 'PASS'}", *wrong, sep="\n    ")
    return 1 if any(found.values()) else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
