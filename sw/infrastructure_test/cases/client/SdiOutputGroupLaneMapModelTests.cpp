#include "infrastructure/client/SdiOutputGroupLaneMapModel.h"
#include "sw/infrastructure_test/TestSupport.h"

namespace {

using Model = SdiOutputGroupLaneMapModel;

struct ModelAndChanges
{
    ModelAndChanges()
    {
        QObject::connect(&model, &Model::toUser_LinkSourceSubImagesChanged, &model,
                         [this](const QList<Model::SourceSubImage>& links) {
                             changes.emplace_back(links.begin(), links.end());
                         });
    }
    void update(const QString& sources)
    {
        model.fromDatacoreUpdateSourceSubImages(sources.split(u' ', Qt::SkipEmptyParts), {}, true);
    }

    Model model;
    std::vector<std::vector<int>> changes;
};

} // namespace

TEST_CASE("A lane map is filled up to four links, never shortened, and tells changes", "[client]")
{
    ModelAndChanges lanes;
    const LogCapture log;
    lanes.update(QString());
    lanes.update("0"_s);
    lanes.update("1 2 3 4"_s);
    lanes.update("1 2 3 4"_s);
    lanes.update("7 -1 x 4.5"_s);
    lanes.update("4 5 2147483648 1 2 3"_s);
    CHECK(lanes.changes == std::vector<std::vector<int>>{
                               {0, 0, 0, 0}, {1, 2, 3, 4}, {0, 0, 0, 0}, {4, 0, 0, 1, 2, 3}});
    CHECK(log.lines().isEmpty());

    lanes.update("1 2 3 4"_s); // shorter
    CHECK(log.lines() ==
          lines({"info: Invalid subimage datacore passed to IOGroupLaneModel, ignoring"}));
    CHECK(lanes.model.getLinkSourceSubImages().size() == 6);
    CHECK(lanes.changes.size() == 4);
}
