#include "infrastructure/platform/leaves/FirmwareUpdateTree.h"

namespace {

QString textOf(const std::string& text)
{
    return QString::fromStdString(text);
}

QString stateText(const FirmwareUpdateThread::Snapshot& snapshot)
{
    if (!snapshot.isRunning) {
        return snapshot.status.banks.empty()  ? QStringLiteral("Starting")
               : snapshot.status.mustRepeat() ? QStringLiteral("Repeat the update")
                                              : QStringLiteral("Ready");
    }
    switch (snapshot.progress.step) {
    case FirmwareStep_Check:
        return QStringLiteral("Checking");
    case FirmwareStep_Write:
        return QStringLiteral("Writing");
    case FirmwareStep_Record:
        break;
    }
    return QStringLiteral("Recording");
}

} // namespace

FirmwareUpdateTree::Bank::Bank(const QString& name, DatacoreBase* parentNode)
    : DatacoreBase(name, parentNode)
    , state(QStringLiteral("state"), this)
    , version(QStringLiteral("version"), this)
    , design(QStringLiteral("design"), this)
    , date(QStringLiteral("date"), this)
{
}

void FirmwareUpdateTree::Bank::show(const FirmwareBank& bank)
{
    state.setData(QLatin1String(firmwareStateText(bank.state)));
    version.setData(textOf(bank.image.version));
    design.setData(textOf(bank.image.design));
    date.setData(textOf(bank.image.date));
}

FirmwareUpdateTree::FirmwareUpdateTree(FirmwareUpdateThread& updateThread,
                                       DatacoreBase* commandParent, DatacoreBase* statusParent)
    : thread(updateThread)
    , commands(QStringLiteral("update"), commandParent)
    , image([this] { onImage(); }, QStringLiteral("image"), &commands)
    , cancel([this] { onCancel(); }, QStringLiteral("cancel"), &commands, false)
    , status(QStringLiteral("update"), statusParent)
    , state(QStringLiteral("state"), &status)
    , progressPercent(QStringLiteral("progressPercent"), &status, 0, 100)
    , lastResult(QStringLiteral("lastResult"), &status)
    , activeBank(QStringLiteral("activeBank"), &status)
{
    for (const FirmwareTarget::Bank& bank : thread.getTarget().banks) {
        banks.push_back(std::make_unique<Bank>(textOf(bank.name), &status));
    }
    refresh();
}

void FirmwareUpdateTree::refresh()
{
    const FirmwareUpdateThread::Snapshot snapshot = thread.getSnapshot();
    if (wasShown && snapshot.changes == changesShown) {
        return;
    }
    wasShown = true;
    changesShown = snapshot.changes;
    state.setData(stateText(snapshot));
    progressPercent.setDataNumber(snapshot.progress.getPercent());
    for (std::size_t i = 0; i < snapshot.status.banks.size(); ++i) {
        banks[i]->show(snapshot.status.banks[i]);
    }
    if (!snapshot.status.banks.empty()) {
        activeBank.setData(textOf(snapshot.status.banks[snapshot.status.active].name));
    }
    lastResult.setData(snapshot.result ? textOf(snapshot.result->text) : QString());
    if (!snapshot.isRunning) {
        runningImage.clear();
        image.setData(QString());
    }
}

void FirmwareUpdateTree::onImage()
{
    const QString wanted = image.getData();
    if (wanted == runningImage) {
        return; // set back below
    }
    if (!wanted.isEmpty() && thread.startUpdate(wanted.toStdString())) {
        runningImage = wanted;
        refresh();
    } else {
        image.setData(runningImage); // one is under way
    }
}

void FirmwareUpdateTree::onCancel()
{
    if (cancel.getDataBool()) {
        thread.cancelUpdate();
        cancel.setDataBool(false);
    }
}
