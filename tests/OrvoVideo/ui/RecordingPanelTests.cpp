#include "TestSupport/AudioWorld.h"
#include "TestSupport/EventLoop.h"
#include "TestSupport/FakePortal.h"
#include "TestSupport/PrivateBus.h"
#include "TestSupport/VirtualDisplay.h"
#include "WindowFixture.h"

#include <QDBusConnection>
#include <QFile>
#include <QTest>

namespace orvo::test {

namespace {

/// The recording panel on a real X11 display, without audio or a camera.
class RecordingPanelTests : public WindowFixture {
protected:
    RecordingPanelTests()
    {
        display.enter();
        windowSystem = WindowSystem::x11;
        qputenv("PULSE_SERVER", QByteArray::fromStdString("unix:" + (folder / "no-sound").string()));
    }
    ~RecordingPanelTests() override { qunsetenv("PULSE_SERVER"); }

    void choose(const QString& combination, int row)
    {
        auto* box = control(QAccessible::ComboBox, combination);
        ASSERT_TRUE(box) << combination.toStdString();
        QTest::mouseClick(&view(), Qt::LeftButton, {}, box->mapToScene({box->width() / 2, box->height() / 2}).toPoint());
        ASSERT_TRUE(comesToHold([&] { return box->property("popup").value<QObject*>()->property("opened").toBool(); }));
        QMetaObject::invokeMethod(box, "activated", Q_ARG(int, row));
        key(Qt::Key_Escape);
    }

    VirtualDisplay display{"640x360"};
};

TEST_F(RecordingPanelTests, PreparesStartsAndEndsARecording)
{
    show();
    key(Qt::Key_R, Qt::ControlModifier);
    ASSERT_TRUE(comesToHold([&] { return control(QAccessible::Button, "Grabar") != nullptr; }));
    EXPECT_TRUE(control(QAccessible::StaticText, "Elige qué quieres explicar."));
    EXPECT_TRUE(control(QAccessible::StaticText,
        "Ctrl+Alt+Super+R\u00a0·\u00a0Grabar\u00a0/\u00a0terminar     Ctrl+Alt+Super+P\u00a0·\u00a0Pausa     "
        "Ctrl+Alt+Super+Z\u00a0·\u00a0Zoom\nPuedes cambiar los atajos en Ajustes."));
    ASSERT_TRUE(comesToHold([&] { return model->recorder()->capture()->sources()->count() == 1; }));
    auto* mirror = view().findChild<QQuickItem*>("sourceMirror");
    ASSERT_TRUE(mirror);
    EXPECT_TRUE(comesToHold([&] { return mirror->property("showing").toBool(); })) << "shows the display's content";
    EXPECT_TRUE(comesToHold(
        [&] { return control(QAccessible::StaticText, "No hay un micrófono disponible: se graba sin él.") != nullptr; }));
    const auto* microphone = control(QAccessible::CheckBox, "Grabar micrófono");
    EXPECT_FALSE(microphone->isEnabled() || microphone->property("checked").toBool());

    click(QAccessible::CheckBox, "Grabar audio del contenido");
    EXPECT_FALSE(model->options().systemAudio || model->options().camera);
    choose("Resolución", 0);
    choose("Fluidez", 1);
    EXPECT_EQ(model->options().height, 720);
    EXPECT_EQ(model->options().fps, 60);
    click(QAccessible::PageTab, "Ventana");
    EXPECT_TRUE(comesToHold([&] { return model->recorder()->capture()->sources()->count() == 0; })) << "there is no window";
    click(QAccessible::PageTab, "Pantalla");
    EXPECT_TRUE(comesToHold([&] { return model->recorder()->capture()->sources()->count() == 1; }));

    click(QAccessible::Button, "Grabar");
    EXPECT_TRUE(comesToHold([&] { return model->recorder()->countdown() == 3; }));
    EXPECT_TRUE(control(QAccessible::StatusBar, "La grabación empieza en 3…"));
    EXPECT_TRUE(comesToHold([&] { return control(QAccessible::Button, "Grabar") == nullptr; })) << "the panel is closed";
    ASSERT_TRUE(comesToHold([&] { return model->isRecording() && model->recorder()->time() >= 1; }));
    EXPECT_TRUE(comesToHold([&] {
        const int seconds = static_cast<int>(model->recorder()->time());
        return control(QAccessible::StaticText, QStringLiteral("Tiempo grabado 00:%1").arg(seconds, 2, 10, QChar('0')));
    }));
    click(QAccessible::Button, "Pausar");
    click(QAccessible::Button, "Continuar");
    EXPECT_FALSE(model->isPaused());
    EXPECT_FALSE(control(QAccessible::Button, "Nueva grabación")->isEnabled());
    click(QAccessible::Button, "Terminar");
    ASSERT_TRUE(comesToHold([&] { return !model->isRecording() && !model->busy(); }));
    EXPECT_EQ(project().fps, 60);
    EXPECT_EQ(project().edit.cuts.size(), 1U);
    EXPECT_EQ(project().tracks.size(), 1U);
    EXPECT_TRUE(comesToHold([&] { return control(QAccessible::StatusBar, "Grabación guardada") != nullptr; }));
    EXPECT_EQ(model->selectedSpan(), (Span{0, 0})) << "selects nothing on its own";
}

/// The recording panel where the desktop's portal chooses the source.
class SharedPanelTests : public RecordingPanelTests {
protected:
    SharedPanelTests()
    {
        windowSystem = WindowSystem::wayland;
        screenCast = [this] { return std::make_unique<ScreenCast>(connection); };
        portal.remote = remote.open(QIODevice::ReadWrite) ? remote.handle() : -1;
    }

