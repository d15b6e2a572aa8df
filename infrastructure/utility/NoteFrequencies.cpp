#include "infrastructure/utility/NoteFrequencies.h"

#include <QString>

#include <algorithm>

std::optional<double> getNoteFrequency(QStringView name)
{
    const auto found = std::find_if(
        NOTE_FREQUENCIES.begin(), NOTE_FREQUENCIES.end(),
        [name](const NoteFrequency& note) { return name == QStringView(&note.name[0]); });
    if (found == NOTE_FREQUENCIES.end()) {
        return std::nullopt;
    }
    return found->hz;
}
