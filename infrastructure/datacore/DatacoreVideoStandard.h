// A leaf of the state tree that holds video standards.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"

#include <memory>

/// Any number of standards, each as the four bytes of its first link's payload identifier in
/// decimal: "137 201 128 1". Text that is not an identifier of a known kind is kept and makes the
/// leaf invalid, with one message (Error, 29) for each.
///
/// The text holds only one identifier. So a standard that is read has all links of its interface,
/// but no square division. One with square division is stored as its first quadrant, and a log line
/// at level err names both.
class DatacoreVideoStandard : public DatacoreBase
{
public:
    /// Null means no standard.
    using Standard = std::shared_ptr<const StandardFromPayloadIdentifier>;
    /// In the order of the values.
    using Standards = std::deque<Standard>;

    static QString CLASSNAME() { return QStringLiteral("DatacoreVideoStandard"); }

    /// Starts without a value.
    DatacoreVideoStandard(const QString& name, DatacoreBase* parentNode);
    DatacoreVideoStandard(const QString& name, DatacoreBase* parentNode, const Standard& standard);
    DatacoreVideoStandard(const QString& name, DatacoreBase* parentNode,
                          const Standards& standards);

    /// The first value; null if it is not a standard or there is none. Returns the same object for
    /// as long as the value stays, and parses nothing.
    Standard getDataVideoStandard() const;
    /// All values; null for each that is not a standard.
    Standards getDataVideoStandards() const;

    /// Null empties the leaf.
    void setDataVideoStandard(const Standard& standard);
    /// A null among them is stored as an empty text, which is not a standard.
    void setDataVideoStandards(const Standards& standards);

protected:
    /// Parses the standards again. A subclass with reasons of its own calls it first.
    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;
    void describe(DatacoreDescription& description) const override;

private:
    void readStandards();

    Standards cache; ///< the values as standards
};
