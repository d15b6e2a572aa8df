// What several cases need: waiting for a condition while handling events, and a look at the log.
#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

/// Handles events until the condition holds; false if it does not hold by the deadline.
bool waitFor(const std::function<bool()>& condition, int deadlineMs = 5000);

/// The texts as a list.
inline QStringList lines(std::initializer_list<const char*> texts)
{
    QStringList list;
    for (const char* text : texts) {
        list.append(QString::fromUtf8(text));
    }
    return list;
}

/// Keeps the lines logged on "VELLOG" during its lifetime. Lines still go where they went before.
class LogCapture
{
public:
    LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture();

    /// The lines so far, each as level and text: "info: Passed".
    QStringList lines() const;
    /// True if one of the lines is this one.
    bool contains(const QString& line) const;

private:
    struct State;
    std::unique_ptr<State> state;
};
