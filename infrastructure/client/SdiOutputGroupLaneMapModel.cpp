#include "infrastructure/client/SdiOutputGroupLaneMapModel.h"

#include "infrastructure/utility/Log.h"

namespace {

SdiOutputGroupLaneMapModel::SourceSubImage toSubImage(const QString& text)
{
    const int number = text.toInt();
    const bool isKnown = number >= SdiOutputGroupLaneMapModel::SourceSubImage_0 &&
                         number <= SdiOutputGroupLaneMapModel::SourceSubImage_4;
    return isKnown ? static_cast<SdiOutputGroupLaneMapModel::SourceSubImage>(number)
                   : SdiOutputGroupLaneMapModel::SourceSubImage_0;
}

} // namespace

SdiOutputGroupLaneMapModel::SdiOutputGroupLaneMapModel(QObject* parent)
    : QObject(parent)
{
}

void SdiOutputGroupLaneMapModel::fromDatacoreUpdateSourceSubImages(QStringList updatedSources,
                                                                   QStringList, bool)
{
    QList<SourceSubImage> updated;
    for (const QString& source : updatedSources) {
        updated.append(toSubImage(source));
    }
    while (updated.size() < LINK_COUNT) {
        updated.append(SourceSubImage_0);
    }
    if (updated.size() < model.size()) {
        VELLOG_INFO() << "Invalid subimage datacore passed to IOGroupLaneModel, ignoring";
        return;
    }
    if (updated == model) {
        return;
    }
    model = updated;
    Q_EMIT toUser_LinkSourceSubImagesChanged(updated);
}
