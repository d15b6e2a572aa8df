// Prints what a caption file shows: each picture that stays for half a second, or until the decoder
// reports a change, as rows with their time code.
//
//   show_captions [--channel 1-4] FILE   captions of CC1 (or CC2 to CC4)
//   show_captions --xds FILE             the Extended Data Services packets instead of captions
//   show_captions --op47 FILE            teletext rows of OP-47 ancillary packets
//   show_captions --services FILE        all services of CEA-608 and CEA-708 in ancillary packets
//
// A caption FILE is in the Scenarist format, or raw records of three bytes: both bytes as received
// and 1 for field 1, 0 for field 2. The pairs of a Scenarist file belong to the field asked for. An
// OP-47 FILE, and one of services, has one ancillary packet in hexadecimal bytes per line, from the
// data flag 00 FF FF to the checksum.
#include "infrastructure/utility/captions/CaptionDemultiplexer.h"
#include "infrastructure/utility/captions/CaptionProcessor608.h"
#include "infrastructure/utility/captions/Cc608XdsDecoder.h"
#include "infrastructure/utility/captions/Op47decoder.h"
#include "infrastructure/utility/captions/ScenaristCaptions.h"
#include "infrastructure/utility/captions/XdsRatingText.h"
#include "infrastructure/utility/CommandLine.h"
#include "infrastructure/utility/video/ancillary/AncillaryContents.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <cstdio>
#include <map>

namespace {

constexpr int RAW_RECORD_BYTES = 3;

struct TimedPair
{
    ScenaristTimeCode timeCode;
    Caption608BytePair pair;
};

void print(const QString& text)
{
    std::fputs(text.toUtf8().constData(), stdout);
}

void complain(const QString& text)
{
    std::fputs((text + QLatin1Char('\n')).toUtf8().constData(), stderr);
}

/// The pairs of a Scenarist file, one per frame. If a line begins before the pairs of the previous
/// line have ended, its pairs follow them.
std::vector<TimedPair> scenaristPairs(const QByteArray& content, bool isField1, QStringList& errors)
{
    std::vector<TimedPair> pairs;
    int lineBegin = 0;
    int nextFree = 0;
    for (const ScenaristLine& line : readScenaristFile(content, errors)) {
        const int begin = line.timeCode.frameNumber();
        int late = begin >= lineBegin ? std::max(nextFree - begin, 0) : 0;
        lineBegin = begin;
        for (const auto& raw : line.pairs) {
            pairs.push_back({line.timeCode.advanced(late++),
                             Caption608BytePair::fromRaw(raw[0], raw[1], isField1)});
        }
        nextFree = begin + late;
    }
    return pairs;
}

/// The records of a raw file, one for each frame and field. None if one has no field flag: then the
/// file is something else.
std::vector<TimedPair> rawPairs(const QByteArray& content, QStringList& errors)
{
    std::vector<TimedPair> pairs;
    int frames[2] = {0, 0};
    const int size = content.size() - content.size() % RAW_RECORD_BYTES;
    for (int i = 0; i < size; i += RAW_RECORD_BYTES) {
        const auto field = static_cast<uint8_t>(content[i + 2]);
        if (field > 1) {
            errors.append(
                QStringLiteral("no header line \"Scenarist_SCC V1.0\", and no raw records: "
                               "byte %1 is %2 in place of a field, 0 or 1")
                    .arg(i + 2)
                    .arg(field));
            return {};
        }
        const auto pair = Caption608BytePair::fromRaw(
            static_cast<uint8_t>(content[i]), static_cast<uint8_t>(content[i + 1]), field == 1);
        pairs.push_back({ScenaristTimeCode().advanced(frames[field]++), pair});
    }
    if (size != content.size()) {
        errors.append(
            QStringLiteral("record %1: the file ends within it").arg(size / RAW_RECORD_BYTES + 1));
    }
    return pairs;
}

QString blank()
{
    return QStringLiteral("(blank)\n");
}

/// The rows that are not blank, with their numbers in the standard.
QString rowsOf(const CaptionGrid608& grid)
{
    QString rows;
    for (unsigned row = 0; row < CaptionGrid608::ROWS; ++row) {
        const QString text = grid.rowText(row);
        if (!text.trimmed().isEmpty()) {
            rows += QStringLiteral("%1 |%2|\n").arg(row + 1, 2).arg(text);
        }
    }
    return rows.isEmpty() ? blank() : rows;
}

/// Prints each picture that was shown, once: pictures whose change the decoder reports, what text
/// had made of them by then, and pictures that stay for STANDING_FRAMES or are cleared without a
/// report.
class Screen
{
public:
    void process(const TimedPair& timed, int dataChannel)
    {
        const int frame = timed.timeCode.frameNumber();
        if (frame < textAt.frameNumber() || frame >= textAt.frameNumber() + STANDING_FRAMES) {
            showText();
        }
        const CaptionGrid608 before = processor.displayedGrid();
        const bool isReported = processor.process(timed.pair.code(), dataChannel);
        const CaptionGrid608& after = processor.displayedGrid();
        if (isReported || (after != before && rowsOf(after) == blank())) {
            showText();
        }
        if (isReported) {
            show(timed.timeCode, rowsOf(after));
        } else if (after != before) {
            textAt = timed.timeCode;
            text = rowsOf(after);
        }
    }

