#include "infrastructure/platform/AtomicFile_p.h"

#include <fcntl.h>

namespace Tessorn {

AtomicWrite writeAtomically(Machine& machine, const std::string& path, const QByteArray& content)
{
    const std::string temporary = path + ".tmp";
    {
        machine.remove(temporary); // whatever may be there
        MachineFile file(machine, temporary, O_WRONLY | O_CREAT | O_EXCL, 0644);
        if (!file.isOpen()) {
            return AtomicWrite_NotOpened;
        }
        if (!file.writeAll(content.constData(), static_cast<std::size_t>(content.size())) ||
            machine.sync(file.getDescriptor()) != 0) {
            machine.remove(temporary);
            return AtomicWrite_NotWritten;
        }
    }
    if (machine.rename(temporary, path) != 0) {
        machine.remove(temporary);
        return AtomicWrite_NotRenamed;
    }
    const std::size_t slash = path.rfind('/');
    MachineFile folder(machine,
                       slash == 0                   ? "/"
                       : slash == std::string::npos ? "."
                                                    : path.substr(0, slash),
                       O_RDONLY);
    return folder.isOpen() && machine.sync(folder.getDescriptor()) == 0 ? AtomicWrite_Done
                                                                        : AtomicWrite_NotSynced;
}

} // namespace Tessorn
