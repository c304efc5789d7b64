#pragma once

#include "OrvoVideo/model/AppModel.h"
#include "OrvoVideo/shell/WindowPlacement.h"

#include <QObject>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QStringList>
#include <memory>

namespace orvo {

class DesktopNotice;
class ThumbnailProvider;

/// Shows the main window of a model and opens what the command line names. Main thread only.
class MainWindow final : public QObject {
    Q_OBJECT
public:
    /// The model must outlive this object. Throws `std::runtime_error` if the window cannot be created.
    explicit MainWindow(AppModel& model, QObject* parent = nullptr);
    ~MainWindow() override;

    /// Selects the renderer; call before creating the first window. Without a graphics card, selects Qt's software renderer,
    /// which is faster than emulated OpenGL. Qt's environment variables take precedence.
    static void chooseRenderer();

    QQuickWindow& window() const { return *m_window; }

    /// Brings the window to the front. `activationToken` comes from the desktop and may be empty.
    void bringToFront(const QString& activationToken = {});

    /// Opens what the command line names: the identifier of a project, a movie to import, or both; the last of each kind
    /// wins. Waits until the library is listed; importing also waits until a recording has ended.
    void open(const QStringList& arguments);

    /// At the first start with an empty library, shows the equipment check once the library is listed.
    void greet();

    /// Makes the paths among the arguments absolute, for a process with another working folder.
    static QStringList inAnyFolder(const QStringList& arguments);

private:
    void openWanted();
    void followQueue();

    AppModel& m_model;
    QStringList m_wanted;
    bool m_greets = false;
    QQmlApplicationEngine m_engine;
    ThumbnailProvider* m_thumbnails; ///< Owned by the engine.
    QQuickWindow* m_window = nullptr;
    DesktopNotice* m_notice; ///< Owned as a child.
    std::unique_ptr<WindowPlacement> m_placement; ///< Destroyed before the window, whose state it stores.
};

} // namespace orvo
