#include "infrastructure/utility/MappedProgramArguments.h"

#include "infrastructure/utility/Log.h"

#include <QCoreApplication>

#include <ostream>

namespace {

QString withoutOptionPrefix(const QString& word)
{
    if (word.startsWith(QLatin1String("-D")) || word.startsWith(QLatin1String("--"))) {
        return word.mid(2);
    }
    return word.startsWith(QLatin1Char('-')) ? word.mid(1) : word;
}

} // namespace

MappedProgramArguments::MappedProgramArguments(const QCoreApplication&, bool stripOptionPrefix)
{
    const QStringList words = QCoreApplication::arguments();
    for (const QString& word : words) {
        insertWord(word, stripOptionPrefix);
    }
}

MappedProgramArguments::MappedProgramArguments(int argc, char** argv, bool stripOptionPrefix)
{
    for (int i = 0; i < argc; ++i) {
        insertWord(QString::fromLatin1(argv[i]), stripOptionPrefix);
    }
}

bool MappedProgramArguments::contains(const QString& key) const
{
    return arguments.contains(key);
}

QString MappedProgramArguments::value(const QString& key) const
{
    const auto found = arguments.constFind(key);
    if (found == arguments.constEnd()) {
        VELLOG_ERR() << "No key found: " << key;
        return QString();
    }
    return *found;
}

QStringList MappedProgramArguments::keys() const
{
    return arguments.uniqueKeys();
}

void MappedProgramArguments::insertWord(QString word, bool stripOptionPrefix)
{
    if (stripOptionPrefix) {
        word = withoutOptionPrefix(word);
    }
    const QStringList parts = word.split(QLatin1Char('='), Qt::SkipEmptyParts);
    if (parts.isEmpty() || parts.size() > 2) {
        VELLOG_ERR() << "Command line argument contained multiple '='!";
        return;
    }
    arguments.insert(parts.front(), parts.size() == 2 ? parts.back() : QString());
}

std::ostream& operator<<(std::ostream& stream, const MappedProgramArguments& arguments)
{
    stream << "MappedProgramArguments {\n";
    const QStringList keys = arguments.keys();
    for (const QString& key : keys) {
        const QStringList values = arguments.arguments.values(key);
        stream << "key[" << key.toStdString() << "] : values["
               << values.join(QLatin1String(", ")).toStdString() << "]\n";
    }
    return stream << "}";
}
