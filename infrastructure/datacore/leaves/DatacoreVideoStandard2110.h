// A leaf of the state tree that holds the parameters of video on IP.
#pragma once

#include "infrastructure/datacore/leaves/DatacoreRecordLeaf.h"
#include "infrastructure/ip/2110/VideoStandard2110Params.h"

/// A value is the numbers of all fields, joined by commas:
///
///   1920,1080,0,0,0,25/1000,0,true,false
///
/// Text of another form is kept and makes the leaf invalid, with one message (Error, 30) for each.
/// Parameters that the instrument does not carry are read, and add one (Error, 43) for each.
class DatacoreVideoStandard2110
    : public DatacoreRecordLeaf<Tessorn::IpTypes::VideoStandard2110Params>
{
public:
    static QString CLASSNAME() { return QStringLiteral("DatacoreVideoStandard2110"); }

    /// No value where no records are given.
    DatacoreVideoStandard2110(const QString& name, DatacoreBase* parentNode,
                              const Records& initialRecords = {});

    /// Whether marker bits come after the same number of packets each, as a measurement to SMPTE
    /// ST 2110-21 needs it. True at first; false adds one message (Error, 44) behind the others. It
    /// is not part of the JSON form, its message is.
    void setMarkerSpacingStable(bool isStable);
    bool isMarkerSpacingStable() const { return markerSpacingStable; }

protected:
    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;
    void checkRecord(const Tessorn::IpTypes::VideoStandard2110Params& record,
                     DatacoreValidStatusMessages& reasons) const override;

private:
    bool markerSpacingStable = true;
};
