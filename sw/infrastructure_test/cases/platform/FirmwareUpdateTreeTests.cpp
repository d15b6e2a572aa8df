#include "infrastructure/platform/leaves/FirmwareUpdateTree.h"
#include "sw/infrastructure_test/BitFileBytes.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/CutMachine.h"

#include <QJsonDocument>

#include <condition_variable>

namespace {

/// Waits in its progress at the step that a case holds.
struct HeldThread : FirmwareUpdateThread
{
    using FirmwareUpdateThread::FirmwareUpdateThread;
    ~HeldThread() override { stopThread(); }
    bool onProgress(const FirmwareProgress& progress) override
    {
        const bool goOn = FirmwareUpdateThread::onProgress(progress);
        std::unique_lock<std::mutex> lock(mutex);
        at = progress.step;
        changed.notify_all();
        changed.wait(lock, [&] { return progress.step < heldUntil; });
        return goOn;
    }
    /// Lets it go on to this step, and waits for it to come.
    void goTo(int step)
    {
        std::unique_lock<std::mutex> lock(mutex);
        heldUntil = step;
        changed.notify_all();
        changed.wait(lock, [&] { return at >= step || step > FirmwareStep_Record; });
    }
    std::mutex mutex;
    std::condition_variable changed;
    int heldUntil = FirmwareStep_Check;
    int at = -1;
};

/// The values of all nodes below one, as compact JSON without the names of their keys.
std::string valuesBelow(DatacoreBase& node)
{
    std::string text;
    for (DatacoreBase* child : node.getChildren()) {
        const std::string below = valuesBelow(*child);
        text += (text.empty() ? "" : " ") + child->getInstanceName().toStdString() + '=' +
                (below.empty() ? child->getData().toStdString() : '(' + below + ')');
    }
    return text;
}

} // namespace

TEST_CASE("A tree starts updates, follows them and takes them back", "[platform]")
{
    CutMachine machine;
    machine.addFlash("/dev/mtd2", false, 8);
    machine.addFlash("/dev/mtd4", false, 8);
    machine.writeFile("/new.bit", bitFile(5 * CutMachine::BLOCK, 2));
    DatacoreBase command(QStringLiteral("commandCoreRouter"), nullptr);
    DatacoreBase status(QStringLiteral("statusCoreRouter"), nullptr);
    HeldThread thread(
        {"fpga", {{"fpga_a", "/dev/mtd2"}, {"fpga_b", "/dev/mtd4"}}, "part-1", "", {}, "/records"});
    FirmwareUpdateTree tree(thread, &command, &status);
    DatacoreBase* const image = command.findDatacore(u"update/image");
    const auto refreshed = [&] {
        tree.refresh();
        return valuesBelow(status);
    };
    const auto waitFor = [&](const std::string& state) {
        while (refreshed().find("state=" + state + ')') == std::string::npos) {
            std::this_thread::yield();
        }
        return valuesBelow(status);
    };
    const std::string unknown = "(date= design= state= version=)";
    CHECK(valuesBelow(command) == "update=(cancel=false image=)");
    CHECK(refreshed() == "update=(activeBank= fpga_a=" + unknown + " fpga_b=" + unknown +
                             " lastResult= progressPercent=0 state=Starting)");
    thread.startThread();
    const std::string blank = "(date= design= state=Not recorded version=)";
    CHECK(waitFor("Ready") == "update=(activeBank=fpga_a fpga_a=" + blank + " fpga_b=" + blank +
                                  " lastResult= progressPercent=0 state=Ready)");

    image->setData(QStringLiteral("/new.bit"));
    thread.goTo(FirmwareStep_Write);
    image->setData(QStringLiteral("/other.bit")); // one is under way
    CHECK(valuesBelow(command) == "update=(cancel=false image=/new.bit)");
    CHECK(refreshed().find("progressPercent=0 state=Writing") != std::string::npos);
    thread.goTo(FirmwareStep_Record);
    CHECK(refreshed().find("progressPercent=100 state=Recording") != std::string::npos);
    thread.goTo(FirmwareStep_Record + 1);
    const std::string good = "(date=2026/11/22 12:34:56 design=top state=Good version=17-2.3)";
    CHECK(waitFor("Ready") ==
          "update=(activeBank=fpga_b fpga_a=" + blank + " fpga_b=" + good +
              " lastResult=fpga_b holds top 17-2.3 of 2026/11/22 12:34:56 progressPercent=100"
              " state=Ready)");
    CHECK(valuesBelow(command) == "update=(cancel=false image=)");

    thread.heldUntil = FirmwareStep_Check;
    thread.at = -1;
    machine.writeFile("/newer.bit", bitFile(5 * CutMachine::BLOCK, 3));
    image->setData(QStringLiteral("/newer.bit"));
    thread.goTo(FirmwareStep_Check);
    CHECK(refreshed().find("lastResult= progressPercent=0 state=Checking") != std::string::npos);
    thread.goTo(FirmwareStep_Write);
    command.findDatacore(u"update/cancel")->setData(QStringLiteral("true"));
    CHECK(valuesBelow(command) == "update=(cancel=false image=/newer.bit)");
    thread.goTo(FirmwareStep_Record + 1);
    CHECK(waitFor("Repeat the update")
              .find("fpga_a=(date=2026/11/22 12:34:56 design=top state=Cut "
                    "off, repeat the update version=17-2.3)") != std::string::npos);
}
