#include "infrastructure/server/AccessRulesFile.h"

#include "infrastructure/utility/RegularFile_p.h"

#include <QFile>
#include <QHash>

#include <pwd.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr int SHA256_BYTES = 32;

QString quoted(const QString& word)
{
    constexpr int shown = 80;
    return QLatin1Char('"') +
           (word.size() > shown ? word.left(shown) + QStringLiteral("...") : word) +
           QLatin1Char('"');
}

bool isBlank(QChar character)
{
    return character == QLatin1Char(' ') || character == QLatin1Char('\t');
}

/// The words of a statement, or what is wrong with its quotes.
std::optional<QStringList> split(const QString& line, QString& whatIsWrong)
{
    const QLatin1Char quote('"');
    QStringList words;
    int at = 0;
    while (true) {
        while (at < line.size() && isBlank(line[at])) {
            ++at;
        }
        if (at == line.size() || line[at] == QLatin1Char('#')) {
            return words;
        }
        const bool isQuoted = line[at] == quote;
        const int begin = isQuoted ? ++at : at;
        while (at < line.size() && line[at] != quote && (isQuoted || !isBlank(line[at]))) {
            ++at;
        }
        words.append(line.mid(begin, at - begin));
        if (isQuoted && at++ == line.size()) {
            whatIsWrong = QStringLiteral("a quote is not closed; end the word with \"");
            return std::nullopt;
        }
        if (at < line.size() && !isBlank(line[at])) {
            whatIsWrong = QStringLiteral("a quote stands in a word; put blanks around the quoted "
                                         "word");
            return std::nullopt;
        }
    }
}

/// The 32 bytes that 64 hexadecimal digits stand for.
std::optional<QByteArray> readSha256(const QString& word, QString& whatIsWrong)
{
    const QByteArray text = word.toLatin1();
    const QByteArray digest = QByteArray::fromHex(text);
    if (digest.size() != SHA256_BYTES || digest.toHex() != text.toLower()) {
        whatIsWrong = QStringLiteral("%1 is no SHA-256; it has 64 hexadecimal digits, as sha256sum "
                                     "prints them")
                          .arg(quoted(word));
        return std::nullopt;
    }
    return digest;
}

std::optional<quint32> readUser(const QString& word, QString& whatIsWrong)
{
    bool ok = false;
    const uint number = word.toUInt(&ok);
    if (ok && QString::number(number) == word) {
        return number;
    }
    struct passwd entry
    {
    };
    struct passwd* found = nullptr;
    QByteArray texts(16 << 10, 0);
    if (getpwnam_r(word.toUtf8().constData(), &entry, texts.data(), std::size_t(texts.size()),
                   &found) != 0 ||
        found == nullptr) {
        whatIsWrong =
            QStringLiteral("there is no user %1; write a user's name or number").arg(quoted(word));
        return std::nullopt;
    }
    return quint32(entry.pw_uid);
}

/// The grantee that a word names in one of these ways.
template <typename T, typename Value>
std::optional<AccessRules::Grantee> toGrantee(const std::optional<Value>& value)
{
    return value ? std::optional<AccessRules::Grantee>(T{*value}) : std::nullopt;
}

struct Way
{
    const char* name;
    std::optional<AccessRules::Grantee> (*read)(const QString& word, QString& whatIsWrong);
};
constexpr Way WAYS[] = {
    {"address",
     [](const QString& word, QString& whatIsWrong) {
         return toGrantee<AddressRange>(AddressRange::parse(word, whatIsWrong));
     }},
    {"user",
     [](const QString& word, QString& whatIsWrong) {
         return toGrantee<AccessRules::User>(readUser(word, whatIsWrong));
     }},
    {"certificate",
     [](const QString& word, QString&) {
         return toGrantee<AccessRules::CertificateName>(std::optional<QString>(word));
     }},
    {"certificate-sha256",
     [](const QString& word, QString& whatIsWrong) {
         return toGrantee<AccessRules::CertificateSha256>(readSha256(word, whatIsWrong));
     }},
    {"token",
     [](const QString& word, QString& whatIsWrong) {
         return toGrantee<AccessRules::TokenSha256>(readSha256(word, whatIsWrong));
     }},
};

class Reader
{
public:
    explicit Reader(QStringList& errorLines)
        : errors(errorLines)
    {
    }

