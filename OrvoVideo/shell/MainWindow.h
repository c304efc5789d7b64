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

/// Shows the main window on a model, and does what the application was started with. Main thread only.
class MainWindow final : public QObject {
    Q_OBJECT
public:
    /// The model must outlive this. Throws `std::runtime_error` when the window cannot be made.
    explicit MainWindow(AppModel& model, QObject* parent = nullptr);
    ~MainWindow() override;

    /// Decides how windows are drawn; called before the first is made. Without a graphics card the processor draws them at
    /// once, which is faster than its imitation of a card. Qt's own variables have the last word.
    static void chooseRenderer();

    QQuickWindow& window() const { return *m_window; }

    /// Brings the window to the front. `activationToken` is what the desktop gave for that, or empty.
    void bringToFront(const QString& activationToken = {});

    /// Opens what the arguments of the command line name: the identifier of a project, or a movie to import. The last one of
    /// either counts. What is asked for before the library is listed is done then, and a movie waits for the end of
    /// a recording.
    void open(const QStringList& arguments);

    /// At the first start, with an empty library, shows what this machine has once the library is listed.
    void greet();

    /// The arguments with paths that mean the same in any folder, for a process that lives in another one.
    static QStringList inAnyFolder(const QStringList& arguments);

private:
    void openWanted();
    void followQueue();

    AppModel& m_model;
    QStringList m_wanted;
    bool m_greets = false;
    QQmlApplicationEngine m_engine;
    ThumbnailProvider* m_thumbnails; ///< The engine's.
    QQuickWindow* m_window = nullptr;
    DesktopNotice* m_notice; ///< Owned as a child.
    std::unique_ptr<WindowPlacement> m_placement; ///< Of the window; writes before the window goes.
};

} // namespace orvo
