// A made-up instrument: values that move and records as measurements send them, so that displays
// have something to show. Everything is a pure function of a seed and of the number of a step.
#pragma once

#include "infrastructure/datacore/DatacoreBool.h"
#include "infrastructure/datacore/DatacoreNumber.h"
#include "infrastructure/utility/packets/RawDataPacket.h"

#include <QStringList>

#include <array>
#include <deque>
#include <memory>
#include <vector>

/// The measurements of one step.
struct DemonstrationValues
{
    static constexpr int INPUTS = 4;
    static constexpr int CHANNELS = 16;

    struct Input
    {
        bool isLocked = true; ///< each input loses its signal now and then, for 4 seconds
        double jitter = 0;    ///< UI, peak to peak
    };

    int temperature = 0;   ///< degrees Celsius
    qint64 ptpOffset = 0;  ///< ns
    quint64 crcErrors = 0; ///< grows while input 2 has no lock
    bool isOnAir = false;  ///< changes every 2 seconds
    QStringList log;       ///< the last 8 events
    std::array<Input, INPUTS> inputs;
    std::array<double, CHANNELS> levels{}; ///< of audio, dBFS, -60 to 0
};

/// How long a step takes.
constexpr int DEMONSTRATION_STEP_MS = 40;

DemonstrationValues makeDemonstrationValues(quint32 seed, quint64 step);

/// The records of a step: meters and a pair of captions in each; in each fifth one a picture of the
/// eye, which opens and closes in 20 seconds, as EYE_SIDE rows of as many bins, or the spectrum of
/// jitter, with its limits, from 10 Hz to 10 MHz.
std::vector<std::shared_ptr<RawDataPacket>> makeDemonstrationRecords(quint32 seed, quint64 step);
constexpr int EYE_SIDE = 96;

/// A leaf that its owner can call invalid or inactive.
template <typename Leaf>
class MeasuredLeaf : public Leaf
{
public:
    using Leaf::Leaf;

    /// A reason of 0 is none.
    void setMeasured(const QString& value, qint32 invalidReason, qint32 inactiveReason)
    {
        const bool isOtherReason = invalid != invalidReason || inactive != inactiveReason;
        invalid = invalidReason;
        inactive = inactiveReason;
        if (isOtherReason && this->getData() == value) {
            this->elementChangedLocally(); // an equal value would be no change
        } else {
            this->setData(value);
        }
    }

protected:
    void updateValidStatus(DatacoreValidStatusMessages& reasons) override
    {
        Leaf::updateValidStatus(reasons);
        if (invalid != 0) {
            reasons.append({MessageBase::MessageType_Error, invalid});
        }
    }
    void updateActiveStatus(DatacoreActiveStatusMessages& reasons) override
    {
        Leaf::updateActiveStatus(reasons);
        if (inactive != 0) {
            reasons.append({MessageBase::MessageType_Info, inactive});
        }
    }

private:
    qint32 invalid = 0;
    qint32 inactive = 0;
};

/// The nodes of the demonstration below `status`, which must outlive it.
class DemonstrationTree
{
public:
    explicit DemonstrationTree(DatacoreBase& status);

    /// Writes the values. Inputs that `config` does not enable are inactive.
    void show(const DemonstrationValues& values, const DatacoreBase& config);

private:
    struct Input : DatacoreBase
    {
        Input(const QString& name, DatacoreBase* parentNode);
        MeasuredLeaf<DatacoreBool> locked{QStringLiteral("locked"), this};
        MeasuredLeaf<DatacoreNumber<double>> jitter{QStringLiteral("jitter"), this};
    };

    DatacoreBase& statusTree;
    DatacoreBase inputsNode;
    DatacoreBase levelsNode;
    DatacoreBool onAir;
    std::deque<Input> inputs;
    std::deque<DatacoreNumber<double>> levels;
};

/// Any number of leaves that change at any rate, for tests of load: "load/group12/leaf34" below
/// `status`, which must outlive it.
class LoadTree
{
public:
    LoadTree(DatacoreBase& status, int leafCount);

    /// Gives the next `count` leaves, in a circle, the milliseconds since 1970 as their value,
    /// which tells a reader how far behind it is.
    void change(int count, qint64 nowMs);

private:
    DatacoreBase top;
    std::deque<DatacoreBase> groups;
    std::deque<DatacoreNumber<long long>> leaves;
    std::size_t next = 0;
};
