#include "sw/infrastructure_test/MadeMachine.h"

#include "sw/infrastructure_test/Catch.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <linux/watchdog.h>
#include <mtd/mtd-user.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

int fail(int error)
{
    errno = error;
    return -1;
}

} // namespace

std::unique_ptr<std::FILE, int (*)(std::FILE*)> streamOf(const QByteArray& bytes)
{
    std::FILE* stream = std::tmpfile();
    REQUIRE(stream);
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stream);
    std::rewind(stream);
    return {stream, &std::fclose};
}

MadeMachine::MadeMachine()
    : MadeMachine(std::make_unique<QTemporaryDir>())
{
}

MadeMachine::MadeMachine(std::unique_ptr<QTemporaryDir> root)
    : Machine(root->path().toStdString())
    , directory(std::move(root))
    , before(replace(this))
    , boardBefore(Tessorn::BoardState::replace(&board))
{
    out = ::open_memstream(&outText.data, &outText.size);
    err = ::open_memstream(&errText.data, &errText.size);
}

MadeMachine::~MadeMachine()
{
    replace(before);
    Tessorn::BoardState::replace(boardBefore);
    CHECK(openPaths.empty()); // all that was opened has been closed
    std::fclose(out);
    std::fclose(err);
    std::free(outText.data);
    std::free(errText.data);
}

void MadeMachine::writeFile(const std::string& path, const QByteArray& content)
{
    QFile file(QString::fromStdString(hostPath(path)));
    REQUIRE(QDir().mkpath(QFileInfo(file).path()));
    REQUIRE(file.open(QIODevice::WriteOnly));
    REQUIRE(file.write(content) == content.size());
}

QByteArray MadeMachine::readFile(const std::string& path) const
{
    QFile file(QString::fromStdString(hostPath(path)));
    return file.open(QIODevice::ReadOnly) ? "" + file.readAll() : QByteArray();
}

MadeMachine::Flash& MadeMachine::addFlash(const std::string& path, uint32_t sizeBytes)
{
    writeFile(path, QByteArray(static_cast<int>(sizeBytes), '\x5A')); // what was there before
    flashes[path].sizeBytes = sizeBytes;
    return flashes[path];
}

void MadeMachine::addProcMtd()
{
    writeFile("/proc/mtd", "dev:    size   erasesize  name\n"
                           "mtd0: 00100000 00010000 \"u-boot\"\n"
                           "mtd1: 00100000 00010000 \"User FS\"\n"
                           "mtd2: 01000000 00010000 \"fpga\"\n"
                           "mtd3: 00010000 00010000 \"ident\"\n");
}

std::string MadeMachine::take(std::FILE* stream, Text& text)
{
    std::fflush(stream);
    const std::string fresh(text.data + text.taken, text.size - text.taken);
    text.taken = text.size;
    return fresh;
}

int MadeMachine::open(const std::string& path, int flags, mode_t mode)
{
    return mayOpen(path) ? keepPath(Machine::open(path, flags, mode), path) : -1;
}

int MadeMachine::openRegular(const std::string& path)
{
    return mayOpen(path) ? keepPath(Machine::openRegular(path), path) : -1;
}

bool MadeMachine::mayOpen(const std::string& path) const
{
    const auto failing = failingOpens.find(path);
    if (failing == failingOpens.end()) {
        return true;
    }
    errno = failing->second;
    return false;
}

int MadeMachine::keepPath(int descriptor, const std::string& path)
{
    if (descriptor >= 0) {
        openPaths[descriptor] = path;
    }
    return descriptor;
}

int MadeMachine::close(int descriptor)
{
    CHECK(openPaths.erase(descriptor) == 1);
    return Machine::close(descriptor);
}

MadeMachine::Flash* MadeMachine::flashOf(int descriptor)
{
    const auto found = flashes.find(openPaths[descriptor]);
    return found == flashes.end() ? nullptr : &found->second;
}

ssize_t MadeMachine::write(int descriptor, const void* data, std::size_t sizeBytes)
{
    if (failingWrites != 0) {
        return fail(failingWrites);
    }
    if (Flash* flash = flashOf(descriptor)) {
        return writeFlash(*flash, descriptor, static_cast<const char*>(data), sizeBytes);
    }
    return Machine::write(descriptor, data, sizeBytes);
}

