// Replaces a file so that a power cut leaves the old content or the new one.
#pragma once

#include "infrastructure/platform/Machine_p.h"

#include <QByteArray>

#include <string>

namespace Tessorn {

/// How far the replacement of a file has come.
enum AtomicWrite {
    AtomicWrite_Done,
    AtomicWrite_NotOpened,
    AtomicWrite_NotWritten,
    AtomicWrite_NotRenamed,
    AtomicWrite_NotSynced, ///< the file is there, but a power cut may bring the old one back
};

/// Writes the content to PATH.tmp, syncs it, renames it to PATH and syncs the folder.
AtomicWrite writeAtomically(Machine& machine, const std::string& path, const QByteArray& content);

} // namespace Tessorn
