#include "Platform/workspace/FilePanels.h"

#include "VideoMedia/OverlayImage.h"

#include <QFileDialog>
#include <QGuiApplication>
#include <QStringList>
#include <QWindow>
#include <algorithm>
#include <list>
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

    void saveMovie(const std::string& proposedName, Answer answer) override
    {
        auto& panel = open(std::move(answer));
        QString name = QString::fromStdString(proposedName);
        name.replace(QLatin1Char('/'), QLatin1Char('-')).remove(QChar::Null);
        panel.dialog->setWindowTitle(QStringLiteral("Exportar vídeo"));
        panel.dialog->setAcceptMode(QFileDialog::AcceptSave);
        panel.dialog->setFileMode(QFileDialog::AnyFile);
        panel.dialog->setNameFilter(QStringLiteral("Vídeo MPEG-4 (*.mp4)"));
        // The dialog appends it before it asks about overwriting.
        panel.dialog->setDefaultSuffix(QStringLiteral("mp4"));
        panel.dialog->selectFile(name);
        panel.needsSuffix = true;
        show(panel, QStringLiteral("Exportar"));
    }

private:
    struct Panel {
        std::unique_ptr<QFileDialog> dialog;
        Answer answer;
        bool needsSuffix = false;
    };

    Panel& open(Answer answer) { return m_open.emplace_back(std::make_unique<QFileDialog>(), std::move(answer)); }

    void show(Panel& panel, const QString& acceptLabel)
    {
        auto* dialog = panel.dialog.get();
        dialog->setLabelText(QFileDialog::Accept, acceptLabel);
        dialog->setLabelText(QFileDialog::Reject, QStringLiteral("Cancelar"));
        QObject::connect(dialog, &QFileDialog::finished, dialog, [this, &panel](int result) {
            const QStringList files = panel.dialog->selectedFiles();
            if (result != QDialog::Accepted || files.isEmpty())
                finish(panel, std::nullopt);
            else
                finish(panel, chosen(panel, files.front()));
        });
        // A transient parent keeps the dialog above the focused window, which need not be a widget.
        dialog->winId();
        if (QWindow* window = dialog->windowHandle())
            window->setTransientParent(QGuiApplication::focusWindow());
        dialog->open();
    }

    static std::filesystem::path chosen(const Panel& panel, const QString& file)
    {
        std::filesystem::path path = file.toStdString();
        // A native dialog may not append the suffix.
        if (panel.needsSuffix && QString::fromStdString(path.extension().string()).toLower() != QLatin1String(".mp4"))
            path += ".mp4";
        return path;
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
