#include "infrastructure/utility/JsonFile.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/ParseJson.h"
#include "infrastructure/utility/RegularFile_p.h"

#include <QFile>
#include <QJsonParseError>

#include <cerrno>
#include <cstring>

bool loadJsonFile(const QString& path, QJsonObject& out)
{
    QFile file(path);
    if (!file.exists()) {
        VELLOG_ERR() << "File not found " << path;
        return false;
    }
    const int descriptor = openRegularFile(QFile::encodeName(path).constData());
    if (descriptor < 0 ||
        !file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        VELLOG_ERR() << "File " << path << " can't be read: "
                     << (errno == EINVAL ? "it is no regular file" : std::strerror(errno));
        return false;
    }
    // In blocks, since a file in /proc has no size, and a read takes as much memory as it asks for.
    constexpr int BLOCK_BYTES = 64 << 10;
    QByteArray text;
    for (QByteArray block; text.size() <= MAX_JSON_FILE_BYTES; text += block) {
        block = file.read(BLOCK_BYTES);
        if (block.isEmpty()) {
            break;
        }
    }
    file.close();
    if (text.size() > MAX_JSON_FILE_BYTES) {
        VELLOG_ERR() << "File " << path << " is larger than " << MAX_JSON_FILE_BYTES << " bytes";
        return false;
    }

    QJsonParseError error;
    const QJsonDocument document = parseJson(text, &error);
    if (document.isNull()) {
        VELLOG_ERR() << "JSON file badly formed: " << error.errorString()
                     << " at: " << error.offset;
        return false;
    }
    out = document.object();
    return true;
}