    [[nodiscard]] bool says(const QString& text)
    {
        return comesToHold([&] { return control(QAccessible::StaticText, text) != nullptr; });
    }

    PrivateBus bus;
    QDBusConnection connection = QDBusConnection::connectToBus(bus.address(), "application " + bus.address());
    FakePortal portal{bus.address()};
    QFile remote{"/dev/null"};
};

TEST_F(SharedPanelTests, ShowsTheReusedShareAndEndsItWithoutARecording)
{
    show();
    click(QAccessible::Button, "Nueva grabación");
    EXPECT_TRUE(says("Lo eliges al empezar, en tu escritorio."));
    click(QAccessible::Button, "Elegir…");
    EXPECT_TRUE(says("Pantalla elegida · 1280×720"));
    EXPECT_EQ(portal.openSessions.size(), 1);
    click(QAccessible::Button, "Cancelar");
    EXPECT_TRUE(comesToHold([&] { return portal.openSessions.isEmpty(); }));

    click(QAccessible::Button, "Nueva grabación");
    EXPECT_TRUE(says("Se compartirá otra vez: Pantalla elegida · 1280×720"));
    click(QAccessible::Button, "Cambiar…");
    EXPECT_TRUE(says("Pantalla elegida · 1280×720"));
    EXPECT_FALSE(portal.selection.contains("restore_token"));
    click(QAccessible::PageTab, "Pestaña");
    EXPECT_TRUE(comesToHold([&] { return portal.openSessions.isEmpty(); }));
    click(QAccessible::PageTab, "Pantalla");
    click(QAccessible::Button, "Grabar");
    EXPECT_TRUE(comesToHold([&] { return model->recorder()->countdown() == 3; }));
    EXPECT_EQ(portal.selection.value("restore_token"), "token-1");
    EXPECT_EQ(portal.openSessions.size(), 1) << "keeps the share when the panel closes";
    click(QAccessible::Button, "Cancelar");
    EXPECT_TRUE(comesToHold([&] { return !model->busy() && portal.openSessions.isEmpty(); }));
}

TEST_F(RecordingPanelTests, ShowsAnUnpluggedMicrophoneAndOffersOthers)
{
    qunsetenv("PULSE_SERVER");
    AudioWorld audio;
    const auto module = audio.pactl({"load-module", "module-remap-source", "master=micfeed.monitor", "source_name=usb",
        "source_properties=device.description=Solapa"});
    show();
    key(Qt::Key_R, Qt::ControlModifier);
    const auto shownDevice = [&] {
        const auto* box = control(QAccessible::ComboBox, "Micrófono");
        return box ? box->property("displayText").toString() : QString();
    };
    auto options = model->options();
    options.microphoneDevice = "usb";
    model->setOptions(options);
    ASSERT_TRUE(comesToHold([&] { return shownDevice() == "Solapa"; }));
    const auto* warning = "Este micrófono no está conectado. Conéctalo o elige otro.";
    EXPECT_FALSE(control(QAccessible::StaticText, warning));

    audio.pactl({"unload-module", QString::fromLatin1(module).trimmed()});
    choose("Micrófono", 0); // Opening the list refreshes the devices.
    options = model->options();
    options.microphoneDevice = "usb";
    model->setOptions(options);
    ASSERT_TRUE(comesToHold([&] { return control(QAccessible::StaticText, warning) != nullptr; }));
    EXPECT_EQ(shownDevice(), "Solapa (desconectado)");
    EXPECT_TRUE(control(QAccessible::CheckBox, "Grabar micrófono")->property("checked").toBool());
    control(QAccessible::ComboBox, "Micrófono")->forceActiveFocus();
    key(Qt::Key_Up);
    EXPECT_TRUE(comesToHold([&] { return control(QAccessible::StaticText, warning) == nullptr; }));
    EXPECT_EQ(model->options().microphoneDevice, AudioWorld::microphone);
}

TEST_F(RecordingPanelTests, LeavesOnEscapeAndRecordsOnReturn)
{
    show();
    click(QAccessible::Button, "Nueva grabación");
    ASSERT_TRUE(comesToHold([&] { return control(QAccessible::Button, "Grabar") != nullptr; }));
    key(Qt::Key_Escape);
    ASSERT_TRUE(comesToHold([&] { return control(QAccessible::Button, "Grabar") == nullptr; }));
    EXPECT_FALSE(model->busy());

    click(QAccessible::Button, "Empezar a grabar");
    ASSERT_TRUE(comesToHold([&] { return control(QAccessible::Button, "Grabar") != nullptr; }));
    key(Qt::Key_Return);
    EXPECT_TRUE(comesToHold([&] { return model->recorder()->countdown() == 3; }));
    click(QAccessible::Button, "Cancelar");
    EXPECT_TRUE(comesToHold([&] { return !model->busy(); }));
    EXPECT_EQ(model->status(), "Listo para grabar");
}

} // namespace

} // namespace orvo::test