ssize_t MadeMachine::writeFlash(Flash& flash, int descriptor, const char* data,
                                std::size_t sizeBytes)
{
    const off_t offset = ::lseek(descriptor, 0, SEEK_CUR);
    const int64_t end = flash.failWritesFrom >= 0 ? flash.failWritesFrom : flash.sizeBytes;
    const auto fits = static_cast<std::size_t>(
        std::clamp<int64_t>(end - offset, 0, static_cast<int64_t>(sizeBytes)));
    if (fits == 0) {
        return fail(flash.failWritesFrom >= 0 ? EIO : ENOSPC);
    }
    std::vector<char> bytes(fits);
    REQUIRE(::pread(descriptor, bytes.data(), fits, offset) == static_cast<ssize_t>(fits));
    for (std::size_t i = 0; i < (flash.losesHalfOfEachWrite ? fits / 2 : fits); ++i) {
        bytes[i] = static_cast<char>(bytes[i] & data[i]);
    }
    return Machine::write(descriptor, bytes.data(), fits);
}

int MadeMachine::eraseFlash(Flash& flash, int descriptor, uint64_t start, uint64_t length)
{
    const uint64_t block = start / flash.eraseBytes;
    if (start % flash.eraseBytes != 0 || length != flash.eraseBytes ||
        start + length > flash.sizeBytes) {
        return fail(EINVAL);
    }
    if (static_cast<int64_t>(block) == flash.badBlock || flash.unlocked.count(block) == 0) {
        return fail(EIO);
    }
    const std::vector<char> ones(flash.eraseBytes, '\xFF');
    REQUIRE(::pwrite(descriptor, ones.data(), ones.size(), static_cast<off_t>(start)) ==
            static_cast<ssize_t>(ones.size()));
    flash.erased.push_back(block);
    return 0;
}

int MadeMachine::sync(int descriptor)
{
    syncs.push_back(openPaths[descriptor]);
    return Machine::sync(descriptor);
}

int MadeMachine::ioctl(int descriptor, unsigned long request, void* argument)
{
    if (Flash* flash = flashOf(descriptor)) {
        if (request == MEMGETINFO) {
            auto* info = static_cast<mtd_info_user*>(argument);
            info->type = MTD_NORFLASH;
            info->size = flash->sizeBytes;
            info->erasesize = flash->eraseBytes;
            info->writesize = 1;
            info->oobsize = 0;
            info->flags = MTD_CAP_NORFLASH;
            return 0;
        }
        const auto* block = static_cast<const erase_info_user*>(argument);
        if (request == MEMUNLOCK) {
            flash->unlocked.insert(block->start / flash->eraseBytes);
            return 0;
        }
        if (request == MEMERASE) {
            return eraseFlash(*flash, descriptor, block->start, block->length);
        }
    } else if (openPaths[descriptor] == "/dev/watchdog") {
        ioctls.push_back(request == WDIOC_SETTIMEOUT
                             ? "time-out " + std::to_string(*static_cast<int*>(argument))
                         : request == WDIOC_KEEPALIVE ? "keep alive"
                                                      : "unknown");
        return 0;
    }
    return fail(ENOTTY);
}

int MadeMachine::status(const std::string& path, struct stat& result)
{
    const int failure = Machine::status(path, result);
    if (flashes.count(path) != 0) {
        // Linux gives a device two numbers, the odd one for the name that ends in "ro".
        const auto number =
            static_cast<unsigned>(std::atoi(path.c_str() + std::strlen("/dev/mtd")));
        result.st_rdev = makedev(90, 2 * number + (path.back() == 'o' ? 1 : 0));
        result.st_mode = S_IFCHR | 0600;
        result.st_size = 0;
    }
    return failure;
}

int MadeMachine::rename(const std::string& from, const std::string& to)
{
    return failingRenames != 0 ? fail(failingRenames) : Machine::rename(from, to);
}

int MadeMachine::changeOwner(const std::string& path, uid_t user, gid_t group)
{
    if (ownerFailure != 0) {
        return fail(ownerFailure);
    }
    ownerChanges.push_back(path + " " + std::to_string(user) + " " + std::to_string(group));
    return 0;
}

int MadeMachine::findUser(const std::string& name, uid_t& user, gid_t& group)
{
    if (users.count(name) == 0) {
        return fail(ENOENT);
    }
    user = 1000;
    group = 100;
    return 0;
}

int MadeMachine::run(const std::vector<std::string>& words)
{
    std::string line;
    for (const std::string& word : words) {
        line += (line.empty() ? "" : " ") + word;
    }
    programs.push_back(line);
    return programResult;
}

bool MadeMachine::readResource(const QString& path, QByteArray& result)
{
    if (resource.isNull()) {
        return !resourceMissing && Machine::readResource(path, result);
    }
    result = resource;
    return true;
}
