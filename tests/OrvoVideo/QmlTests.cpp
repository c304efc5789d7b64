#include "ModelFixture.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlExtensionPlugin>

Q_IMPORT_QML_PLUGIN(Orvo_ModelPlugin)

namespace orvo::test {
namespace {

class QmlTests : public ModelFixture {
protected:
    /// An object of this source, with the model as `model`.
    std::unique_ptr<QObject> create(const QByteArray& body)
    {
        QQmlComponent component(&engine);
        component.setData(
            "import QtQml\nimport Orvo.Model\nQtObject {\n    required property AppModel model\n" + body + "\n}\n", {});
        std::unique_ptr<QObject> object(
            component.createWithInitialProperties({{"model", QVariant::fromValue<AppModel*>(model.get())}}));
        EXPECT_TRUE(object) << component.errorString().toStdString();
        return object;
    }

    QQmlEngine engine;
};

TEST_F(QmlTests, BindingsFollowTheModel)
{
    start();
    const auto object = create(R"(
        property string title: model.hasProject ? model.project.title : "none"
        property bool canUndo: model.canUndo
        property int words: model.transcript.count
        property real selected: model.selectedSpan.duration
        property bool ready: model.preview === Playback.Ready
        property int height: model.options.height)");
    ASSERT_TRUE(object);
    EXPECT_EQ(object->property("title"), "none");
    openNew(10, "Demo");
    EXPECT_EQ(object->property("title"), "Demo");
    EXPECT_EQ(object->property("selected"), 1.0);
    EXPECT_EQ(object->property("height"), 1080);
    model->update([](VideoProject& project) { project.edit.words = SharedList<TranscriptWord>{word("a", 0, 1)}; });
    EXPECT_EQ(object->property("words"), 1);
    EXPECT_EQ(object->property("canUndo"), true);
}

TEST_F(QmlTests, VerbsReachTheModel)
{
    openNew(10);
    const auto object = create(R"(
        Component.onCompleted: {
            model.options.height = 720;
            model.selectedSpan.end = 3;
            model.selectedSpan.start = 1;
            model.cutSelection();
            model.seek(5);
            model.addText("hola");
            model.setOverlayValues(model.overlays.get(0).overlayId, { x: 0.5, y: 0.25 });
            model.setFlag("sharpen", true);
            model.rename("ñ");
        })");
    EXPECT_EQ(model->options().height, 720);
    EXPECT_THAT(project().edit.cuts, testing::ElementsAre(TimeSpan{1, 3}));
    EXPECT_EQ(project().edit.overlays[0].start, 5);
    EXPECT_EQ(project().edit.overlays[0].y, 0.25);
    EXPECT_TRUE(project().edit.sharpen);
    EXPECT_EQ(project().title, "ñ");
}

} // namespace
} // namespace orvo::test
