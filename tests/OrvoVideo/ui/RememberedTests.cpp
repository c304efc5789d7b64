#include "Platform/settings/StoredSettings.h"
#include "TestSupport/TemporaryFolder.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <gtest/gtest.h>
#include <memory>

namespace orvo::test {

namespace {

TEST(Remembered, KeepsPropertiesOfEveryTypeBetweenRuns)
{
    const TemporaryFolder folder;
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(folder.path().string()));
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(R"(
        import QtQml
        import Orvo.Ui

        Remembered {
            category: "test"
            property bool flag: true
            property int count: 3
            property real ratio: 0.5
            property string name: "ñ"
            property var bytes
        })",
        {});
    const auto start = [&] { return std::unique_ptr<QObject>(component.create()); };
    const QByteArray bytes("\0\xff\x01", 3);

    auto first = start();
    ASSERT_TRUE(first) << component.errorString().toStdString();
    first->setProperty("flag", false);
    first->setProperty("count", -7);
    first->setProperty("name", "«a»\n");
    first->setProperty("bytes", bytes);
    first.reset();
    EXPECT_EQ(StoredSettings::text("test.ratio"), std::nullopt) << "does not store unchanged values";
    const auto second = start();
    EXPECT_EQ(second->property("flag"), false);
    EXPECT_EQ(second->property("count"), -7);
    EXPECT_EQ(second->property("ratio"), 0.5);
    EXPECT_EQ(second->property("name"), "«a»\n");
    EXPECT_EQ(second->property("bytes").toByteArray(), bytes);

    StoredSettings::remember("test.count", "many");
    EXPECT_EQ(start()->property("count"), 3) << "ignores a text that is no number";
    StoredSettings::finish();
}

} // namespace

} // namespace orvo::test
