#include "TestSupport/PublishingServer.h"
#include "WindowFixture.h"

namespace orvo::test {
namespace {

using testing::ElementsAre;

class PublishingWindow : public WindowFixture {
protected:
    QString textOf(const QString& objectName) const
    {
        const auto* item = view().findChild<QQuickItem*>(objectName);
        return item ? item->property("text").toString() : QString();
    }

    bool isIdle() const
    {
        return waitUntil([&] { return !model->busy(); });
    }

    /// Presses a button as assistive technology does, even one outside the visible part of its page.
    void press(const QString& name)
    {
        ASSERT_TRUE(waitUntil([&] {
            const auto* found = control(QAccessible::Button, name);
            return found && found->isEnabled();
        })) << name.toStdString();
        QAccessible::queryAccessibleInterface(control(QAccessible::Button, name))
            ->actionInterface()
            ->doAction(QAccessibleActionInterface::pressAction());
    }

    PublishingServer server;
};

TEST_F(PublishingWindow, PublishesAVideoFromEmptySettings)
{
    showWith(withMovie("Clase", 1));
    // Without a server the button shows what is missing.
    click(QAccessible::Button, "Publicar");
    turnTo("Ajustes");
    EXPECT_EQ(textOf("connectionStatus"), "Sin comprobar");
    click(QAccessible::EditableText, "Servidor");
    type(QString::fromStdString(server.address()));
    EXPECT_EQ(textOf("returnAddress"), QString::fromStdString("Retorno: " + server.address() + "/oauth/google/callback"));
    click(QAccessible::EditableText, "Credencial de administración");
    type("otra");
    click(QAccessible::Button, "Guardar y comprobar");
    ASSERT_TRUE(isIdle());
    EXPECT_EQ(textOf("settingsError"), "Credencial incorrecta.");
    model->clearError();
    click(QAccessible::EditableText, "Credencial de administración");
    key(Qt::Key_A, Qt::ControlModifier);
    type(PublishingServer::token);
    server.setFaults(
        R"([{"path":"/api/status","do":"answer","json":{"connected":true}}])"); // The answer of a server with Drive.
    click(QAccessible::Button, "Guardar y comprobar");
    ASSERT_TRUE(isIdle());
    EXPECT_EQ(textOf("connectionStatus"), "Conectado · Drive autorizado");
    EXPECT_NE(control(QAccessible::EditableText, "ID de cliente OAuth web"), nullptr);
    click(QAccessible::Button, "Guardar y comprobar");
    ASSERT_TRUE(isIdle());
    EXPECT_EQ(textOf("connectionStatus"), "Conectado · el servidor guarda los vídeos");
    EXPECT_EQ(control(QAccessible::EditableText, "ID de cliente OAuth web"), nullptr);
    EXPECT_EQ(control(QAccessible::Button, "Conectar Google Drive"), nullptr);
    EXPECT_EQ(keychain.secret, PublishingServer::token);
    view().close();

    turnToMain();
    click(QAccessible::PageTab, "Compartir");
    click(QAccessible::EditableText, "Dominios autorizados");
    type("https://www.ejemplo.es");
    click(QAccessible::CheckBox, "Permitir enlace público");
    click(QAccessible::Button, "Publicar");
    ASSERT_TRUE(isIdle());
    EXPECT_EQ(model->errorMessage(), "");
    ASSERT_TRUE(project().publication);
    EXPECT_THAT(project().publication->domains, ElementsAre("https://www.ejemplo.es"));
    EXPECT_TRUE(project().publication->publicLink);
    press("Copiar enlace");
    EXPECT_EQ(pasteboard->text, project().publication->url);
    EXPECT_NE(control(QAccessible::Button, "Reemplazar vídeo publicado"), nullptr);

    // If the desktop refuses the copy, a button offers it again.
    EXPECT_EQ(control(QAccessible::Button, "Copiar"), nullptr);
    pasteboard->refuses = true;
    pasteboard->text.clear();
    press("Copiar enlace");
    ASSERT_TRUE(waitUntil([&] { return control(QAccessible::Button, "Copiar") != nullptr; }));
    pasteboard->refuses = false;
    press("Copiar");
    EXPECT_EQ(pasteboard->text, project().publication->url);
    EXPECT_EQ(control(QAccessible::Button, "Copiar"), nullptr);

    // Asks before withdrawing the publication.
    const auto asked = [&] { return control(QAccessible::AlertMessage, "¿Retirar la publicación?") != nullptr; };
    press("Retirar publicación");
    ASSERT_TRUE(waitUntil(asked));
    key(Qt::Key_Return); // The default button keeps it.
    ASSERT_TRUE(waitUntil([&] { return !asked(); }));
    EXPECT_TRUE(project().publication);
    press("Retirar publicación");
    ASSERT_TRUE(waitUntil(asked));
    press("Retirar publicación"); // The button of the question, which is on top.
    ASSERT_TRUE(waitUntil([&] { return !model->busy() && !project().publication; }));
    EXPECT_EQ(control(QAccessible::Button, "Copiar enlace"), nullptr);
}

} // namespace
} // namespace orvo::test
