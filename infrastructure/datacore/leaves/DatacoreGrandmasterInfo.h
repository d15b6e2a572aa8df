// A leaf of the state tree that holds what a PTP grandmaster announces about itself.
#pragma once

#include "infrastructure/datacore/leaves/DatacoreRecordLeaf.h"
#include "infrastructure/ptp/GrandmasterInfo.h"

/// A value is the fifteen fields of the data set, joined by commas:
///
///   8376079548036182,128,6,33,20061,128,1,32,37,true,false,false,true,true,true
///
/// Text of another form is kept and makes the leaf invalid, with one message (Error, 15) for each.
class DatacoreGrandmasterInfo : public DatacoreRecordLeaf<Tessorn::IpTypes::GrandmasterInfo>
{
public:
    static QString CLASSNAME() { return QStringLiteral("DatacoreGrandmasterInfo"); }

    /// Starts without a value unless records are given.
    DatacoreGrandmasterInfo(const QString& name, DatacoreBase* parentNode,
                            const Records& initialRecords = {});

protected:
    void describe(DatacoreDescription& description) const override;
};
