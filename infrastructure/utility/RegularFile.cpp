#include "infrastructure/utility/RegularFile_p.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

bool isRegular(const struct stat& status)
{
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return false;
    }
    return true;
}

} // namespace

int openRegularFile(const char* path)
{
    struct stat status
    {
    };
    if (::stat(path, &status) != 0 || !isRegular(status)) {
        return -1;
    }
    // Another file may have replaced it in the meantime: opening that must not wait either.
    const int descriptor = ::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor >= 0 && (::fstat(descriptor, &status) != 0 || !isRegular(status))) {
        const int code = errno;
        ::close(descriptor);
        errno = code;
        return -1;
    }
    return descriptor;
}
