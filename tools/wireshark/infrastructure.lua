-- Shows the packet link of docs/protocol.md in Wireshark and tshark.
--   wireshark -X lua_script:infrastructure.lua
-- A link is recognised by its port (preference infrastructure.port), or by a first packet whose header
-- and text fit. Packets are reassembled from TCP segments, and bytes that begin no packet are
-- skipped as a receiver skips them; but a size above the preference infrastructure.largest is taken
-- for garbage here, while a receiver would wait.

local HEADER_BYTES = 8
local TEXT_OFFSET = 12
local JSON_TYPE = 0x1010

-- types: tools/protocol_tables.py
local TYPE_NAMES = {
    [0x1010] = "SerialisableData",
    [0x1011] = "EyeVerticalHistogram",
    [0x1012] = "EyeHorizontalHistogram",
    [0x1013] = "PpmMeters",
    [0x1014] = "PeakHoldMeters",
    [0x1015] = "PhaseMeters",
    [0x1016] = "InstantPeakDbMeters",
    [0x1017] = "InstantPeakLinearMeters",
    [0x1018] = "ST337DolbyDetect",
    [0x1019] = "RawSdiSampleGrid",
    [0x101a] = "RawSdiJitterSpectrum",
    [0x101b] = "JitterVerticalHistogram",
    [0x101c] = "VideoPitHistogram",
    [0x101d] = "AudioPitHistogram",
    [0x101e] = "AncPitHistogram",
    [0x101f] = "AncillaryStatus",
    [0x1020] = "AudioChannelStatus",
    [0x1021] = "AesPresence",
    [0x1022] = "TeletextRaw",
    [0x1023] = "EyeWindowedVerticalHistogram",
    [0x1024] = "VideoIp2110_21",
    [0x1025] = "PtpMediaLatency",
    [0x1026] = "Captions608bytePairs",
    [0x1027] = "RefVsPtp",
    [0x1028] = "SCTE104Raw",
    [0x1029] = "LoudnessEngineRaw",
}
local SUB_TYPES = { [0x101d] = 1, [0x101e] = 3 } -- of all others 0
-- end of types

local link = Proto("infrastructure", "Packet Link")

local fields = {
    type = ProtoField.uint16("infrastructure.type", "Type", base.HEX, TYPE_NAMES),
    sub_type = ProtoField.uint16("infrastructure.sub_type", "Sub type"),
    size = ProtoField.uint32("infrastructure.size", "Payload size"),
    class = ProtoField.string("infrastructure.class", "Class"),
    path = ProtoField.string("infrastructure.path", "Path"),
    client_id = ProtoField.string("infrastructure.client_id", "Client ID"),
    packet_id = ProtoField.int32("infrastructure.packet_id", "Packet ID"),
    last = ProtoField.string("infrastructure.last", "Last"),
    length = ProtoField.uint32("infrastructure.length", "Length of text"),
    text = ProtoField.string("infrastructure.text", "Text"),
    payload = ProtoField.bytes("infrastructure.payload", "Payload"),
    garbage = ProtoField.bytes("infrastructure.garbage", "Bytes that begin no packet"),
}
link.fields = fields

link.prefs.port = Pref.uint("TCP port", 4010, "Port of the server; 0 for none")
link.prefs.largest = Pref.uint("Largest payload", 64 * 1024 * 1024,
    "A header with a larger size begins no packet")

-- The scalar members of the object that a text holds: by key the value, and the place and size of
-- its text. Any bytes will do.
local function scan_json(text)
    local members, depth, key, at = {}, 0, nil, 1
    while true do
        at = text:find('["{}%[%],%w%-]', at)
        if not at then
            return members
        end
        local first = text:sub(at, at)
        local last = at
        local value
        if first == '"' then
            last = at + 1
            while true do
                last = text:find('["\\]', last)
                if not last then
                    return members
                end
                if text:sub(last, last) == '"' then
                    break
                end
                last = last + 2
            end
            value = text:sub(at + 1, last - 1)
        elseif first == "{" or first == "[" then
            depth = depth + 1
        elseif first == "}" or first == "]" then
            depth = depth - 1
        elseif first ~= "," then
            value = text:match("^[%w%.%+%-]+", at)
            last = at + #value - 1
        end
        if depth == 1 and first == "," then
            key = nil
        elseif depth == 1 and value and not key then
            key = value
        elseif depth == 1 and value and not members[key] then
            members[key] = { value = value, at = at, size = last - at + 1 }
        end
        at = last + 1
    end
end

-- The packet's header at an offset: type, sub type and size; nothing where no packet begins.
local function parse_header(buffer, offset)
    local type = buffer(offset, 2):uint()
    local size = buffer(offset + 4, 4):uint()
    if TYPE_NAMES[type] and size <= link.prefs.largest then
        return type, buffer(offset + 2, 2):uint(), size
    end
end

-- Shows a member and gives its text, with replacement characters for what is no UTF-8.
local function add_member(tree, field, member, buffer, offset)
    if not member then
        return nil
    end
    local from = offset + member.at - 1
    local range = buffer(from, member.size)
    local text = range:string(ENC_UTF_8)
    if text:sub(1, 1) == '"' then
        text = text:sub(2, -2):gsub('\\(["\\/])', "%1")
    end
    tree:add(field, range, text)
    return text
