// The base of state tree leaves that hold records which have a text form of their own.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"

#include <optional>

/// Any number of records, each as the text from its `serialise`. Text that `deserialise` rejects is
/// kept, goes out in JSON as it is, and makes the leaf invalid with one message (Error) for each.
template <typename Record>
class DatacoreRecordLeaf : public DatacoreBase
{
public:
    /// In the order of the values; empty for each that can't be read.
    using Records = std::deque<std::optional<Record>>;

    /// The first value; empty if it can't be read or there is none. Parses nothing.
    std::optional<Record> getDataRecord() const
    {
        return records.empty() ? std::nullopt : records.front();
    }
    /// All values.
    const Records& getDataRecords() const { return records; }

    /// An empty record empties the leaf.
    void setDataRecord(const std::optional<Record>& record)
    {
        setDataRecords(record ? Records{record} : Records());
    }
    /// An empty record among them is stored as an empty text, which can't be read.
    void setDataRecords(const Records& newRecords) { setData(toTexts(newRecords)); }

protected:
    /// `unreadable` is the message for text that can't be read. Subclasses call initialiseStatus.
    DatacoreRecordLeaf(const QString& className, const QString& name, DatacoreBase* parentNode,
                       const Records& initialRecords,
                       DatacoreValidStatusMessage::MessageContent unreadable)
        : DatacoreBase(className, name, parentNode, toTexts(initialRecords))
        , unreadableContent(unreadable)
    {
    }

    /// Parses the records again. A subclass with reasons of its own calls it first.
    void updateValidStatus(DatacoreValidStatusMessages& reasons) override
    {
        reasons.clear();
        records.clear();
        for (int i = 0; i < getDataCount(); ++i) {
            bool ok = false;
            const Record record = Record::deserialise(getDataAt(i), ok);
            records.push_back(ok ? std::optional(record) : std::nullopt);
            if (!ok) {
                addReason(reasons, unreadableContent);
            } else {
                checkRecord(record, reasons);
            }
        }
    }
    /// Adds the reasons why a record that was read is invalid.
    virtual void checkRecord(const Record&, DatacoreValidStatusMessages&) const {}

    /// Adds one reason (Error) with this content.
    static void addReason(DatacoreValidStatusMessages& reasons,
                          DatacoreValidStatusMessage::MessageContent content)
    {
        reasons.append(DatacoreValidStatusMessage(MessageBase::MessageType_Error, content));
    }

private:
    static std::deque<QString> toTexts(const Records& from)
    {
        std::deque<QString> texts;
        for (const std::optional<Record>& record : from) {
            texts.push_back(record ? record->serialise() : QString());
        }
        return texts;
    }

    Records records; ///< the values as records
    DatacoreValidStatusMessage::MessageContent unreadableContent;
};
