#include "Platform/workspace/FilePanels.h"

#include "VideoMedia/OverlayImage.h"

#include <QFileDialog>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QStringList>
#include <QWindow>
#include <algorithm>
#include <list>
#include <system_error>
#include <utility>

namespace orvo {

namespace {

/// The dialogs of the desktop's theme (the portal's, if there is one), else Qt's own.
class QtFilePanels final : public FilePanels {
public:
    ~QtFilePanels() override
    {
        auto open = std::exchange(m_open, {});
        for (auto& panel : open) {
            panel.dialog->disconnect();
            panel.answer(std::nullopt);
        }
    }

    void openMovie(Answer answer) override
    {
        auto& panel = open(std::move(answer));
        panel.dialog->setWindowTitle(QStringLiteral("Importar vídeo"));
        panel.dialog->setFileMode(QFileDialog::ExistingFile);
        panel.dialog->setNameFilter(QStringLiteral(
            "Vídeos (*.mp4 *.m4v *.mov *.mkv *.webm *.avi *.mpg *.mpeg *.ts *.m2ts *.mts *.ogv *.3gp *.wmv *.flv)"));
        show(panel, QStringLiteral("Importar"));
    }

    void openImage(Answer answer) override
    {
        auto& panel = open(std::move(answer));
        panel.dialog->setWindowTitle(QStringLiteral("Añadir imagen"));
        panel.dialog->setFileMode(QFileDialog::ExistingFile);
        QStringList patterns;
        for (const auto& kind : OverlayImage::kinds())
            patterns << QString::fromUtf8(kind.patterns);
        panel.dialog->setNameFilter(QStringLiteral("Imágenes (%1)").arg(patterns.join(QLatin1Char(' '))));
        show(panel, QStringLiteral("Añadir"));
    }

    void saveMovie(const Saved& saved, Answer answer) override
    {
        auto& panel = open(std::move(answer));
        QString name = QString::fromStdString(saved.name);
        name.replace(QLatin1Char('/'), QLatin1Char('-')).remove(QChar::Null);
        panel.dialog->setWindowTitle(QStringLiteral("Exportar vídeo"));
        panel.dialog->setAcceptMode(QFileDialog::AcceptSave);
        panel.dialog->setFileMode(QFileDialog::AnyFile);
        panel.dialog->setNameFilter(filterFor(saved.extension));
        if (!saved.folder.empty())
            panel.dialog->setDirectory(QString::fromStdString(saved.folder.string()));
        panel.dialog->selectFile(name);
        panel.suffix = QString::fromStdString(saved.extension);
        show(panel, QStringLiteral("Exportar"));
    }

private:
    struct Panel {
        std::unique_ptr<QFileDialog> dialog;
        Answer answer;
        QString suffix; ///< The required end of the name; empty for any.
    };

    static QString filterFor(const std::string& extension)
    {
        const QString kind = extension == ".webm" ? QStringLiteral("Vídeo WebM")
            : extension == ".m4a"                 ? QStringLiteral("Audio MPEG-4")
            : extension == ".gif"                 ? QStringLiteral("Imagen animada GIF")
                                                  : QStringLiteral("Vídeo MPEG-4");
        return QStringLiteral("%1 (*%2)").arg(kind, QString::fromStdString(extension));
    }

    Panel& open(Answer answer) { return m_open.emplace_back(std::make_unique<QFileDialog>(), std::move(answer)); }

    void show(Panel& panel, const QString& acceptLabel)
    {
        auto* dialog = panel.dialog.get();
        dialog->setLabelText(QFileDialog::Accept, acceptLabel);
        dialog->setLabelText(QFileDialog::Reject, QStringLiteral("Cancelar"));
        QObject::connect(dialog, &QFileDialog::finished, dialog, [this, &panel](int result) {
            const QStringList files = panel.dialog->selectedFiles();
            if (result != QDialog::Accepted || files.isEmpty())
                return finish(panel, std::nullopt);
            std::filesystem::path file = files.front().toStdString();
            if (panel.suffix.isEmpty() || QString::fromStdString(file.extension().string()).toLower() == panel.suffix)
                return finish(panel, std::move(file));
            file += panel.suffix.toStdString();
            std::error_code ignored;
            if (!std::filesystem::exists(file, ignored))
                return finish(panel, std::move(file));
            askToReplace(panel, file); // The dialog has only checked the name without the suffix.
        });
        stayAbove(*dialog);
        dialog->open();
    }

    /// Keeps a dialog above the focused window, which need not be a widget.
    static void stayAbove(QDialog& dialog)
    {
        dialog.winId();
        if (QWindow* window = dialog.windowHandle())
            window->setTransientParent(QGuiApplication::focusWindow());
    }

    void askToReplace(Panel& panel, const std::filesystem::path& file)
    {
        auto* question = new QMessageBox(QMessageBox::Warning, panel.dialog->windowTitle(),
            QStringLiteral("Ya existe «%1». ¿Reemplazarlo?").arg(QString::fromStdString(file.filename().string())),
            QMessageBox::Yes | QMessageBox::No, panel.dialog.get());
        question->setAttribute(Qt::WA_DeleteOnClose);
        question->setDefaultButton(QMessageBox::No);
        question->button(QMessageBox::Yes)->setText(QStringLiteral("Reemplazar"));
        question->button(QMessageBox::No)->setText(QStringLiteral("Cambiar el nombre"));
        QObject::connect(question, &QMessageBox::finished, panel.dialog.get(), [this, &panel, question, file] {
            if (question->clickedButton() == question->button(QMessageBox::Yes))
                finish(panel, file);
            else
                panel.dialog->open();
        });
        stayAbove(*question);
        question->open();
    }

    void finish(Panel& panel, std::optional<std::filesystem::path> file)
    {
        const auto place = std::ranges::find_if(m_open, [&](const Panel& open) { return &open == &panel; });
        const auto answer = std::move(panel.answer);
        // The dialog may be emitting its own signal.
        panel.dialog->disconnect();
        panel.dialog.release()->deleteLater();
        m_open.erase(place);
        answer(std::move(file));
    }

    std::list<Panel> m_open;
};

} // namespace

std::unique_ptr<FilePanels> FilePanels::create()
{
    return std::make_unique<QtFilePanels>();
}

} // namespace orvo
