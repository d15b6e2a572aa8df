// A leaf of the state tree that holds the parameters of video on IP.
#pragma once

#include "infrastructure/datacore/leaves/DatacoreRecordLeaf.h"
#include "infrastructure/ip/2110/VideoStandard2110Params.h"

/// A value is the numbers of all fields, joined by commas:
///
///   1920,1080,0,0,0,25/1000,0,true,false
///
/// Text of another form is kept and makes the leaf invalid, with one message (Error, 30) for each.
/// Parameters that the instrument can't carry are read, but add one message (Error, 43) for each.
class DatacoreVideoStandard2110
    : public DatacoreRecordLeaf<Tessorn::IpTypes::VideoStandard2110Params>
{
public:
    static QString CLASSNAME() { return QStringLiteral("DatacoreVideoStandard2110"); }

    /// Starts without a value unless records are given.
    DatacoreVideoStandard2110(const QString& name, DatacoreBase* parentNode,
                              const Records& initialRecords = {});

    /// Whether the number of packets between marker bits is constant, which a measurement to SMPTE
    /// ST 2110-21 requires. True at first; false adds one message (Error, 44) after the others. The
    /// flag is not part of the JSON form, but its message is.
    void setMarkerSpacingStable(bool isStable);
    bool isMarkerSpacingStable() const { return markerSpacingStable; }

protected:
    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;
    void describe(DatacoreDescription& description) const override;
    void checkRecord(const Tessorn::IpTypes::VideoStandard2110Params& record,
                     DatacoreValidStatusMessages& reasons) const override;

private:
    bool markerSpacingStable = true;
};
