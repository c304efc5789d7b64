#include "OrvoVideo/shell/MainWindow.h"

#include "OrvoVideo/shell/ProjectThumbnails.h"
#include "Platform/attention/DesktopNotice.h"
#include "Platform/attention/LauncherProgress.h"

#include <QFileInfo>
#include <QUuid>
#include <stdexcept>
#include <utility>

namespace orvo {

namespace {

bool isProject(const QString& argument)
{
    return !QUuid::fromString(argument).isNull();
}

} // namespace

MainWindow::MainWindow(AppModel& model, QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_thumbnails(new ThumbnailProvider)
    , m_notice(new DesktopNotice(this))
{
    m_engine.addImageProvider(QLatin1String(ThumbnailProvider::name), m_thumbnails);
    m_engine.setInitialProperties({{QStringLiteral("app"), QVariant::fromValue(&m_model)}});
    m_engine.loadFromModule("Orvo.Shell", "MainView");
    if (m_engine.rootObjects().isEmpty())
        throw std::runtime_error("the main window cannot be made");
    m_window = qobject_cast<QQuickWindow*>(m_engine.rootObjects().constFirst());
    connect(&m_model, &AppModel::libraryListedChanged, this, &MainWindow::openWanted);
    connect(&m_model, &AppModel::busyChanged, this, &MainWindow::openWanted);
    m_placement = std::make_unique<WindowPlacement>(*m_window);
    m_placement->show();
    connect(m_model.exports(), &Exports::finished, this, [this](const QString& title, const QString& text) {
        if (!m_window->isActive())
            m_notice->show(title, text,
                {.click = QStringLiteral("Abrir Orvo Video"), .button = QStringLiteral("Mostrar en la carpeta")});
    });
    connect(m_notice, &DesktopNotice::clicked, this, [this] { bringToFront(); });
    connect(m_notice, &DesktopNotice::buttonPressed, m_model.exports(), &Exports::showDone);
    connect(m_model.queue(), &WorkQueue::changed, this, &MainWindow::followQueue);
    connect(m_model.queue(), &WorkQueue::progressChanged, this, &MainWindow::followQueue);
}

MainWindow::~MainWindow()
{
    m_thumbnails->stop();
}

void MainWindow::chooseRenderer()
{
    const bool isChosen = qEnvironmentVariableIsSet("QT_QUICK_BACKEND") || qEnvironmentVariableIsSet("QSG_RHI_BACKEND");
    if (!isChosen && !QFileInfo::exists(QStringLiteral("/dev/dri")))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

void MainWindow::bringToFront(const QString& activationToken)
{
    if (!activationToken.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8());
    m_placement->bringBack();
}

void MainWindow::followQueue()
{
    if (m_model.queue()->busy())
        LauncherProgress::show(m_model.queue()->progress());
    else
        LauncherProgress::hide();
}

void MainWindow::open(const QStringList& arguments)
{
    m_wanted = arguments;
    openWanted();
}

void MainWindow::greet()
{
    m_greets = true;
    openWanted();
}

void MainWindow::openWanted()
{
    if (!m_model.libraryListed())
        return;
    if (std::exchange(m_greets, false))
        QMetaObject::invokeMethod(m_window, "greet");
    QString project;
    QString movie;
    for (const QString& argument : std::exchange(m_wanted, {}))
        (isProject(argument) ? project : movie) = argument;
    if (!project.isEmpty())
        m_model.open(project);
    if (!movie.isEmpty() && m_model.recorder()->isRecording())
        m_wanted = {movie}; // Imported when the recording has ended.
    else if (!movie.isEmpty())
        m_model.importFile(QUrl::fromLocalFile(QFileInfo(movie).absoluteFilePath()), false);
}

QStringList MainWindow::inAnyFolder(const QStringList& arguments)
{
    QStringList result;
    for (const QString& argument : arguments)
        result += isProject(argument) ? argument : QFileInfo(argument).absoluteFilePath();
    return result;
}

} // namespace orvo