    std::optional<AccessRules> read(const QByteArray& text)
    {
        if (text.size() > MAX_ACCESS_RULES_BYTES) {
            errors.append(QStringLiteral("more than %1 bytes; leave something out")
                              .arg(MAX_ACCESS_RULES_BYTES));
            return std::nullopt;
        }
        for (const QByteArray& bytes : text.split('\n')) {
            ++lineNumber;
            readLine(bytes.endsWith('\r') ? bytes.chopped(1) : bytes);
        }
        if (errorCount == 0 && !hasGrant) {
            complain(QStringLiteral("nobody is granted anything; add a line such as: grant NAME "
                                    "address 127.0.0.1"));
        }
        if (errorCount > MAX_ACCESS_RULES_ERRORS) {
            errors.append(
                QStringLiteral("%1 more errors").arg(errorCount - MAX_ACCESS_RULES_ERRORS));
        }
        return errorCount == 0 ? std::optional<AccessRules>(rules) : std::nullopt;
    }

private:
    struct NamedRole
    {
        int line;
        AccessRole role;
    };

    void complain(const QString& whatIsWrong)
    {
        if (++errorCount <= MAX_ACCESS_RULES_ERRORS) {
            errors.append(QStringLiteral("line %1: %2").arg(lineNumber).arg(whatIsWrong));
        }
    }

    void readLine(const QByteArray& bytes)
    {
        const QString line = QString::fromUtf8(bytes);
        const bool hasControl = std::any_of(line.begin(), line.end(), [](QChar character) {
            return character.category() == QChar::Other_Control && character != QLatin1Char('\t');
        });
        if (line.toUtf8() != bytes || hasControl) {
            return complain(QStringLiteral("this is no text in UTF-8 without control characters; "
                                           "write it anew"));
        }
        QString whatIsWrong;
        const std::optional<QStringList> words = split(line, whatIsWrong);
        if (!words) {
            return complain(whatIsWrong);
        }
        if (words->isEmpty()) {
            return;
        }
        if (words->first() == QLatin1String("role")) {
            readRole(words->mid(1));
        } else if (words->first() == QLatin1String("grant")) {
            readGrant(words->mid(1));
        } else if (words->first() == QLatin1String("writable")) {
            readWritable(*words, true);
        } else if (words->first() == QLatin1String("read-only")) {
            readWritable(*words, false);
        } else {
            complain(QStringLiteral("%1 is no statement; one begins with role, grant, writable or "
                                    "read-only")
                         .arg(quoted(words->first())));
        }
    }

    void readRole(const QStringList& words)
    {
        if (words.size() < 2 || words[0].isEmpty()) {
            return complain(QStringLiteral("a role has a name and a right, as in: role operator "
                                           "write configCoreRouter/input1"));
        }
        const QString& name = words[0];
        const QString& right = words[1];
        if (const auto known = roles.constFind(name); known != roles.constEnd()) {
            return complain(QStringLiteral("role %1 is in line %2 already; take another name")
                                .arg(quoted(name))
                                .arg(known->line));
        }
        AccessRole role;
        role.names.append(name);
        role.prefixes = words.mid(2);
        if (right == QLatin1String("write")) {
            role.right = AccessRole::Right::Write;
            if (role.prefixes.isEmpty()) {
                return complain(QStringLiteral("write without a path; name the paths, or take the "
                                               "right all"));
            }
        } else if (right == QLatin1String("read") || right == QLatin1String("all")) {
            role.right =
                right == QLatin1String("all") ? AccessRole::Right::All : AccessRole::Right::Read;
            if (!role.prefixes.isEmpty()) {
                return complain(QStringLiteral("%1 has no use for %2; only write takes paths")
                                    .arg(right, quoted(words[2])));
            }
        } else {
            return complain(
                QStringLiteral("%1 is no right; it is read, write or all").arg(quoted(right)));
        }
        for (const QString& prefix : role.prefixes) {
            if (!isPath(prefix)) {
                return;
            }
            if (role.prefixes.count(prefix) > 1) {
                return complain(
                    QStringLiteral("%1 is there twice; leave one out").arg(quoted(prefix)));
            }
        }
        roles.insert(name, {lineNumber, role});
    }

