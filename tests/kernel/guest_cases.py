"""The command line cases: runs them all in one guest, then checks one at a time.

usage: guest_cases.py list
       guest_cases.py run WORK KERNEL_DIR PACKER PROGRAM...
       guest_cases.py check WORK CASE
"""

import os
import pathlib
import shlex
import shutil
import struct
import subprocess
import sys
from dataclasses import dataclass
from typing import Optional

from expected_messages import messages, received_datagrams

HERE = pathlib.Path(__file__).resolve().parent
EXAMPLES = HERE.parents[1] / "examples"
EXAMPLE = (EXAMPLES / "appdb.xml").read_text()
PRIORITY_EXAMPLE = (EXAMPLES / "sortdb.xml").read_text()
SKIPPED = 77


def database(rules, keywords):
    """One application with so many rules and DNS keywords."""
    return ("<AppDB><appList><app><id>7</id><name>seven</name>"
            "<typeIdList><typeId>1</typeId></typeIdList><ruleList><rule><tupleList>"
            + "<tuple>tcp 0:0 0:0</tuple>" * rules + "</tupleList></rule></ruleList><dnsKwList>"
            + "<dnsKw>example</dnsKw>" * keywords + "</dnsKwList></app></appList>"
            "<appTypeList><appType><id>1</id><name>one</name></appType></appTypeList></AppDB>")


@dataclass
class Case:
    """A command run in /payload; its last argument is its image, where it has one."""

    name: str
    command: str
    stdout: str = ""
    stderr: str = ""
    status: int = 0
    database: Optional[str] = None  # the XML text packed into the image
    priority: Optional[str] = None  # and that of its priority database
    image: Optional[bytes] = None  # or the image itself
    received: Optional[tuple] = ()  # types of the messages the kernel got; None: not compared
    with_module: bool = True


LOADER = "bin/tarn-db-loader"
USAGE = "usage: tarn-db-loader <DB_FILE>\n"
SEND_FAILED = "[Error](_appmngr_readFromDatabase) 2601: send msg to kernel failed\n"
# Its LZMA properties are not valid, so that nothing can be decoded from it.
DAMAGED_IMAGE = struct.pack(">I", 22) + b"\0\xff" + bytes(20)

CASES = [
    Case("usage_without_argument", LOADER, USAGE, status=255),
    Case("usage_with_two_arguments", f"{LOADER} one two", USAGE, status=255),
    Case("path_that_does_not_open", f"{LOADER} no/such/file",
         stderr="invalid database path: no/such/file\n", status=255),
    Case("damaged_image", LOADER,
         "[ERROR][_checkXml():452]: no xml tag found.\r\n"
         "[ERROR][_initLock():78]: doc is null.\r\n"
         "[Error](_appmngr_readFromDatabase) 2585: Analyze database failed\n",
         image=DAMAGED_IMAGE),
    Case("load", LOADER, database=EXAMPLE, received=(19, 21)),
    Case("no_dns_keywords", LOADER,
         "[Error](_appmngr_sendMsgToKernel) 2547: send db to kernel failed\n" + SEND_FAILED,
         database=database(3, 0), received=(19,)),
    # The socket takes datagrams of up to 425,952 bytes; 714 rules make 425,608.
    Case("largest_rule_table", LOADER, database=database(714, 2), received=(19, 21)),
    Case("rule_table_beyond_a_datagram", LOADER,
         "app netlink sendto fail, ret:-1\nMessage too long\n"
         "[Error](_appmngr_sendMsgToKernel) 2540: send db to kernel failed\n" + SEND_FAILED,
         database=database(715, 2)),
    Case("no_module", LOADER,
         "create socket failed: Protocol not supported\n"
         "[Error](_appmngr_sendMsgToKernel) 2532: appdist Failed to initialize handle\n"
         + SEND_FAILED, database=database(1, 1), with_module=False),
    Case("priority_check", "bin/priority_check", database=EXAMPLE, priority=PRIORITY_EXAMPLE,
         received=(20,)),
    # A second handle of the process finds its port id taken, once for each protocol.
    Case("receive_check", "bin/receive_check", "Here?\nHere?\n", received=None),
]


def write_image(case, path, packer):
    if case.image is not None:
        path.write_bytes(case.image)
    else:
        xml = path.with_suffix(".xml")
        xml.write_text(case.database)
        command = [packer, "pack", xml, "-o", path]
        if case.priority is not None:
            priority_xml = path.with_suffix(".priority.xml")
            priority_xml.write_text(case.priority)
            command += ["--priority", priority_xml]
        subprocess.run(command, check=True)


def write_payload(payload, packer, programs):
    (payload / "bin").mkdir(parents=True)
    for program in programs:
        shutil.copy(program, payload / "bin")
    run = {False: [], True: ["insmod /tarn_sink.ko"]}
    for case in CASES:
        words = ["run_case", case.name, *shlex.split(case.command)]
        if case.database is not None or case.image is not None:
            words.append(f"{case.name}.img")
            write_image(case, payload / words[-1], packer)
        run[case.with_module].append(shlex.join(words))
    (payload / "run").write_text("\n".join(run[False] + run[True]) + "\n")


def skip(reason):
    """Without a guest the tests are skipped, except where they must not be."""
    print(reason)
    return 1 if os.environ.get("CI") == "true" else SKIPPED


def run_all(work, kernel, packer, *programs):
    shutil.rmtree(work, ignore_errors=True)
    work.mkdir(parents=True)
    fetched = subprocess.run([HERE / "fetch-kernel", kernel], stderr=subprocess.PIPE, text=True)
    if fetched.returncode == SKIPPED:
        (work / "skipped").write_text(fetched.stderr)
        return skip(fetched.stderr)
    sys.stderr.write(fetched.stderr)
    fetched.check_returncode()
    write_payload(work / "payload", packer, programs)
    return subprocess.run([HERE / "boot", kernel, work / "payload", work / "results"]).returncode


def received_differences(case, results):
    port_id = int((results / "pid").read_text())
    expected = messages(case.database, case.priority, port_id) if case.received else {}
    wanted = [(22, port_id, expected[kind]) for kind in case.received]
    found = received_datagrams(results / "received") if case.with_module else []
    if len(found) != len(wanted):
        yield f"received {len(found)} messages instead of {len(wanted)}"
    for number, (got, want) in enumerate(zip(found, wanted)):
        if got != want:
            same = len(os.path.commonprefix([got[2], want[2]]))
            yield f"message {number}: (protocol, port id) {got[:2]} instead of {want[:2]}, " \
                  f"{len(got[2])} bytes instead of {len(want[2])}, the first {same} alike"


def differences(case, results):
    for name in "stdout", "stderr", "status":
        want = f"{case.status}\n" if name == "status" else getattr(case, name)
        got = (results / name).read_bytes().decode(errors="backslashreplace")
        if got != want:
            yield f"{name}: {got!r} instead of {want!r}"
    if case.received is not None:
        yield from received_differences(case, results)


def check(work, name):
    if (work / "skipped").exists():
        return skip((work / "skipped").read_text())
    case = next(case for case in CASES if case.name == name)
    found = list(differences(case, work / "results" / name))
    print(f"{name}: {'FAIL' if found else 'PASS'}", *found, sep="\n")
    return 1 if found else 0


def main(action, work="", *arguments):
    if action == "list":
        print(*(case.name for case in CASES), sep=";", end="")
        return 0
    return {"run": run_all, "check": check}[action](pathlib.Path(work), *arguments)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
