#include "sw/replay/LinkRecording.h"

#include "infrastructure/utility/BigEndianReader.h"
#include "infrastructure/utility/BigEndianWriter.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace {

constexpr char MAGIC[] = {'\x89', 'L', 'N', 'K', '\x0D', '\x0A', '\x1A', '\x0A'};
constexpr int RECORD_HEAD_BYTES = 8 + 1 + 4;
constexpr int KIND_CLOSED = 2; ///< added to the side

} // namespace

bool LinkRecordingWriter::open(const QString& fileName, const LinkRecordingHeader& header)
{
    file.setFileName(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        return false;
    }
    QByteArray bytes(LinkRecordingHeader::SIZE_BYTES, '\0');
    BigEndianWriter writer(bytes);
    for (const char byte : MAGIC) {
        writer.put(static_cast<quint8>(byte));
    }
    writer.put(LinkRecordingHeader::VERSION);
    writer.put(quint32(header.clientAddress.toIPv4Address()));
    writer.put(header.clientPort);
    writer.put(header.startMs);
    return file.write(bytes) == bytes.size() && file.flush();
}

bool LinkRecordingWriter::write(const LinkRecord& record)
{
    if (record.isClose) {
        return writeRecord(record.timeUs, record.side + KIND_CLOSED, nullptr, 0) && file.flush();
    }
    constexpr int largest = LinkRecordingReader::MAX_RECORD_BYTES;
    for (int offset = 0; offset < record.bytes.size(); offset += largest) {
        const int size = std::min(record.bytes.size() - offset, largest);
        if (!writeRecord(record.timeUs, record.side, record.bytes.constData() + offset, size)) {
            return false;
        }
    }
    return file.flush();
}

bool LinkRecordingWriter::writeRecord(qint64 timeUs, int kind, const char* bytes, int size)
{
    QByteArray head(RECORD_HEAD_BYTES, '\0');
    BigEndianWriter writer(head);
    writer.put(quint64(timeUs));
    writer.put(static_cast<quint8>(kind));
    writer.put(quint32(size));
    return file.write(head) == head.size() && file.write(bytes, size) == size;
}

bool LinkRecordingReader::open(const QString& fileName)
{
    file.setFileName(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return false;
    }
    const QByteArray bytes = file.read(LinkRecordingHeader::SIZE_BYTES);
    if (bytes.size() != LinkRecordingHeader::SIZE_BYTES ||
        !std::equal(std::begin(MAGIC), std::end(MAGIC), bytes.begin())) {
        return fail(QStringLiteral("no recording of a link"));
    }
    constexpr int magicBytes = sizeof MAGIC;
    BigEndianReader reader(bytes.constData() + magicBytes, bytes.size() - magicBytes);
    const quint16 version = reader.take<quint16>();
    if (version != LinkRecordingHeader::VERSION) {
        return fail(QStringLiteral("version %1, expected %2")
                        .arg(version)
                        .arg(LinkRecordingHeader::VERSION));
    }
    header.clientAddress = QHostAddress(reader.take<quint32>());
    header.clientPort = reader.take<quint16>();
    header.startMs = reader.take<quint64>();
    return true;
}

bool LinkRecordingReader::read(LinkRecord& record)
{
    const QByteArray head = file.read(RECORD_HEAD_BYTES);
    if (head.isEmpty() && file.atEnd()) {
        return false;
    }
    if (head.size() != RECORD_HEAD_BYTES) {
        return fail(QStringLiteral("the file ends within a record"));
    }
    if (isClosed) {
        return fail(QStringLiteral("a record behind the end of the link"));
    }
    BigEndianReader reader(head.constData(), head.size());
    const quint64 timeUs = reader.take<quint64>();
    const quint8 kind = reader.take<quint8>();
    const quint32 size = reader.take<quint32>();
    if (timeUs < quint64(latestUs) || timeUs > quint64(std::numeric_limits<qint64>::max())) {
        return fail(QStringLiteral("time %1 us behind %2 us").arg(timeUs).arg(latestUs));
    }
    if (kind > Side_Server + KIND_CLOSED) {
        return fail(QStringLiteral("a record of kind %1").arg(kind));
    }
    isClosed = kind >= KIND_CLOSED;
    if (isClosed ? size != 0 : size == 0 || size > MAX_RECORD_BYTES) {
        return fail(QStringLiteral("a record of kind %1 of %2 bytes").arg(kind).arg(size));
    }
    record.timeUs = latestUs = static_cast<qint64>(timeUs);
    record.side = static_cast<Side>(kind % KIND_CLOSED);
    record.isClose = isClosed;
    record.bytes = file.read(size);
    if (quint32(record.bytes.size()) != size) {
        return fail(QStringLiteral("the file ends within a record of %1 bytes").arg(size));
    }
    return true;
}

bool LinkRecordingReader::rewind()
{
    latestUs = 0;
    isClosed = false;
    error.clear();
    return file.seek(LinkRecordingHeader::SIZE_BYTES);
}

bool LinkRecordingReader::fail(const QString& fault)
{
    error = QStringLiteral("%1, before byte %2").arg(fault).arg(file.pos());
    return false;
}
