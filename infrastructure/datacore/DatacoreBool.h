// A leaf of the state tree that holds booleans.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"

/// One boolean or a list of them, as the texts "true" and "false". Any other text is kept and makes
/// the leaf invalid with one message (Error, 10) for the whole list.
class DatacoreBool : public DatacoreBase
{
public:
    static QString CLASSNAME() { return QStringLiteral("DatacoreBool"); }

    /// Starts as false.
    DatacoreBool(const QString& name, DatacoreBase* parentNode);
    DatacoreBool(const QString& name, DatacoreBase* parentNode, bool flag);
    DatacoreBool(const QString& name, DatacoreBase* parentNode, const std::deque<bool>& flags);

    /// True when the first value is "true"; false for any other text and for none.
    bool getDataBool() const;
    /// The same for each value.
    std::deque<bool> getDataBools() const;

    void setDataBool(bool flag);
    void setDataBools(const std::deque<bool>& flags);

protected:
    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;
    void describe(DatacoreDescription& description) const override;
};
