#include "sw/infrastructure_test/CutMachine.h"

#include "sw/infrastructure_test/Catch.h"

#include <fcntl.h>
#include <mtd/mtd-user.h>
#include <sys/ioctl.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

int fail(int error)
{
    errno = error;
    return -1;
}

/// As REQUIRE, but without its cost where all is well.
void demand(bool holds, const char* what)
{
    if (!holds) {
        FAIL(what);
    }
}

} // namespace

CutMachine::CutMachine()
    : Machine("/nowhere")
    , before(replace(this))
{
}

CutMachine::Flash& CutMachine::addFlash(const std::string& path, bool isNand, uint32_t blocks)
{
    Flash& flash = medium.flashes[path];
    flash.isNand = isNand;
    flash.bytes.assign(blocks * BLOCK, '\x5A'); // what was there before
    return flash;
}

void CutMachine::writeFile(const std::string& path, const QByteArray& content)
{
    const std::string text = content.toStdString();
    medium.files[++medium.nextFile] = {text, text};
    medium.names[path] = medium.durableNames[path] = medium.nextFile;
}

QByteArray CutMachine::readFlash(const std::string& path) const
{
    const Flash& flash = medium.flashes.at(path);
    QByteArray good;
    for (uint32_t block = 0; block < flash.bytes.size() / BLOCK; ++block) {
        if (flash.bad.count(block) == 0) {
            good.append(flash.bytes.data() + block * BLOCK, BLOCK);
        }
    }
    return good;
}

void CutMachine::cutAt(int call, unsigned seed)
{
    calls = 0;
    cutCall = call;
    random.seed(seed);
    for (auto& [path, flash] : medium.flashes) {
        flash.erases.clear();
    }
}

bool CutMachine::isCut()
{
    return ++calls == cutCall;
}

/// Of the names, the changes up to some point are on the medium; of a file that is not synced, all,
/// its former content, or a part with zeros behind it.
void CutMachine::cut()
{
    isOn = false;
    opens.clear();
    if (const std::size_t kept = random() % (medium.namesSinceSync.size() + 1)) {
        medium.durableNames = medium.namesSinceSync[kept - 1];
    }
    for (auto& [id, file] : medium.files) {
        if (file.now == file.durable) {
            continue;
        }
        const auto fate = random() % 3;
        if (fate == 0) {
            file.durable = file.now;
        } else if (fate == 1) {
            const std::size_t size = file.now.size();
            file.durable = file.now.substr(0, random() % (size + 1));
            file.durable.resize(size);
        }
    }
    throw PowerCut();
}

void CutMachine::powerUp()
{
    isOn = true;
    cutCall = 0;
    opens.clear();
    medium.names = medium.durableNames;
    medium.namesSinceSync.clear();
    std::map<int, Medium::File> named; // the others are lost
    for (const auto& [path, id] : medium.names) {
        named[id] = {medium.files.at(id).durable, medium.files.at(id).durable};
    }
    medium.files = std::move(named);
}

int CutMachine::failsAt(const std::string& what) const
{
    const auto found = failing.find(what);
    return found == failing.end() ? 0 : found->second;
}

CutMachine::Flash* CutMachine::flashOf(const std::string& path)
{
    const auto found = medium.flashes.find(path);
    return found == medium.flashes.end() ? nullptr : &found->second;
}

int CutMachine::open(const std::string& path, int flags, mode_t)
{
    if (const int error = failsAt("open " + path)) {
        return fail(error);
    }
    const auto named = medium.names.find(path);
    int file = -1;
    if (named != medium.names.end()) {
        if ((flags & O_EXCL) != 0) {
            return fail(EEXIST);
        }
        file = named->second;
    } else if ((flags & O_CREAT) != 0) {
        const bool isLast = isCut();
        file = ++medium.nextFile;
        medium.files[file] = {};
        medium.names[path] = file;
        changeNames();
        if (isLast) {
            cut();
        }
    } else if (!flashOf(path) && path != "/records") {
        return fail(ENOENT);
    }
    opens[++nextDescriptor] = {path, file, 0};
    return nextDescriptor;
}

ssize_t CutMachine::read(int descriptor, void* data, std::size_t sizeBytes)
{
    Open& at = opens.at(descriptor);
    if (const int error = failsAt("read " + at.path); error != 0 && at.offset >= BLOCK) {
        return fail(error);
    }
    const Flash* flash = flashOf(at.path);
    const std::string& bytes = flash ? flash->bytes : medium.files.at(at.file).now;
    const std::size_t size = std::min(sizeBytes, bytes.size() - std::min(bytes.size(), at.offset));
    std::memcpy(data, bytes.data() + at.offset, size);
    at.offset += size;
    return static_cast<ssize_t>(size);
}

ssize_t CutMachine::write(int descriptor, const void* data, std::size_t sizeBytes)
{
    Open& at = opens.at(descriptor);
    const auto* bytes = static_cast<const char*>(data);
    if (const int error = failsAt("write")) {
        return fail(error);
    }
    if (Flash* flash = flashOf(at.path)) {
        const ssize_t put = writeFlash(*flash, at.offset, bytes, sizeBytes);
        at.offset += sizeBytes;
        return put;
    }
    const bool isLast = isCut();
    medium.files.at(at.file).now.append(bytes, sizeBytes);
    if (isLast) {
        cut();
    }
    return static_cast<ssize_t>(sizeBytes);
}

