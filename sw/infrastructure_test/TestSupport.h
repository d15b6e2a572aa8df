// What several cases need: waiting for a condition while events are handled, and a look at the log.
#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

/// Handles events until the condition holds; false when it does not within the deadline.
bool waitFor(const std::function<bool()>& condition, int deadlineMs = 5000);

inline QStringList lines(std::initializer_list<const char*> texts)
{
    QStringList list;
    for (const char* text : texts) {
        list.append(QString::fromUtf8(text));
    }
    return list;
}

/// Keeps the lines that are logged on "VELLOG" while it lives. Lines keep
/// going where they went before.
class LogCapture
{
public:
    LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture();

    /// The lines so far, each as level and text: "info: Passed".
    QStringList lines() const;
    /// True when one of the lines is this.
    bool contains(const QString& line) const;

private:
    struct State;
    std::unique_ptr<State> state;
};
