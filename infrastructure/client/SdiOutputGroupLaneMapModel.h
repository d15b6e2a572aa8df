// Which source sub-image each link of a group of SDI outputs carries.
#pragma once

#include <QList>
#include <QObject>
#include <QStringList>

/// Reads the list from a mirror and hands a typed one to the user interface whenever it changes.
class SdiOutputGroupLaneMapModel : public QObject
{
    Q_OBJECT

public:
    /// A sub-image of the source, by its number.
    enum SourceSubImage {
        SourceSubImage_0 = 0,
        SourceSubImage_1 = 1,
        SourceSubImage_2 = 2,
        SourceSubImage_3 = 3,
        SourceSubImage_4 = 4,
    };
    Q_ENUM(SourceSubImage)

    static constexpr int LINK_COUNT = 4; ///< shorter lists are filled up to this

    explicit SdiOutputGroupLaneMapModel(QObject* parent = nullptr);

    /// The list emitted last; empty before the first.
    const QList<SourceSubImage>& getLinkSourceSubImages() const { return model; }

Q_SIGNALS:
    /// The list has changed.
    void toUser_LinkSourceSubImagesChanged(QList<SdiOutputGroupLaneMapModel::SourceSubImage> model);

public Q_SLOTS:
    /// To be connected to ClientDatacore::datacoreUpdated. Text that is not the number of a
    /// sub-image counts as 0; a list of fewer than LINK_COUNT is filled up with 0; one shorter than
    /// the last is ignored with a log line.
    void fromDatacoreUpdateSourceSubImages(QStringList updatedSources, QStringList, bool);

private:
    QList<SourceSubImage> model;
};