ssize_t CutMachine::writeFlash(Flash& flash, std::size_t offset, const char* data,
                               std::size_t sizeBytes)
{
    const bool isLast = isCut();
    const std::size_t whole = isLast ? random() % (sizeBytes + 1) : sizeBytes;
    demand(offset + sizeBytes <= flash.bytes.size(), "a write past the end");
    if (flash.isNand) {
        const std::size_t unit = offset % BLOCK / UNIT;
        demand(offset % UNIT == 0 && sizeBytes % UNIT == 0, "part of a unit");
        demand(flash.nextUnit == unit, "a unit twice after an erase, or not in order");
        flash.nextUnit = static_cast<uint32_t>(unit + sizeBytes / UNIT);
    }
    for (std::size_t i = 0; i < sizeBytes; ++i) {
        char& byte = flash.bytes[offset + i];
        if (i < whole) {
            byte = static_cast<char>(byte & data[i]);
        } else if (flash.isNand && i / UNIT == whole / UNIT) { // half programmed
            byte = static_cast<char>(byte & (data[i] | static_cast<char>(random())));
        }
    }
    if (flash.stuckByte >= 0) {
        flash.bytes[static_cast<std::size_t>(flash.stuckByte)] = 0;
    }
    if (isLast) {
        cut();
    }
    return static_cast<ssize_t>(sizeBytes);
}

int CutMachine::erase(Flash& flash, uint32_t block)
{
    if (const int error = failsAt("erase")) {
        return fail(error);
    }
    demand(flash.bad.count(block) == 0, "an erase of a bad block");
    ++flash.erases[block];
    flash.nextUnit = 0;
    const bool isLast = isCut();
    const auto fate = isLast ? random() % 3 : 0;
    for (std::size_t i = block * BLOCK; i < (block + 1) * BLOCK && fate != 1; ++i) {
        flash.bytes[i] =
            fate == 0 ? '\xFF' : static_cast<char>(flash.bytes[i] | static_cast<char>(random()));
    }
    if (isLast) {
        cut();
    }
    return 0;
}

int64_t CutMachine::seek(int descriptor, int64_t offset)
{
    opens.at(descriptor).offset = static_cast<std::size_t>(offset);
    return offset;
}

int CutMachine::sync(int descriptor)
{
    const Open& at = opens.at(descriptor);
    const bool isLast = isCut();
    if (const int error = failsAt("sync " + at.path)) {
        return fail(error);
    }
    if (isLast && random() % 2 == 0) {
        cut();
    }
    if (at.file >= 0) {
        medium.files.at(at.file).durable = medium.files.at(at.file).now;
    } else {
        medium.durableNames = medium.names;
        medium.namesSinceSync.clear();
    }
    if (isLast) {
        cut();
    }
    return 0;
}

int CutMachine::ioctl(int descriptor, unsigned long request, void* argument)
{
    Flash* flash = flashOf(opens.at(descriptor).path);
    demand(flash != nullptr, "an ioctl of a file");
    if (request == MEMGETINFO) {
        auto* info = static_cast<mtd_info_user*>(argument);
        *info = {};
        info->type = flash->isNand ? MTD_NANDFLASH : MTD_NORFLASH;
        info->size = static_cast<uint32_t>(flash->bytes.size());
        info->erasesize = BLOCK;
        info->writesize = flash->isNand ? UNIT : 1;
        return 0;
    }
    if (request == MEMGETBADBLOCK) {
        demand(flash->isNand, "NOR asked for bad blocks");
        return static_cast<int>(
            flash->bad.count(static_cast<uint32_t>(*static_cast<const loff_t*>(argument) / BLOCK)));
    }
    if (request == MEMERASE) {
        return erase(*flash, static_cast<const erase_info_user*>(argument)->start / BLOCK);
    }
    return fail(ENOTTY);
}

int CutMachine::status(const std::string& path, struct stat& result)
{
    result = {};
    if (flashOf(path)) {
        result.st_mode = S_IFCHR | 0600;
        const bool isReadOnly = path.back() == 'o'; // "/dev/mtd4ro"
        result.st_rdev = makedev(90, 2 * (path[8] - '0') + (isReadOnly ? 1 : 0));
        return 0;
    }
    const auto named = medium.names.find(path);
    if (named == medium.names.end()) {
        return fail(ENOENT);
    }
    result.st_mode = S_IFREG | 0644;
    result.st_dev = devOfFiles;
    result.st_ino = static_cast<ino_t>(named->second);
    result.st_size = static_cast<off_t>(medium.files.at(named->second).now.size());
    return 0;
}

int CutMachine::rename(const std::string& from, const std::string& to)
{
    const bool isLast = isCut();
    const auto named = medium.names.find(from);
    demand(named != medium.names.end(), "a rename of no file");
    medium.names[to] = named->second;
    medium.names.erase(from);
    changeNames();
    if (isLast) {
        cut();
    }
    return 0;
}

int CutMachine::remove(const std::string& path)
{
    if (medium.names.count(path) == 0) {
        return fail(ENOENT);
    }
    const bool isLast = isCut();
    medium.names.erase(path);
    changeNames();
    if (isLast) {
        cut();
    }
    return 0;
}
