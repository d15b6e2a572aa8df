// A firmware update, verified and recorded, on files that stand for flash, beside a plain copy of
// the image to another file with fsync.
#include "bench/Compare.h"
#include "infrastructure/platform/FirmwareUpdate.h"
#include "infrastructure/platform/Machine_p.h"

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <mtd/mtd-user.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <map>
#include <random>

namespace {

constexpr int FILE_IMAGE_BYTES = 16 << 20;
constexpr int NAND_IMAGE_BYTES = 4 << 20;

QByteArray field(char tag, const char* text)
{
    const QByteArray bytes = QByteArray(text) + '\0';
    return QByteArray(1, tag) + '\0' + static_cast<char>(bytes.size()) + bytes;
}

/// An image of random bytes, other ones for each number.
QByteArray makeImage(uint32_t number, int sizeBytes)
{
    const QByteArray head = QByteArray::fromHex("00090ff00ff00ff00ff0000001") +
                            field('a', "top;UserID=1;Version=1") + field('b', "part-1") +
                            field('c', "2026/11/22") + field('d', "12:34:56") + 'e';
    const int size = sizeBytes - head.size() - 4;
    QByteArray image = head;
    for (int shift = 24; shift >= 0; shift -= 8) {
        image += static_cast<char>(size >> shift);
    }
    std::mt19937 random(number);
    while (image.size() < sizeBytes) {
        image += static_cast<char>(random());
    }
    return image;
}

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        std::abort();
    }
}

/// The typical times of an SLC NAND device of 1 Gbit: a block of 64 pages of 2 KiB is erased in 3
/// ms, a page written in 300 us and read in 25 us, a byte goes over the bus in 25 ns.
class NandMachine : public Tessorn::Machine
{
public:
    using Microseconds = std::chrono::duration<double, std::micro>;

    static constexpr uint32_t PAGE = 2048;
    static constexpr uint32_t BLOCK = 64 * PAGE;

    int open(const std::string& path, int flags, mode_t mode) override
    {
        const int descriptor = Machine::open(path, flags & ~O_NONBLOCK, mode);
        if (devices.count(path) != 0) {
            deviceDescriptors[descriptor] = true;
        }
        return descriptor;
    }
    int close(int descriptor) override
    {
        deviceDescriptors.erase(descriptor);
        return Machine::close(descriptor);
    }
    int status(const std::string& path, struct stat& result) override
    {
        const int failure = Machine::status(path, result);
        if (const auto device = devices.find(path); device != devices.end()) {
            result.st_mode = S_IFCHR | 0600;
            result.st_rdev = device->second;
        }
        return failure;
    }
    ssize_t write(int descriptor, const void* data, std::size_t sizeBytes) override
    {
        const Busy busy(
            isDevice(descriptor) ? double(sizeBytes / PAGE) * 300 + double(sizeBytes) * 0.025 : 0);
        return Machine::write(descriptor, data, sizeBytes);
    }
    ssize_t read(int descriptor, void* data, std::size_t sizeBytes) override
    {
        const Busy busy(isDevice(descriptor)
                            ? double((sizeBytes + PAGE - 1) / PAGE) * 25 + double(sizeBytes) * 0.025
                            : 0);
        return Machine::read(descriptor, data, sizeBytes);
    }
    int ioctl(int descriptor, unsigned long request, void* argument) override
    {
        if (request == MEMGETINFO) {
            auto* info = static_cast<mtd_info_user*>(argument);
            *info = {};
            info->type = MTD_NANDFLASH;
            info->size = 2 * NAND_IMAGE_BYTES;
            info->erasesize = BLOCK;
            info->writesize = PAGE;
        } else if (request == MEMERASE) {
            const Busy busy(3000);
            const std::string ones(BLOCK, '\xFF');
            seek(descriptor, static_cast<const erase_info_user*>(argument)->start);
            return Machine::write(descriptor, ones.data(), ones.size()) == BLOCK ? 0 : -1;
        }
        return 0;
    }