    /// Prints what text has made of the picture since the last one was printed.
    void showText()
    {
        if (!text.isEmpty()) {
            show(textAt, text);
            text.clear();
        }
    }

private:
    static constexpr int STANDING_FRAMES = 15; ///< half a second: long enough to be seen

    void show(const ScenaristTimeCode& timeCode, const QString& picture)
    {
        if (picture != shown) {
            shown = picture;
            print(timeCode.toString() + QLatin1Char('\n') + picture + QLatin1Char('\n'));
        }
    }

    CaptionProcessor608 processor;
    ScenaristTimeCode textAt;
    QString text; ///< the picture at `textAt`, until it is printed
    QString shown = blank();
};

void showCaptions(const std::vector<TimedPair>& pairs, int service)
{
    const bool isField1 = service <= 2;
    Screen screen;
    for (const TimedPair& timed : pairs) {
        if (timed.pair.isField1 == isField1) {
            screen.process(timed, (service - 1) % 2);
        }
    }
    screen.showText();
}

void showXds(const std::vector<TimedPair>& pairs)
{
    XdsPacketPool pool;
    Cc608XdsDecoder decoder(pool);
    for (const TimedPair& timed : pairs) {
        const Caption608BytePair& pair = timed.pair;
        XdsPacket* packet = nullptr;
        const XdsResult result = decoder.processPair(
            XdsPair::fromRaw(pair.rawData1, pair.rawData2, pair.isField1), packet);
        if (result == XdsPacketReady) {
            const bool isAdvisory = packet->classIndex() == 0 && packet->type() == 5;
            print(timed.timeCode.toString() + QLatin1Char(' ') + packet->toString() +
                  (isAdvisory ? QStringLiteral(" rating ") + ratingText(*packet) : QString()) +
                  QLatin1Char('\n'));
            pool.release(packet);
        } else if (result == XdsChecksumFailed || result == XdsPacketTooLong) {
            complain(timed.timeCode.toString() + QLatin1String(result == XdsChecksumFailed
                                                                   ? " XDS packet: wrong checksum"
                                                                   : " XDS packet: too long"));
        }
    }
}

/// The bytes of a line; false if it is not a line of hexadecimal bytes.
bool parseHexLine(const QByteArray& line, std::vector<uint8_t>& bytes)
{
    bytes.clear();
    for (const QByteArray& word : line.simplified().split(' ')) {
        bool ok = false;
        const unsigned value = word.toUInt(&ok, 16);
        if (!ok || word.size() > 2) {
            return false;
        }
        bytes.push_back(static_cast<uint8_t>(value));
    }
    return true;
}

/// Hands on each packet of a file, with the number of its line. False if a line holds none.
template <typename Receiver>
bool readPackets(const QByteArray& content, Receiver receive)
{
    bool isGood = true;
    int number = 0;
    for (const QByteArray& line : content.split('\n')) {
        ++number;
        std::vector<uint8_t> words;
        if (line.trimmed().isEmpty()) {
            continue;
        }
        const bool isHex = parseHexLine(line, words);
        if (!isHex) {
            complain(QStringLiteral("line %1: no bytes in hexadecimal digits").arg(number));
        }
        isGood = isHex && receive(number, words) && isGood;
    }
    return isGood;
}

int showOp47(const QByteArray& content)
{
    Op47decoder decoder;
    return readPackets(content,
                       [&](int number, std::vector<uint8_t>& words) {
                           TeletextPacketContainer container(std::move(words));
                           const Op47ErrorReport report = decoder.decode(container);
                           print(
                               QStringLiteral("line %1: %2\n").arg(number).arg(report.toString()));
                           print(container.toString());
                           return true;
                       })
               ? 0
               : 1;
}

/// What each caption service shows, whenever a packet changes it, and what is wrong with the
/// packets.
int showServices(const QByteArray& content)
{
    int number = 0;
    CaptionDemultiplexer services([&](const XdsPacket& packet) {
        print(QStringLiteral("line %1: XDS %2\n").arg(number).arg(packet.toString()));
    });
    std::map<QString, QString> shown;
    const auto show = [&](const QString& name, const QString& text) {
        if (shown[name] != text) {
            shown[name] = text;
            print(QStringLiteral("line %1: %2\n%3").arg(number).arg(name, text));
        }
    };
    const bool isGood = readPackets(content, [&](int line, const std::vector<uint8_t>& words) {
        constexpr std::size_t HEAD = 6; // data flag, DID, SDID, data count
        if (words.size() <= HEAD || words[0] != 0 || words[1] != 0xFF || words[2] != 0xFF ||
            words.size() != HEAD + words[HEAD - 1] + 1) {
            complain(QStringLiteral("line %1: no ancillary packet").arg(line));
            return false;
        }
        number = line;
        services.process(makeAncillaryPacket({words[3], words[4]}, &words[HEAD], words[HEAD - 1]),
                         {-1, -1, line});
        const QString findings = services.getFindings().toString();
        services.getFindings().clear();
        print(findings);
        for (unsigned channel = 1; channel <= 4; ++channel) {
            const QString rows = rowsOf(services.service608(channel).displayedGrid());
            show(QStringLiteral("CC%1").arg(channel), rows == blank() ? QString() : rows);
        }
        for (unsigned each = 1; each <= CaptionChannel708::MAX_SERVICE; ++each) {
            if (const CaptionService708* service = services.channel708().service(each)) {
                const QString text = service->text();
                show(QStringLiteral("service %1").arg(each),
                     text.isEmpty() ? text : text + QLatin1Char('\n'));
            }
        }
        return findings.isEmpty();
    });
    return isGood ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption channelOption(QStringLiteral("channel"),
                                           QStringLiteral("the caption service, 1 to 4"),
                                           QStringLiteral("number"), QStringLiteral("1"));
    const QCommandLineOption xdsOption(QStringLiteral("xds"), QStringLiteral("show XDS packets"));
    const QCommandLineOption op47Option(QStringLiteral("op47"),
                                        QStringLiteral("the file holds OP-47 packets"));
    const QCommandLineOption servicesOption(
        QStringLiteral("services"), QStringLiteral("the file holds ancillary packets of captions"));
    parser.addOptions({channelOption, xdsOption, op47Option, servicesOption});
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("what to read"));
    if (const std::optional<int> exitValue = parseCommandLine(parser)) {
        return *exitValue;
    }

