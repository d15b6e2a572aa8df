// The one place through which the platform reaches the machine: the root of its file system, its
// system calls, and the streams for reports. Only tests put another in its place.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <QByteArray>
#include <QString>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace Tessorn {

/// The machine that this process runs on. Calls behave like the system's, with their results and
/// errno; a path that begins with "/" is relative to the machine's root.
class Machine
{
public:
    /// `root` is a directory, without a slash at its end; an empty text is the real root.
    explicit Machine(std::string root = std::string());
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;
    virtual ~Machine() = default;

    /// The machine in use: the real one, unless a test has replaced it.
    static Machine& current();
    /// Installs a test's machine, or the real one again (null). Returns the previous one.
    static Machine* replace(Machine* machine);

    /// The path in the process's file system for a path of this machine.
    std::string hostPath(const std::string& path) const;

    /// Opens a regular file for reading, as openRegularFile does.
    virtual int openRegular(const std::string& path);
    /// These are the system calls of the same names, on this machine.
    virtual int open(const std::string& path, int flags, mode_t mode = 0);
    virtual ssize_t read(int descriptor, void* data, std::size_t sizeBytes);
    virtual ssize_t write(int descriptor, const void* data, std::size_t sizeBytes);
    virtual int64_t seek(int descriptor, int64_t offset);
    virtual int sync(int descriptor);
    virtual int close(int descriptor);
    virtual int ioctl(int descriptor, unsigned long request, void* argument);
    virtual int status(const std::string& path, struct stat& out);
    virtual int rename(const std::string& from, const std::string& to);
    virtual int remove(const std::string& path);
    virtual int changeOwner(const std::string& path, uid_t user, gid_t group);
    /// Looks a user up by name; -1 with errno if there is none.
    virtual int findUser(const std::string& name, uid_t& user, gid_t& group);
    /// Runs a program, whose path is the first word, and waits. Returns its exit value, -1 for a
    /// failure.
    virtual int run(const std::vector<std::string>& words);
    /// Ends the process as std::abort does.
    [[noreturn]] virtual void abortProcess();
    /// Reads a file that is compiled into the program; false if it can't be opened.
    virtual bool readResource(const QString& path, QByteArray& out);

    /// Formatted text to the report stream.
    [[gnu::format(printf, 2, 3)]] void print(const char* format, ...);
    /// Formatted text to the error stream.
    [[gnu::format(printf, 2, 3)]] void printError(const char* format, ...);
    /// These two do the same with a list of arguments, for wrappers of the two above.
    void printList(const char* format, va_list arguments);
    void printErrorList(const char* format, va_list arguments);
    /// "text: what errno means" to the error stream, as perror does.
    void printSystemError(const std::string& text);

protected:
    std::FILE* out = stdout; ///< reports
    std::FILE* err = stderr; ///< error messages

private:
    std::string rootDirectory;
};

/// An open file of a machine, closed by the destructor.
class MachineFile
{
public:
    MachineFile(Machine& fileMachine, const std::string& path, int flags, mode_t mode = 0);
    /// Takes over an open descriptor; -1 means no file.
    MachineFile(Machine& fileMachine, int openDescriptor);
    MachineFile(const MachineFile&) = delete;
    MachineFile& operator=(const MachineFile&) = delete;
    ~MachineFile();

    bool isOpen() const { return descriptor >= 0; }
    int getDescriptor() const { return descriptor; }
    /// Hands the descriptor to the caller, who closes it.
    int release();

    /// Reads exactly that many bytes; false, with errno, if there are fewer.
    bool readExactly(void* data, std::size_t sizeBytes);
    /// Appends all that is left; false, with errno, if an error occurs on the way. More than
    /// `mostBytes` is an error too, EFBIG.
    bool readAll(QByteArray& data, int mostBytes);
    /// Writes all of it; false, with errno, if that failed or stopped half-way.
    bool writeAll(const void* data, std::size_t sizeBytes);

private:
    Machine& machine;
    int descriptor;
};

} // namespace Tessorn
