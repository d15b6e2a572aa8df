// An SFP module that the instrument supports, and how to drive it. Values.
#pragma once

#include <QString>

#include <array>
#include <cstdint>
#include <optional>

/// What a module carries.
enum SfpRate {
    SfpRate_Invalid = -1,
    SfpRate_SDI = 0,
    SfpRate_1G = 1,
    SfpRate_10G = 2,
    SfpRate_1G10G = 3,
};

/// The rate for a configuration file's text, "SDI", "1G", "10G" or "1G10G"; otherwise
/// SfpRate_Invalid.
SfpRate sfpRateFromText(const QString& text);
/// The text for a rate; empty for SfpRate_Invalid.
QString sfpRateText(SfpRate rate);

/// Transceiver settings, each with one value per rate, in the order of SfpRate.
struct SfpTransceiverConfig
{
    /// One value per rate: SDI, 1G, 10G and 1G10G.
    using Values = std::array<uint32_t, 4>;

    Values voltageSwingCode{};
    Values preCursorCode{};
    Values postCursorCode{};
    Values reclockerSettings{};

    friend bool operator==(const SfpTransceiverConfig& a, const SfpTransceiverConfig& b)
    {
        return a.voltageSwingCode == b.voltageSwingCode && a.preCursorCode == b.preCursorCode &&
               a.postCursorCode == b.postCursorCode && a.reclockerSettings == b.reclockerSettings;
    }
    friend bool operator!=(const SfpTransceiverConfig& a, const SfpTransceiverConfig& b)
    {
        return !(a == b);
    }
};

/// How an SDI module behaves.
struct SfpSdiConfig
{
    bool msa = false; ///< it follows the multi-source agreement
    QString io;       ///< its inputs and outputs
    std::optional<int> connectorTypeOverride;

    friend bool operator==(const SfpSdiConfig& a, const SfpSdiConfig& b)
    {
        return a.msa == b.msa && a.io == b.io && a.connectorTypeOverride == b.connectorTypeOverride;
    }
    friend bool operator!=(const SfpSdiConfig& a, const SfpSdiConfig& b) { return !(a == b); }
};

/// Boards up to this id are of group A, others of group B.
constexpr unsigned SFP_LAST_BOARD_OF_GROUP_A = 9;

/// One module. The texts are those in its EEPROM, which pads them with blanks (SFF-8472); those of
/// a list may be padded or not.
struct SupportedSfp
{
    QString vendor;
    QString oui;
    QString partNumber;
    QString revision;
    bool sdi = false;
    SfpRate rate = SfpRate_Invalid;
    SfpTransceiverConfig transceiver;
    bool boardGroupA = true; ///< may be used on boards of group A
    bool boardGroupB = true; ///< may be used on boards of group B
    SfpSdiConfig sdiConfig;  ///< of an SDI module

    /// What identifies a module: "vendor ,part number;revision".
    QString key() const { return key(vendor, partNumber, revision); }
    static QString key(const QString& vendor, const QString& partNumber, const QString& revision)
    {
        return vendor + QLatin1String(" ,") + partNumber + QLatin1Char(';') + revision;
    }
    /// The key of the texts without the blanks at their ends, which is the same for padded texts.
    static QString unpaddedKey(const QString& vendor, const QString& partNumber,
                               const QString& revision);

    /// True if it may be used on the board of this id.
    bool isForBoard(unsigned board) const
    {
        return board <= SFP_LAST_BOARD_OF_GROUP_A ? boardGroupA : boardGroupB;
    }
};

/// The number of boards that there are settings for; a board id is an index.
constexpr unsigned SFP_BOARDS = 16;

/// These are the settings by board id for modules that have none of their own: one table for
/// product model 0, one for all others.
extern const std::array<SfpTransceiverConfig, SFP_BOARDS> SFP_DEFAULT_CONFIGS_VEL;
extern const std::array<SfpTransceiverConfig, SFP_BOARDS> SFP_DEFAULT_CONFIGS_VELM;
