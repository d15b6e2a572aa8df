// What several cases need: waiting for a condition while handling events, and a look at the log.
#pragma once

#include "sw/infrastructure_test/Catch.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

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

/// Checks that an object which differs from a default-made one in any of these fields is another.
template <typename Object, typename... Values>
void checkEachFieldCounts(Values Object::*... fields)
{
    const auto check = [](auto field) {
        Object changed;
        changed.*field = static_cast<std::decay_t<decltype(changed.*field)>>(!(changed.*field));
        return changed == Object(changed) && changed != Object();
    };
    const std::vector<bool> counts{check(fields)...};
    CHECK(counts == std::vector<bool>(sizeof...(Values), true));
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
