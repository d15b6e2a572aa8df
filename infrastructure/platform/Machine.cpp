#include "infrastructure/platform/Machine_p.h"

#include "infrastructure/utility/RegularFile_p.h"

#include <QFile>

#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <utility>

static void registerResources()
{
    Q_INIT_RESOURCE(infrastructure_platform); // a static library must ask for its resources
}

namespace Tessorn {

namespace {

std::atomic<Machine*> replacement{nullptr};

/// Repeats a call that a signal has interrupted.
template <typename Call>
auto uninterrupted(Call&& call)
{
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

} // namespace

Machine::Machine(std::string root)
    : rootDirectory(std::move(root))
{
}

Machine& Machine::current()
{
    static Machine real;
    Machine* machine = replacement;
    return machine ? *machine : real;
}

Machine* Machine::replace(Machine* machine)
{
    return replacement.exchange(machine);
}

std::string Machine::hostPath(const std::string& path) const
{
    return !path.empty() && path.front() == '/' ? rootDirectory + path : path;
}

int Machine::open(const std::string& path, int flags, mode_t mode)
{
    return uninterrupted([&] { return ::open(hostPath(path).c_str(), flags | O_CLOEXEC, mode); });
}

int Machine::openRegular(const std::string& path)
{
    return openRegularFile(hostPath(path).c_str());
}

ssize_t Machine::read(int descriptor, void* data, std::size_t sizeBytes)
{
    return uninterrupted([&] { return ::read(descriptor, data, sizeBytes); });
}

ssize_t Machine::write(int descriptor, const void* data, std::size_t sizeBytes)
{
    return uninterrupted([&] { return ::write(descriptor, data, sizeBytes); });
}

int64_t Machine::seek(int descriptor, int64_t offset)
{
    return ::lseek(descriptor, static_cast<off_t>(offset), SEEK_SET);
}

int Machine::sync(int descriptor)
{
    return ::fsync(descriptor);
}

int Machine::close(int descriptor)
{
    return ::close(descriptor);
}

int Machine::ioctl(int descriptor, unsigned long request, void* argument)
{
    return ::ioctl(descriptor, request, argument);
}

int Machine::status(const std::string& path, struct stat& result)
{
    return ::stat(hostPath(path).c_str(), &result);
}

int Machine::rename(const std::string& from, const std::string& to)
{
    return ::rename(hostPath(from).c_str(), hostPath(to).c_str());
}

int Machine::remove(const std::string& path)
{
    return ::unlink(hostPath(path).c_str());
}

int Machine::changeOwner(const std::string& path, uid_t user, gid_t group)
{
    return ::chown(hostPath(path).c_str(), user, group);
}

int Machine::findUser(const std::string& name, uid_t& user, gid_t& group)
{
    errno = 0;
    const passwd* entry = ::getpwnam(name.c_str());
    if (!entry) {
        errno = errno != 0 ? errno : ENOENT; // for the system, an unknown user is not an error
        return -1;
    }
    user = entry->pw_uid;
    group = entry->pw_gid;
    return 0;
}

int Machine::run(const std::vector<std::string>& words)
{
    const std::string program = hostPath(words.front());
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    pid_t child = 0;
    const int failure =
        ::posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments.data(), environ);
    if (failure != 0) {
        errno = failure;
        return -1;
    }
    int result = 0;
    if (uninterrupted([&] { return ::waitpid(child, &result, 0); }) < 0) {
        return -1;
    }
    return WIFEXITED(result) ? WEXITSTATUS(result) : -1;
}

void Machine::abortProcess()
{
    std::abort();
}

bool Machine::readResource(const QString& path, QByteArray& result)
{
    registerResources();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    result = file.readAll();
    return true;
}

void Machine::print(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    printList(format, arguments);
    va_end(arguments);
}

void Machine::printError(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    printErrorList(format, arguments);
    va_end(arguments);
}

void Machine::printList(const char* format, va_list arguments)
{
    std::vfprintf(out, format, arguments);
    std::fflush(out); // so that progress shows at once
}

void Machine::printErrorList(const char* format, va_list arguments)
{
    std::vfprintf(err, format, arguments);
}

void Machine::printSystemError(const std::string& text)
{
    const int code = errno;
    printError("%s: %s\n", text.c_str(), std::strerror(code));
}

MachineFile::MachineFile(Machine& fileMachine, const std::string& path, int flags, mode_t mode)
    : machine(fileMachine)
    , descriptor(fileMachine.open(path, flags, mode))
{
}

MachineFile::MachineFile(Machine& fileMachine, int openDescriptor)
    : machine(fileMachine)
    , descriptor(openDescriptor)
{
}

MachineFile::~MachineFile()
{
    if (isOpen()) {
        machine.close(descriptor);
    }
}

int MachineFile::release()
{
    return std::exchange(descriptor, -1);
}

bool MachineFile::readExactly(void* data, std::size_t sizeBytes)
{
    char* next = static_cast<char*>(data);
    while (sizeBytes > 0) {
        const ssize_t got = machine.read(descriptor, next, sizeBytes);
        if (got <= 0) {
            errno = got < 0 ? errno : ENODATA;
            return false;
        }
        next += got;
        sizeBytes -= static_cast<std::size_t>(got);
    }
    return true;
}

bool MachineFile::readAll(QByteArray& data, int mostBytes)
{
    char block[16384];
    for (;;) {
        const ssize_t got = machine.read(descriptor, block, sizeof block);
        if (got <= 0) {
            return got == 0;
        }
        if (got > mostBytes) {
            errno = EFBIG;
            return false;
        }
        data.append(block, static_cast<int>(got));
        mostBytes -= static_cast<int>(got);
    }
}

bool MachineFile::writeAll(const void* data, std::size_t sizeBytes)
{
    const char* next = static_cast<const char*>(data);
    while (sizeBytes > 0) {
        const ssize_t put = machine.write(descriptor, next, sizeBytes);
        if (put <= 0) {
            errno = put < 0 ? errno : EIO;
            return false;
        }
        next += put;
        sizeBytes -= static_cast<std::size_t>(put);
    }
    return true;
}

} // namespace Tessorn