    void readGrant(const QStringList& words)
    {
        if (words.size() != 3) {
            return complain(QStringLiteral("a grant has a role, a way and a value, as in: grant "
                                           "operator address 192.168.10.0/24"));
        }
        const auto role = roles.constFind(words[0]);
        if (role == roles.constEnd()) {
            return complain(QStringLiteral("there is no role %1 above; a line such as: role NAME "
                                           "read comes first")
                                .arg(quoted(words[0])));
        }
        const auto* const way =
            std::find_if(std::begin(WAYS), std::end(WAYS),
                         [&words](const Way& row) { return words[1] == QLatin1String(row.name); });
        if (way == std::end(WAYS)) {
            return complain(
                QStringLiteral("%1 is no way to come; it is address, user, certificate, "
                               "certificate-sha256 or token")
                    .arg(quoted(words[1])));
        }
        QString whatIsWrong =
            QStringLiteral("the value is empty; write what follows %1").arg(words[1]);
        const auto grantee = words[2].isEmpty() ? std::nullopt : way->read(words[2], whatIsWrong);
        if (!grantee) {
            return complain(whatIsWrong);
        }
        if (rules.isGranted(*grantee, words[0])) {
            return complain(QStringLiteral("%1 %2 has role %3 already; leave one out")
                                .arg(words[1], quoted(words[2]), quoted(words[0])));
        }
        rules.grant(*grantee, role->role);
        hasGrant = true;
    }

    void readWritable(const QStringList& words, bool isWritable)
    {
        const bool isNode = words.size() == 3 && words[1] == QLatin1String("node");
        if (words.size() != 3 || (!isNode && words[1] != QLatin1String("tree"))) {
            return complain(QStringLiteral("%1 is followed by tree or node and a path, as in: %1 "
                                           "tree configCoreRouter/input1")
                                .arg(words[0]));
        }
        if (!isPath(words[2])) {
            return;
        }
        const int earlier = pathLines.value({words[2], isNode});
        if (earlier > 0) {
            return complain(QStringLiteral("%1 %2 is in line %3 already; leave one out")
                                .arg(words[1], quoted(words[2]))
                                .arg(earlier));
        }
        pathLines.insert({words[2], isNode}, lineNumber);
        rules.setWritable(words[2], isNode ? AccessRules::Extent::Node : AccessRules::Extent::Tree,
                          isWritable);
    }

    bool isPath(const QString& path)
    {
        const QStringList names = path.split(QLatin1Char('/'));
        if (!AccessRules::getTreeNames().contains(names.first())) {
            complain(
                QStringLiteral("%1 begins with no tree; it begins with %2")
                    .arg(quoted(path), AccessRules::getTreeNames().join(QStringLiteral(", "))));
            return false;
        }
        if (names.contains(QString())) {
            complain(QStringLiteral("%1 has an empty name; one / stands between two names")
                         .arg(quoted(path)));
            return false;
        }
        return true;
    }

    QStringList& errors;
    AccessRules rules = AccessRules::forNobody();
    QHash<QString, NamedRole> roles;
    QHash<QPair<QString, bool>, int> pathLines; ///< by path and whether it is for a node alone
    int lineNumber = 0;
    int errorCount = 0;
    bool hasGrant = false;
};

} // namespace

std::optional<AccessRules> readAccessRules(const QByteArray& text, QStringList& errors)
{
    return Reader(errors).read(text);
}

std::optional<AccessRules> loadAccessRules(const QString& path, QStringList& errors,
                                           QStringList& warnings)
{
    QFile file;
    const int descriptor = openRegularFile(QFile::encodeName(path).constData());
    if (descriptor < 0 ||
        !file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        errors.append(path + QStringLiteral(": ") +
                      (errno == EINVAL ? QStringLiteral("it is no regular file")
                                       : QString::fromLocal8Bit(std::strerror(errno))));
        return std::nullopt;
    }
    struct stat status
    {
    };
    ::fstat(descriptor, &status);
    QStringList ownErrors;
    // One byte more than is taken shows that there is more.
    const std::optional<AccessRules> rules =
        readAccessRules(file.read(MAX_ACCESS_RULES_BYTES + 1), ownErrors);
    for (const QString& error : ownErrors) {
        errors.append(path + QStringLiteral(": ") + error);
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        warnings.append(path + QStringLiteral(": other users may write it; chmod go-w takes that "
                                              "away"));
    }
    if (rules && rules->knowsTokens() && (status.st_mode & S_IROTH) != 0) {
        warnings.append(path + QStringLiteral(": other users may read the digests of its tokens; "
                                              "chmod o-r takes that away"));
    }
    return rules;
}
