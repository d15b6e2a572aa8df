// What the leaves of the state tree share that hold records with a text of their own.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"

#include <optional>

/// One record or a list of them, or none, each as the text that its `serialise` gives. A text that
/// `deserialise` does not take is kept, goes out in JSON as it is, and makes the leaf invalid with
/// one message (Error) for each.
template <typename Record>
class DatacoreRecordLeaf : public DatacoreBase
{
public:
    /// In the order of the values; empty in the place of one that can't be read.
    using Records = std::deque<std::optional<Record>>;

    /// The first value; empty where there is none or it can't be read. No parsing.
    std::optional<Record> getDataRecord() const
    {
        return records.empty() ? std::nullopt : records.front();
    }
    /// All values.
    const Records& getDataRecords() const { return records; }

    /// No record empties the leaf.
    void setDataRecord(const std::optional<Record>& record)
    {
        setDataRecords(record ? Records{record} : Records());
    }
    /// An empty place among them is an empty text, which can't be read.
    void setDataRecords(const Records& newRecords) { setData(toTexts(newRecords)); }

protected:
    /// `unreadable` is the content of the message. A subclass calls initialiseStatus.
    DatacoreRecordLeaf(const QString& className, const QString& name, DatacoreBase* parentNode,
                       const Records& initialRecords,
                       DatacoreValidStatusMessage::MessageContent unreadable)
        : DatacoreBase(className, name, parentNode, toTexts(initialRecords))
        , unreadableContent(unreadable)
    {
    }

    /// Reads the records anew. A subclass with reasons of its own calls it first.
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
    /// Adds what is wrong with a record that was read.
    virtual void checkRecord(const Record&, DatacoreValidStatusMessages&) const {}

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

    Records records; ///< what the data says
    DatacoreValidStatusMessage::MessageContent unreadableContent;
};