    QString whatIsWrong;
    const std::optional<int> service =
        readNumber(parser, QStringLiteral("channel"), 1, 4, whatIsWrong);
    const int fileCount = parser.positionalArguments().size();
    if (fileCount != 1) {
        whatIsWrong = fileCount == 0 ? QStringLiteral("a file is needed")
                                     : QStringLiteral("one file is needed, not %1").arg(fileCount);
    }
    if (!service || fileCount != 1) {
        return refuseCommandLine(whatIsWrong);
    }
    QFile file(parser.positionalArguments().constFirst());
    if (!file.open(QIODevice::ReadOnly)) {
        complain(file.fileName() + QLatin1String(": ") + file.errorString());
        return 1;
    }
    const QByteArray content = file.readAll();
    if (parser.isSet(op47Option)) {
        return showOp47(content);
    }
    if (parser.isSet(servicesOption)) {
        return showServices(content);
    }
    const bool wantsField1 = *service <= 2 && !parser.isSet(xdsOption);
    QStringList errors;
    const std::vector<TimedPair> pairs = isScenaristFile(content)
                                             ? scenaristPairs(content, wantsField1, errors)
                                             : rawPairs(content, errors);
    for (const QString& error : errors) {
        complain(file.fileName() + QLatin1String(": ") + error);
    }
    if (parser.isSet(xdsOption)) {
        showXds(pairs);
    } else {
        showCaptions(pairs, *service);
    }
    return errors.isEmpty() ? 0 : 1;
}