end

-- Shows the text of a JSON packet, and gives what is worth a word in the list.
local function show_text(buffer, offset, size, pinfo, tree)
    local text = size > 0 and buffer(offset, size):raw() or ""
    local members = scan_json(text)
    local client_id = members.ClientID or members.ClientId
    local class = add_member(tree, fields.class, members.Class, buffer, offset)
    local path = add_member(tree, fields.path, members.Path, buffer, offset)
    add_member(tree, fields.client_id, client_id, buffer, offset)
    local packet_id = members.PacketID
    local number = packet_id and tonumber(packet_id.value)
    if number and number == math.floor(number) and math.abs(number) < 2 ^ 31 then
        tree:add(fields.packet_id, buffer(offset + packet_id.at - 1, packet_id.size), number)
    else
        number = nil
    end

    local last = add_member(tree, fields.last, members.Last, buffer, offset)

    if size > 0 then
        local json = Dissector.get("json")
        local shown = json and pcall(json.call, json, buffer(offset, size):tvb(), pinfo, tree)
        if not shown then
            tree:add(fields.text, buffer(offset, size))
        end
    end
    local words = { class or "JSON without class", path }
    if number then
        words[#words + 1] = string.format("write %d", number)
    end
    if last == "true" then
        words[#words + 1] = "last"
    end
    return table.concat(words, " ")
end

-- Shows a packet of which `held` bytes have arrived, and gives its words for the list.
local function show_packet(buffer, offset, held, pinfo, root)
    local type, _, size = parse_header(buffer, offset)
    local tree = root:add(link, buffer(offset, held))
    tree:add(fields.type, buffer(offset, 2))
    tree:add(fields.sub_type, buffer(offset + 2, 2))
    tree:add(fields.size, buffer(offset + 4, 4))
    local words = TYPE_NAMES[type]
    if type == JSON_TYPE and held >= TEXT_OFFSET then
        tree:add(fields.length, buffer(offset + HEADER_BYTES, 4))
        words = show_text(buffer, offset + TEXT_OFFSET, held - TEXT_OFFSET, pinfo, tree)
        pinfo.cols.protocol = "Packet Link" -- the JSON dissector has put its own name there
    elseif held > HEADER_BYTES then
        tree:add(fields.payload, buffer(offset + HEADER_BYTES, held - HEADER_BYTES))
    end
    if held < HEADER_BYTES + size then
        words = words .. " (cut)"
    end
    tree:append_text(", " .. words)
    return words
end

-- How many bytes from an offset on begin no packet, as far as can be seen.
local function count_garbage(buffer, offset)
    local at = offset
    while buffer:len() - at >= HEADER_BYTES and not parse_header(buffer, at) do
        at = at + 1
    end
    return at - offset
end

function link.dissector(buffer, pinfo, root)
    local all = {}
    local offset = 0
    pinfo.cols.protocol = "Packet Link"
    while offset < buffer:len() do
        local garbage = count_garbage(buffer, offset)
        if garbage > 0 then
            root:add(link, buffer(offset, garbage)):add(fields.garbage, buffer(offset, garbage))
            all[#all + 1] = string.format("%d bytes of no packet", garbage)
            offset = offset + garbage
        end
        local left = buffer:len() - offset
        local wanted = HEADER_BYTES
        if left >= HEADER_BYTES then
            local _, _, size = parse_header(buffer, offset)
            wanted = HEADER_BYTES + size
        end
        if left < wanted and pinfo.can_desegment > 0 then
            pinfo.desegment_offset = offset
            pinfo.desegment_len =
                left < HEADER_BYTES and DESEGMENT_ONE_MORE_SEGMENT or wanted - left
            break
        elseif left >= HEADER_BYTES then
            local held = math.min(left, wanted)
            all[#all + 1] = show_packet(buffer, offset, held, pinfo, root)
            offset = offset + held
        else
            break
        end
    end
    if #all > 0 then
        pinfo.cols.info = table.concat(all, ", ")
    end
    return buffer:len()
end

-- A stream whose first bytes are a packet that no other protocol is likely to begin with.
link:register_heuristic("tcp", function(buffer, pinfo, root)
    if buffer:len() < HEADER_BYTES then
        return false
    end
    local type, sub_type, size = parse_header(buffer, 0)
    if not type or sub_type ~= (SUB_TYPES[type] or 0) then
        return false
    end
    if type == JSON_TYPE and (buffer:len() <= TEXT_OFFSET or buffer(8, 4):uint() ~= size - 4 or
                              buffer(TEXT_OFFSET, 1):uint() ~= string.byte("{")) then
        return false
    end
    pinfo.conversation = link
    link.dissector(buffer, pinfo, root)
    return true
end)

local ports = DissectorTable.get("tcp.port")
local port = 0

local function register_port()
    if port ~= link.prefs.port then
        if port ~= 0 then
            ports:remove(port, link)
        end
        port = link.prefs.port
        if port ~= 0 then
            ports:add(port, link)
        end
    end
end

link.prefs_changed = register_port
register_port()
