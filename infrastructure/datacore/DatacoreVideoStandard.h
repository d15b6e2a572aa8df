// A leaf of the state tree that holds video standards.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"

#include <memory>

/// One standard or a list of them, or none, each as the four bytes of its first link's payload
/// identifier in decimal: "137 201 128 1". A text that is no identifier of a known kind is kept and
/// makes the leaf invalid, with one message (Error, 29) for each.
///
/// The text tells one identifier, so the record that is read has all links of its interface, but no
/// square division. One that is written is held as its first quadrant, and a log line at level err
/// names both.
class DatacoreVideoStandard : public DatacoreBase
{
public:
    /// Null stands for no standard.
    using Standard = std::shared_ptr<const StandardFromPayloadIdentifier>;
    /// In the order of the values.
    using Standards = std::deque<Standard>;

    static QString CLASSNAME() { return QStringLiteral("DatacoreVideoStandard"); }

    /// No value.
    DatacoreVideoStandard(const QString& name, DatacoreBase* parentNode);
    DatacoreVideoStandard(const QString& name, DatacoreBase* parentNode, const Standard& standard);
    DatacoreVideoStandard(const QString& name, DatacoreBase* parentNode,
                          const Standards& standards);

    /// The first value; null where there is none or it is no standard. The same record as long as
    /// the value stays, and no parsing.
    Standard getDataVideoStandard() const;
    /// All values; null in the place of one that is no standard.
    Standards getDataVideoStandards() const;

    /// Null empties the leaf.
    void setDataVideoStandard(const Standard& standard);
    /// A null among them is an empty text, which is no standard.
    void setDataVideoStandards(const Standards& standards);

protected:
    /// Reads the standards anew. A subclass with reasons of its own calls it first.
    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;

private:
    void readStandards();

    Standards cache; ///< what the data says
};