    std::map<std::string, dev_t> devices; ///< files that are devices here, by path

private:
    /// Takes at least that long.
    struct Busy
    {
        explicit Busy(double microseconds)
            : end(std::chrono::steady_clock::now() +
                  std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                      Microseconds(microseconds)))
        {
        }
        ~Busy()
        {
            while (std::chrono::steady_clock::now() < end) {
            }
        }
        std::chrono::steady_clock::time_point end;
    };

    bool isDevice(int descriptor) const { return deviceDescriptors.count(descriptor) != 0; }

    std::map<int, bool> deviceDescriptors;
};

/// A folder with three images and two banks: no image is in the bank that is next.
struct Bench
{
    explicit Bench(int sizeBytes)
    {
        for (const char* name : {"bank1", "bank2"}) {
            target.banks.push_back({name, folder + '/' + name});
            write(directory.filePath(QLatin1String(name)), QByteArray(2 * sizeBytes, '\xFF'));
        }
        for (uint32_t i = 0; i < 3; ++i) {
            images.push_back(folder + "/image" + std::to_string(i));
            write(QString::fromStdString(images.back()), makeImage(i, sizeBytes));
        }
        ::sync(); // what was made here
    }

    void update(benchmark::State& state)
    {
        const FirmwareResult result = FirmwareUpdate(target).run(images[next]);
        if (!result.isDone() || result.resumedBytes != 0) {
            state.SkipWithError(result.text.c_str());
        }
        next = (next + 1) % images.size();
    }

    QTemporaryDir directory;
    std::string folder = directory.path().toStdString();
    FirmwareTarget target{"fpga", {}, "part-1", "", {}, folder};
    std::vector<std::string> images;
    std::size_t next = 0;
};

/// Copies block by block, each of which is erased first if it goes to flash.
void copyPlainly(Tessorn::Machine& machine, const std::string& from, const std::string& to,
                 std::size_t blockBytes, bool isFlash)
{
    Tessorn::MachineFile source(machine, from, O_RDONLY);
    Tessorn::MachineFile destination(machine, to, O_RDWR | O_CREAT, 0644);
    std::string block(blockBytes, '\0');
    for (uint64_t done = 0;; done += blockBytes) {
        const ssize_t got = machine.read(source.getDescriptor(), block.data(), block.size());
        if (got <= 0) {
            break;
        }
        if (isFlash) {
            erase_info_user range{static_cast<uint32_t>(done), static_cast<uint32_t>(blockBytes)};
            machine.ioctl(destination.getDescriptor(), MEMERASE, &range);
            machine.seek(destination.getDescriptor(), static_cast<int64_t>(done));
        }
        if (!destination.writeAll(block.data(), static_cast<std::size_t>(got))) {
            std::abort();
        }
    }
    if (machine.sync(destination.getDescriptor()) != 0) {
        std::abort();
    }
}

void updateOnNand(benchmark::State& state)
{
    Bench bench(NAND_IMAGE_BYTES);
    NandMachine machine;
    Tessorn::Machine* const before = Tessorn::Machine::replace(&machine);
    machine.devices = {
        {bench.folder + "/bank1", 2}, {bench.folder + "/bank2", 4}, {bench.folder + "/copy", 6}};
    bench::compare(
        state, 0.8, 0.9, [&] { bench.update(state); },
        [&] {
            copyPlainly(machine, bench.images[0], bench.folder + "/copy", NandMachine::BLOCK, true);
        });
    state.SetBytesProcessed(int64_t(state.iterations()) * NAND_IMAGE_BYTES);
    Tessorn::Machine::replace(before);
}

void updateOnFiles(benchmark::State& state)
{
    constexpr double noBound = 0; // nearly all of it is the digest
    Bench bench(FILE_IMAGE_BYTES);
    bench::compare(
        state, noBound, noBound, [&] { bench.update(state); },
        [&] {
            copyPlainly(Tessorn::Machine::current(), bench.images[0], bench.folder + "/copy",
                        0x10000, false);
        });
    state.SetBytesProcessed(int64_t(state.iterations()) * FILE_IMAGE_BYTES);
}

BENCHMARK(updateOnNand)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(updateOnFiles)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
