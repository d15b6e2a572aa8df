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

    /// The kind of a plain node.
    static QString TEXT() { return QStringLiteral("Text"); }
    /// The kind of a node that only holds others.
    static QString GROUP() { return QStringLiteral("Group"); }

    /// Numbers are "Int16", "UInt64", "Double" and so on, by size; the other leaves' kinds are
    /// "Bool", "Point", "MacAddress", "VideoStandard", "VideoStandard2110" and "GrandmasterInfo".
    /// Treat a kind that you don't know as "Text".
    QString kind = TEXT();
    int leastCount = 0; ///< of values
    int mostCount = ANY_COUNT;
    bool isUnique = false; ///< no value may come twice
    QString minimum;       ///< of each value, included; empty for none
    QString maximum;
    QStringList choices;     ///< all that a value may be; none if it may be something else
    QString unit;            ///< empty for none
    QString sentence;        ///< empty for none
    bool isReadOnly = false; ///< clients may not write it

    /// True for the kinds of DatacoreNumber.
    bool isNumber() const;

    /// Appends the JSON form as compact text.
    void appendToJsonText(QByteArray& text) const;
    /// Reads the JSON form; unknown keys are ignored. A part of the wrong JSON type or beyond the
    /// lengths above, a count below 0 or beyond an int, a least above its most, and a number's
    /// limit that is no number, or whole where its kind is, are refused: `reason` names the key,
    /// and the result is a description without content. Otherwise `reason` is empty.
    static DatacoreDescription fromJson(const QJsonObject& json, QString& reason);
};

bool operator==(const DatacoreDescription& a, const DatacoreDescription& b);
bool operator!=(const DatacoreDescription& a, const DatacoreDescription& b);
