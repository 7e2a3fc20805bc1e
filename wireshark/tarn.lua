-- Wireshark: the messages to the traffic classifier, as tarn_classifier.h describes them.
--
-- Put this file into the folder of personal Lua plugins (Help, About Wireshark, Folders), or name it:
-- tshark -X lua_script:tarn.lua -r messages.pcap -V

local tarn = Proto("tarn", "Traffic classifier messages")

local types = { [19] = "rules", [20] = "priority map", [21] = "DNS keywords", [22] = "parameters" }
local protocols = { [1] = "icmp", [6] = "tcp", [17] = "udp" }

local field = {
    type = ProtoField.uint16("tarn.type", "Type", base.DEC, types),
    op = ProtoField.uint16("tarn.op", "Op"),
    count = ProtoField.uint32("tarn.count", "Records"),
    record_size = ProtoField.uint32("tarn.record_size", "Record size"),
    parameter = ProtoField.uint32("tarn.parameter", "Parameter"),
    rule = ProtoField.bytes("tarn.rule", "Rule"),
    keyword_record = ProtoField.bytes("tarn.keyword_record", "Keyword"),
    priority = ProtoField.uint8("tarn.priority", "Priority"),
    app_id = ProtoField.uint32("tarn.app_id", "Application"),
    source_address = ProtoField.ipv4("tarn.source_address", "Source address"),
    destination_address = ProtoField.ipv4("tarn.destination_address", "Destination address"),
    source_port = ProtoField.uint16("tarn.source_port", "Source port"),
    destination_port = ProtoField.uint16("tarn.destination_port", "Destination port"),
    protocol = ProtoField.uint8("tarn.protocol", "Protocol", base.DEC, protocols),
    signature = ProtoField.bytes("tarn.signature", "Signature"),
    enable = ProtoField.int32("tarn.enable", "Enabled"),
    start = ProtoField.int32("tarn.start", "Start of the segment"),
    finish = ProtoField.int32("tarn.end", "End of the segment"),
    minlength = ProtoField.int32("tarn.minlength", "Minimum length"),
    dpi_type = ProtoField.stringz("tarn.dpi_type", "Kind of pattern"),
    dpi_code = ProtoField.stringz("tarn.dpi_code", "Pattern"),
    keyword = ProtoField.stringz("tarn.keyword", "Keyword"),
}
for _, each in pairs(field) do
    table.insert(tarn.fields, each)
end

local damaged = ProtoExpert.new("tarn.damaged", "The records do not fit the message",
    expert.group.MALFORMED, expert.severity.ERROR)
tarn.experts = { damaged }

local head_size = 64

-- Integers are those of the sender's machine.
local function adder(tree, little)
    return function(which, range)
        return little and tree:add_le(which, range) or tree:add(which, range)
    end
end

local function add_signature(tree, range, name, little)
    local below = tree:add(field.signature, range):set_text(name)
    local add = adder(below, little)
    add(field.enable, range(0, 4))
    add(field.start, range(4, 4))
    add(field.finish, range(8, 4))
    add(field.minlength, range(12, 4))
    below:add_packet_field(field.dpi_type, range(16, 16), ENC_UTF_8)
    below:add_packet_field(field.dpi_code, range(32, 256), ENC_UTF_8)
end

local function add_rule(tree, range, little)
    local below = tree:add(field.rule, range):set_text("Rule")
    local add = adder(below, little)
    add(field.app_id, range(0, 4))
    below:add(field.source_address, range(4, 4))
    below:add(field.destination_address, range(8, 4))
    add(field.source_port, range(12, 2))
    add(field.destination_port, range(14, 2))
    below:add(field.protocol, range(16, 1))
    add_signature(below, range(20, 288), "Original direction", little)
    add_signature(below, range(308, 288), "Reply direction", little)
end

local function add_keyword(tree, range, little)
    local below = tree:add(field.keyword_record, range):set_text("Keyword")
    adder(below, little)(field.app_id, range(0, 4))
    below:add_packet_field(field.keyword, range(4, 16), ENC_UTF_8)
end

local records = {
    [19] = { size = 596, add = add_rule },
    [21] = { size = 20, add = add_keyword },
}

function tarn.dissector(buffer, packet, root)
    if buffer:len() < head_size then
        return 0
    end
    packet.cols.protocol = "TARN"
    local little = buffer(0, 4):le_uint() <= buffer:reported_len()
    local kind = little and buffer(4, 2):le_uint() or buffer(4, 2):uint()
    local count = little and buffer(20, 4):le_uint() or buffer(20, 4):uint()
    packet.cols.info = string.format("%s, %d", types[kind] or "unknown message", count)

    local tree = root:add(tarn, buffer())
    local add = adder(tree, little)
    add(field.type, buffer(4, 2))
    add(field.op, buffer(16, 2))
    add(field.count, buffer(20, 4))
    add(field.record_size, buffer(24, 4))
    add(field.parameter, buffer(28, 4))
    add(field.parameter, buffer(32, 4))

    -- A capture may be cut off behind as much as a reader takes.
    local record = records[kind]
    if record and head_size + count * record.size ~= buffer:reported_len() then
        tree:add_proto_expert_info(damaged)
        return buffer:len()
    end
    for at = head_size, buffer:len() - 1, record and record.size or 1 do
        if kind == 20 and buffer(at, 1):uint() ~= 0 then
            tree:add(field.priority, buffer(at, 1))
                :append_text(string.format(", application %d", at - head_size))
        elseif record and at + record.size <= buffer:len() then
            record.add(tree, buffer(at, record.size), little)
        end
    end
    return buffer:len()
end

DissectorTable.get("netlink.protocol"):add(22, tarn)
