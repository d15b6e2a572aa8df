// What a node of the state tree takes, and what it stands for. A value.
#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <limits>

/// What the owner of a node says about it, beside what the node's class tells. Each part may be
/// left out.
struct DatacoreNotes
{
    QString unit = {};       ///< of the values, such as "dB"
    QString sentence = {};   ///< what the node stands for
    bool isReadOnly = false; ///< clients may write neither the node nor what is below it
    int leastCount = 0;      ///< of values
    int mostCount = std::numeric_limits<int>::max();
};

/// What a node takes. Limits and choices are the texts of values, so that those of 64-bit and of
/// floating-point leaves are exact. A description informs: a node keeps any text, and tells by its
/// reasons what is wrong with it.
///
/// JSON form, in which an absent key stands for the default:
///
///   {"kind": "Int32", "least": 1, "max": "15", "min": "0", "most": 1, "readOnly": true,
///    "text": "Gain of the equaliser.", "unique": true, "unit": "dB", "values": ["0", "15"]}
struct DatacoreDescription
{
    static constexpr int ANY_COUNT = std::numeric_limits<int>::max();

    // No more is read from a peer.
    static constexpr int MAX_TEXT_LENGTH = 1000; ///< of the sentence, in characters
    static constexpr int MAX_WORD_LENGTH = 100;  ///< of any other text
    static constexpr int MAX_CHOICES = 1000;

    /// The kind of a plain node, and of one that only holds others.
    static QString TEXT() { return QStringLiteral("Text"); }
    static QString GROUP() { return QStringLiteral("Group"); }

    /// Numbers are "Int16", "UInt64", "Double" and so on, by size; the other leaves' kinds are
    /// "Bool", "Point", "MacAddress", "VideoStandard", "VideoStandard2110" and "GrandmasterInfo".
    /// Treat a kind that you don't know as "Text".
    QString kind = TEXT();
    int leastCount = 0; ///< of values
    int mostCount = ANY_COUNT;
    bool isUnique = false; ///< no value may come twice
    QString minimum;       ///< of each value, included; null for none
    QString maximum;
    QStringList choices;     ///< all that a value may be; none if it may be something else
    QString unit;            ///< null for none
    QString sentence;        ///< null for none
    bool isReadOnly = false; ///< clients may not write it

    /// True for the kinds of DatacoreNumber.
    bool isNumber() const;

    /// Appends the JSON form as compact text.
    void appendToJsonText(QByteArray& text) const;
    /// Reads the JSON form; unknown keys are ignored. If a part has the wrong type or exceeds the
    /// lengths above, a count is negative or above 2^31 - 1, or a least is above its most, `reason`
    /// says so and the result is a description without content. For a number also limits that are
    /// no numbers of its kind.
    static DatacoreDescription fromJson(const QJsonObject& json, QString& reason);
};

bool operator==(const DatacoreDescription& a, const DatacoreDescription& b);
bool operator!=(const DatacoreDescription& a, const DatacoreDescription& b);
