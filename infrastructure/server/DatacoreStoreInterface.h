// What a DatacoreServer asks of the store that keeps its persistent tree.
#pragma once

#include <QString>
#include <QVector>

#include <functional>
#include <vector>

/// Keeps the values of nodes over the end of the process. Except for the listener, which the store
/// calls from a thread of its own, everything is for the server's thread, and nothing waits for a
/// disk but `readLeaves`.
class DatacoreStoreInterface
{
public:
    using Values = QVector<QString>;
    /// Numbers the saves, from 1 on.
    using Ticket = quint64;

    struct Leaf
    {
        QString path; ///< from the root's name on
        Values values;
    };

    /// What has become of all saves up to a ticket that had no outcome before.
    struct Outcome
    {
        Ticket upTo;
        bool isDurable;
        QString reason; ///< why it is not
    };
    using Listener = std::function<void(const Outcome&)>;

    virtual ~DatacoreStoreInterface() = default;

    /// Hands over every leaf that is stored, in no particular order. Only before the first save.
    virtual void readLeaves(const std::function<void(const Leaf&)>& take) = 0;

    /// Takes the leaves, which become durable all or none, in the order of their saves. A later
    /// save of a leaf may stand for an earlier one.
    virtual Ticket save(const std::vector<Leaf>& leaves) = 0;

    /// Who is told the outcomes, in the order of their tickets. Once it returns, the listener
    /// before is not called any more. Null for nobody.
    virtual void setListener(Listener listener) = 0;

    /// After an outcome that is not durable, nothing more is written or told until this is called.
    /// It gives up all saves so far that have not become durable; they get no outcome.
    virtual void forgetUnsaved() = 0;
};
