#include "sw/replay/PacketStream.h"

#include "infrastructure/utility/packets/RawDataPacket.h"

#include <QtEndian>

#include <cstring>

namespace {

constexpr int TEXT_OFFSET = RawDataPacketHeader::SIZE_BYTES + 4;

int skipBlanks(const QByteArray& text, int at)
{
    while (at < text.size() && std::strchr(" \t\r\n", text[at]) != nullptr && text[at] != '\0') {
        ++at;
    }
    return at;
}

/// The position of the value after a key that ends at `at`; -1 if no colon follows.
int findValue(const QByteArray& text, int at)
{
    at = skipBlanks(text, at);
    return at < text.size() && text[at] == ':' ? skipBlanks(text, at + 1) : -1;
}

} // namespace

QByteArray StreamPiece::getText() const
{
    return packetType == RawPacketType_SerialisableData ? bytes.mid(TEXT_OFFSET) : QByteArray();
}

std::vector<StreamPiece> PacketStream::take(const QByteArray& arrived)
{
    waiting.append(arrived);
    std::vector<StreamPiece> pieces;
    int begin = 0; // of the bytes that belong to no piece yet
    int at = 0;
    while (waiting.size() - at >= RawDataPacketHeader::SIZE_BYTES) {
        const RawDataPacketHeader header =
            RawDataPacket::parseHeader(waiting.constData() + at, waiting.size() - at);
        if (header.packetType == RawDataPacketHeader::INCOMPLETE_PACKET) {
            break;
        }
        if (header.packetType == RawDataPacketHeader::NO_PACKET) {
            ++at;
            continue;
        }
        if (at > begin) {
            pieces.push_back({RawDataPacketHeader::NO_PACKET, waiting.mid(begin, at - begin)});
        }
        const int size = RawDataPacketHeader::SIZE_BYTES + static_cast<int>(header.payloadSize);
        pieces.push_back({header.packetType, waiting.mid(at, size)});
        at += size;
        begin = at;
    }
    if (at > begin) {
        pieces.push_back({RawDataPacketHeader::NO_PACKET, waiting.mid(begin, at - begin)});
    }
    waiting.remove(0, at);
    return pieces;
}

QString PacketStream::overfullText()
{
    return QStringLiteral("a packet of more than %1 bytes").arg(MAX_WAITING_BYTES);
}

QByteArray PacketStream::takeRest()
{
    QByteArray rest;
    rest.swap(waiting);
    return rest;
}

QByteArray withClientId(const StreamPiece& piece, const QByteArray& from, const QByteArray& to)
{
    if (piece.packetType != RawPacketType_SerialisableData || piece.bytes.size() < TEXT_OFFSET) {
        return piece.bytes;
    }
    // Inside a string of valid JSON a quotation mark has a backslash before it, so a key with its
    // value is never found within one.
    QByteArray bytes = piece.bytes;
    const QByteArray old = '"' + from + '"';
    for (const char* key : {"\"ClientID\"", "\"ClientId\""}) {
        const int keySize = static_cast<int>(std::strlen(key));
        for (int at = bytes.indexOf(key, TEXT_OFFSET); at >= 0; at = bytes.indexOf(key, at)) {
            at += keySize;
            const int value = findValue(bytes, at);
            if (value >= 0 && bytes.mid(value, old.size()) == old) {
                bytes.replace(value + 1, from.size(), to);
            }
        }
    }
    if (bytes.size() != piece.bytes.size()) {
        qToBigEndian<quint32>(quint32(bytes.size() - RawDataPacketHeader::SIZE_BYTES),
                              bytes.data() + 4);
        qToBigEndian<quint32>(quint32(bytes.size() - TEXT_OFFSET),
                              bytes.data() + RawDataPacketHeader::SIZE_BYTES);
    }
    return bytes;
}
