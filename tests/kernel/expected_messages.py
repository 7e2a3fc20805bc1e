"""What the kernel must receive for the databases of an image, worked out from their XML texts,
and what it did receive."""

import socket
import struct
import xml.etree.ElementTree as ElementTree

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

RULES_TYPE, MAP_TYPE, KEYWORDS_TYPE = 19, 20, 21
PROTOCOL_NUMBERS = {"tcp": 6, "udp": 17, "icmp": 1}


def cut(element, path, size):
    """The element's text, as it lies in a field of that size."""
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


def map_records(sorts):
    """One byte for each application id: the priority of the last sort that lists it."""
    priorities = [b"\0"] * 4096
    for sort in sorts:
        for app in sort.iterfind("appList/app"):
            priorities[int(app.findtext("appId"))] = bytes([int(sort.findtext("prio")) & 0xFF])
    return priorities


def messages(xml, priority_xml, port_id):
    """The message of each type that there are records for, whether or not it can be sent."""
    apps = ElementTree.fromstring(xml).findall("appList/app")
    records_of = {
        RULES_TYPE: [record for app in apps for record in rule_records(app)],
        MAP_TYPE: map_records(ElementTree.fromstring(priority_xml).findall("sortList/sort")),
        KEYWORDS_TYPE: [record for app in apps for record in keyword_records(app)],
    }
    return {kind: HEAD.pack(HEAD.size + len(b"".join(records)), kind, 1, 0, port_id, 0,
                            len(records), len(records[0])) + b"".join(records)
            for kind, records in records_of.items() if records}


def received_datagrams(path):
    """(protocol, sender's port id, bytes) of each, from the file that the guest's module filled."""
    data, datagrams = path.read_bytes(), []
    while data:
        protocol, port_id, size = DATAGRAM.unpack_from(data)
        end = DATAGRAM.size + size
        datagrams.append((protocol, port_id, data[DATAGRAM.size : end]))
        data = data[end:]
    return datagrams
